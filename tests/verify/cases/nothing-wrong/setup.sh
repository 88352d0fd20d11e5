# What is no module: a folder, a hidden file. An absolute link leads where it will on the terminal.
mkdir usr/lib/JovApplication/folder usr/lib/JovApplication/.cache usr/libexec
mv usr/lib/JovApplication/b usr/libexec/b
ln -s /usr/libexec/b usr/lib/JovApplication/b
touch usr/lib/JovApplication/.hidden
