# elf FILE CLASS TYPE MACHINE: the first bytes of an ELF file, little-endian.
elf() { printf "\\177ELF\\$2\\1\\1\\0\\0\\0\\0\\0\\0\\0\\0\\0\\$3\\0\\$4\\0" > usr/lib/JovApplication/$1; }
elf a 1 2 50
elf b 2 3 76
