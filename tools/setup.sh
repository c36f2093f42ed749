#!/usr/bin/env bash
# Installs the packages that are missing and builds libfrr once: tools/setup.sh [FURTHER_PACKAGE...]. Silent when there is
# nothing to do.
# Works as root, or for a user with sudo; says plainly what is missing when neither is there. What it installs it notes for
# tools/clean.sh.
set -euo pipefail
cd "$(dirname "$0")/.."

say() { printf '%s\n' "$*" >&2; }

missing_packages() {
    {
        cat tools/packages.txt third_party/frr/packages.txt
        printf '%s\n' "$@"
    } | sed 's/#.*//' | awk 'NF { print $1 }' | sort -u |
        while read -r package; do
            state=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
            [ "$state" = installed ] || printf '%s\n' "$package"
        done
}

installed_packages() {
    dpkg-query -W -f '${db:Status-Status} ${Package}\n' | sed -n 's/^installed //p' | LC_ALL=C sort -u
}

# What wasn't there before, with what came along.
note_installed() {
    local state=${XDG_STATE_HOME:-${HOME:+$HOME/.local/state}}
    [ -n "$state" ] || return 0
    mkdir -p "$state/gpon"
    LC_ALL=C comm -13 <(printf '%s\n' "$before") <(installed_packages) >>"$state/gpon/installed-packages"
}

install_packages() {
    local as_root=() log
    if [ "$(id -u)" -ne 0 ]; then
        if ! command -v sudo >/dev/null; then
            say "These packages are missing, and installing them takes root or sudo:"
            say "  $*"
            exit 1
        fi
        as_root=(sudo)
    fi
    say "Installing $# packages: $*"
    log=$(mktemp)
    before=$(installed_packages)
    trap note_installed EXIT
    if ! "${as_root[@]}" "$PWD/tools/install_packages.sh" "$@" >"$log" 2>&1; then
        say "Installing them failed:"
        tail -n 20 "$log" >&2
        say "The whole log: $log"
        exit 1
    fi
    rm -f "$log"
    trap - EXIT
    note_installed
}

if ! command -v dpkg-query >/dev/null; then
    say "This isn't a Debian system: install the counterparts of tools/packages.txt and"
    say "third_party/frr/packages.txt yourself, build libfrr with third_party/frr/build.sh, then use cmake."
    exit 1
fi
mapfile -t missing < <(missing_packages "$@")
[ "${#missing[@]}" -eq 0 ] || install_packages "${missing[@]}"
third_party/frr/build.sh
