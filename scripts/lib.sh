# shellcheck shell=bash
# What the scripts share: the packages they need and the builds they start.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# wanted SECTION...: the lines of these sections of packages.txt.
wanted() {
    awk -v wanted=" $* " '
        /^\[/ { section = substr($1, 2, length($1) - 2); next }
        NF && !/^#/ && index(wanted, " " section " ")' "$root/scripts/packages.txt"
}

# installed: every package that is there, what others provide under its name included.
installed() {
    dpkg-query -Wf '${db:Status-Status} ${Package}, ${Provides}\n' |
        sed -n 's/^installed //p' | tr ',' '\n' | sed 's/(.*//; s/ //g' | sort -u
}

# missing SECTION...: what to install of these sections. A line of packages.txt is satisfied by any
# one of its alternatives; of a line that is not, the first that can be had without removing
# anything is named, or the very first where none can. What is optional is left out there.
missing() {
    local line option choices there optional
    optional=$(wanted optional)
    there=" $(installed | tr '\n' ' ')"
    lacks() {
        local package
        for package; do
            [[ $there == *" $package "* ]] || return 0
        done
        return 1
    }
    while IFS= read -r line; do
        IFS='|' read -ra choices <<<"$line"
        for option in "${choices[@]}"; do
            # shellcheck disable=SC2086 # a list of words
            lacks $option || continue 2
        done
        for option in "${choices[@]}"; do
            ((${#choices[@]} > 1)) || [[ $'\n'$optional$'\n' == *$'\n'"$line"$'\n'* ]] || break
            # shellcheck disable=SC2086 # a list of words
            ! apt-get install -qq -s --no-remove --no-install-recommends $option &>/dev/null || break
            option=${choices[0]}
            ((${#choices[@]} > 1)) || continue 2
        done
        # shellcheck disable=SC2086 # a list of words
        printf '%s\n' $option
    done < <(wanted "$@")
}

# need SECTION...: installs what is missing of these sections of packages.txt, and never removes
# anything for it. Who may not install is told what to run.
need() {
    local packages as_root=()
    [[ $(missing "$@") ]] || return 0
    if ((EUID)); then
        as_root=(sudo)
        if ! [[ -x $(command -v sudo) ]]; then
            mapfile -t packages < <(missing "$@")
            echo "Some packages are missing. As root: apt-get install --no-remove" \
                "--no-install-recommends ${packages[*]}" >&2
            return 1
        fi
    fi
    "${as_root[@]}" apt-get update -qq
    # Which alternative can be had is known once the lists are.
    mapfile -t packages < <(missing "$@")
    echo "Installing ${packages[*]}"
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -qq \
        --no-remove --no-install-recommends "${packages[@]}" >/dev/null
}

# build PRESET [TARGET]...: configures the preset and builds the targets, or all of it.
build() {
    local preset=$1
    shift
    (cd "$root" && cmake --preset "$preset" >/dev/null &&
        cmake --build --preset "$preset" ${1:+--target "$@"})
}
