#!/usr/bin/env bash
# Takes away again what ./run, ./test and tools/setup.sh have put on this machine.
#   tools/clean.sh              this directory's builds, the cached libraries and kernels, the shell's history
#   tools/clean.sh --packages   also the packages that setup installed and nothing else needs, after a question
#   --yes                       without the question
#   --dry-run                   only says what would go
# docs/cleaning-up.md tells what else there is.
set -euo pipefail
cd "$(dirname "$0")/.."
state=${XDG_STATE_HOME:-${HOME:?}/.local/state}
cache=${GPON_CACHE_DIR:-${XDG_CACHE_HOME:-$HOME/.cache}/gpon}
list=$state/gpon/installed-packages
packages=0
yes=0
dry=0

for option; do
    case $option in
    --packages) packages=1 ;;
    --yes) yes=1 ;;
    --dry-run) dry=1 ;;
    -h | --help)
        sed -n '2,7s/^# \{0,1\}//p' "$0"
        exit 0
        ;;
    *)
        echo "tools/clean.sh: unknown option $option (see tools/clean.sh --help)" >&2
        exit 2
        ;;
    esac
done

remove() { # PATH...
    local path
    for path; do
        [ -e "$path" ] || continue
        printf '%s%s (%s)\n' "$([ $dry -eq 0 ] || echo "would remove ")" "$path" "$(du -sh "$path" | cut -f1)"
        [ $dry -eq 1 ] || rm -rf "$path"
    done
}

# The directory goes when nobody else has put anything there.
remove_from() { # DIRECTORY PATH...
    local directory=$1
    shift
    remove "$@"
    [ $dry -eq 1 ] || rmdir "$directory" 2>/dev/null || true
}

# Packages that would go, or come, with these and that setup didn't install.
others_touched() { # PACKAGE...
    apt-get -s purge "$@" 2>/dev/null | sed -n 's/^\(Purg\|Remv\|Inst\) \([^ :]*\).*/\2/p' |
        LC_ALL=C sort -u | LC_ALL=C comm -23 - "$list.sorted"
}

# Those of setup's packages that are still there and that nothing else needs.
removable() {
    local there package
    LC_ALL=C sort -u "$list" >"$list.sorted"
    mapfile -t there < <(dpkg-query -W -f '${db:Status-Status} ${Package}\n' | sed -n 's/^installed //p' |
        LC_ALL=C sort -u | LC_ALL=C comm -12 - "$list.sorted")
    [ ${#there[@]} -gt 0 ] || return 0
    if [ -z "$(others_touched "${there[@]}")" ]; then
        printf '%s\n' "${there[@]}"
        return
    fi
    for package in "${there[@]}"; do
        [ -n "$(others_touched "$package")" ] || printf '%s\n' "$package"
    done
}

# Whether they may go; without a terminal only --yes can say so.
packages_agreed() {
    local answer=
    [ $yes -eq 0 ] || return 0
    if ! [ -t 0 ]; then
        echo "They stay: nobody is there to ask. --yes removes them." >&2
        return 1
    fi
    read -r -p "Remove them? [y/N] " answer || true
    [[ $answer = [yY]* ]]
}

remove_packages() {
    local going log as_root=()
    if [ ! -e "$list" ]; then
        echo "Setup has installed no package here ($list doesn't exist)."
        return
    fi
    mapfile -t going < <(removable)
    rm -f "$list.sorted"
    if [ ${#going[@]} -eq 0 ]; then
        echo "Every package that setup installed is gone, or something else needs it."
    else
        echo "Packages that setup installed and nothing else needs:"
        printf '%s\n' "${going[*]}" | fold -s -w 100 | sed 's/^/  /'
        [ $dry -eq 0 ] || return 0
        packages_agreed || return 1
        [ "$(id -u)" -eq 0 ] || as_root=(sudo)
        log=$(mktemp)
        if ! "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get purge -y "${going[@]}" >"$log" 2>&1; then
            echo "Removing them failed; the whole log: $log" >&2
            tail -n 20 "$log" >&2
            return 1
        fi
        rm "$log"
    fi
    [ $dry -eq 1 ] || rm -f "$list"
}

if ./run --exec true 2>/dev/null; then
    echo "A chassis of this directory runs: leave its shell first." >&2
    exit 1
fi
remove build
find . -name __pycache__ -not -path './.git/*' -prune | while read -r directory; do remove "$directory"; done
remove_from "$cache" "$cache"/frr-[0-9]*-* "$cache"/powerpc-* "$cache"/linux-* "$cache"/build.* "$cache/frr.lock"
remove "$state/gponsh"
[ $packages -eq 0 ] || remove_packages
[ $dry -eq 1 ] || rmdir "$state/gpon" 2>/dev/null || true
