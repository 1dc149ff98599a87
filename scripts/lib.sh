# shellcheck shell=bash
# What the scripts share: the packages they need and the builds they start.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# need SECTION...: installs what is missing of these sections of packages.txt.
need() {
    local wanted missing as_root=()
    wanted=$(awk -v wanted=" $* " '
        /^\[/ { section = substr($1, 2, length($1) - 2); next }
        NF && !/^#/ && index(wanted, " " section " ")' "$root/scripts/packages.txt")
    missing=$(comm -23 <(sort -u <<<"$wanted") <(
        dpkg-query -Wf '${db:Status-Status} ${Package}\n' | sed -n 's/^installed //p' | sort -u))
    [[ $missing ]] || return 0
    [[ $EUID == 0 ]] || as_root=(sudo)
    echo "Installing ${missing//$'\n'/ }"
    "${as_root[@]}" apt-get update -qq
    # shellcheck disable=SC2086 # a list of words
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -qq --no-install-recommends $missing >/dev/null
}

# build PRESET [TARGET]...: configures the preset and builds the targets, or all of it.
build() {
    local preset=$1
    shift
    (cd "$root" && cmake --preset "$preset" >/dev/null &&
        cmake --build --preset "$preset" ${1:+--target "$@"})
}
