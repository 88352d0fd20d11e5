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
# elf NAME CLASS TYPE MACHINE: the first bytes of an ELF file, little-endian.
elf() { printf "\\177ELF\\$2\\1\\1\\0\\0\\0\\0\\0\\0\\0\\0\\0\\$3\\0\\$4\\0" >"$programs/$1"; }

steps early=1 late=5 home=8!
modules early Platform SettingsManager
