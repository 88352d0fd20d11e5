# Shared by the scripts of this directory, which source it with bash -eu.

project=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# configure_and_build PRESET [TARGET...]: builds all targets by default. Prints nothing unless it fails.
configure_and_build() {
    local preset=$1 log
    shift
    log=$(mktemp)
    if ! (cd "$project" && cmake --preset "$preset" && cmake --build "build/$preset" ${1:+--target "$@"}) >"$log" 2>&1; then
        grep -v '^\[[0-9]*/[0-9]*\]' "$log" >&2 # all but the successful steps
        rm -f "$log"
        echo "The $preset build failed; its output is above." >&2
        return 1
    fi
    rm -f "$log"
}
