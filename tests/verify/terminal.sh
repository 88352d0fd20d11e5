# The words of cases.txt, and a sound terminal, which each case changes. To be read in an empty root.
set -e
etc=$PWD/etc/JovApplication
programs=$PWD/usr/lib/JovApplication
mkdir -p "$programs"

# file NAME TEXT: below etc/JovApplication.
file() { set -- "$etc/$1" "$2" && mkdir -p "${1%/*}" && printf '%s\n' "$2" >"$1"; }
config() { file "module/$1/config.xml" "$2"; }
# programs NAME...: modules without a configuration.
programs() { for name; do echo '#!/bin/sh' >"$programs/$name" && chmod 755 "$programs/$name"; done; }
module() { programs "$1" && config "$1" "$2"; }
# modules STEP NAME[:DEPENDENCY,DEPENDENCY...]...
modules() {
    step=$1 && shift
    for word; do
        needs=
        case $word in *:*) needs=$(printf '<dependency>%s</dependency>' $(IFS=,; printf '%s ' ${word#*:})) ;; esac
        module "${word%%:*}" "<config><initStep>$step</initStep>${needs:+<dependencies>$needs</dependencies>}</config>"
    done
}
# steps NAME=VALUE...: a line each from the second on; "!" behind the one that shows the home page.
steps() {
    file module/ApplicationManager/initStep.xml "<initStep>
$(printf '    <step name="%s"/>\n' "$@" | sed 's|=\([^"=]*\)"/|" value="\1"/|; s|!"|" show_homepage="true"|')
</initStep>"
}
# bytes NUMBER SIZE: little-endian.
bytes() {
    n=$1 i=$2
    while [ $((i -= 1)) -ge 0 ]; do printf "\\$((n / 64 % 4))$((n / 8 % 8))$((n % 8))" && n=$((n / 256)); done
}
# elf PATH CLASS TYPE MACHINE [ENTRY [LOADER [SIZE]]]: an ELF file with one segment, and one for the path of the loader.
elf() {
    word=$(($2 * 4)) header=$(($2 == 1 ? 52 : 64)) row=$(($2 == 1 ? 32 : 56)) loader=${6:-}
    table=$((header + row * 2)) size=${7:-$((header + row * 2 + ${#loader} + 1))}
    # segment TYPE OFFSET SIZE
    segment() {
        bytes "$1" 4
        [ "$word" = 4 ] || bytes 5 4
        for number in "$2" "$2" "$2" "$3" "$3"; do bytes "$number" "$word"; done
        [ "$word" = 8 ] || bytes 5 4
        bytes 4096 "$word"
    }
    {
        printf '\177ELF' && bytes "$2" 1 && bytes 257 10 && bytes 0 1 && bytes "$3" 2 && bytes "$4" 2 && bytes 1 4
        bytes "${5:-$header}" "$word" && bytes "$header" "$word" && bytes 0 "$word" && bytes 0 4
        bytes "$header" 2 && bytes "$row" 2 && bytes $((${#loader} > 0 ? 2 : 1)) 2 && bytes 0 6
        segment 1 0 "$size"
        segment 3 "$table" $((${#loader} + 1))
        printf '%s\000' "$loader"
    } >"$1"
    chmod 755 "$1"
}

# A system that can run scripts and ARM programs without libraries.
mkdir -p bin var/log
elf bin/sh 1 2 40
steps early=1 late=5 home=8!
modules early Platform SettingsManager
