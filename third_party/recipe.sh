# Shell functions of the recipes in this folder: sources from the distribution, results in a cache. To be sourced by a
# script with set -eu.
#
# A result is a directory below GPON_CACHE_DIR (default: gpon in the user's cache directory), under a name made from
# everything that decides what comes out. It needs no root, only packages and the machine's own apt sources. The log of a
# build that fails is kept; its path is printed.

recipe_cache=${GPON_CACHE_DIR:-${XDG_CACHE_HOME:-${HOME:?HOME or GPON_CACHE_DIR must be set}/.cache}/gpon}

# recipe_hash FILE...: a short hash of the files, of standard input if - is among them, and of this machine's processor.
recipe_hash() {
    {
        cat "$@"
        uname -m
    } | LC_ALL=C sha256sum | cut -c1-12
}

# Rewrites the machine's own package sources into ones for source packages, in both of apt's formats. Whatever signing
# keys they name stay in force.
recipe_source_lists() {
    eval "$(apt-config shell list Dir::Etc::sourcelist/f parts Dir::Etc::sourceparts/d)"
    mkdir -p "$work/apt/parts" "$work/apt/lists/partial" "$work/apt/cache/archives/partial"
    for f in "$list" "$parts"/*.list; do
        [ -r "$f" ] && sed -n 's/^[[:space:]]*deb\([[:space:]]\)/deb-src\1/p' "$f"
    done >"$work/apt/parts/machine.list"
    for f in "$parts"/*.sources; do
        if [ -r "$f" ]; then
            sed 's/^Types:.*/Types: deb-src/' "$f" >"$work/apt/parts/$(basename "$f")"
        fi
    done
    # A foreign list without source packages makes an error here and does no harm.
    recipe_apt_get update || true
}

recipe_apt_get() {
    apt-get -q -o Dir::Etc::SourceList=/dev/null -o Dir::Etc::SourceParts="$work/apt/parts" \
        -o Dir::State::Lists="$work/apt/lists" -o Dir::Cache="$work/apt/cache" "$@"
}

# recipe_fetch PACKAGE DIRECTORY: the source package's tree, patched as the distribution does, in $work/DIRECTORY.
# Behind recipe_source_lists.
recipe_fetch() {
    mkdir -p "$work/fetch.$2"
    (cd "$work/fetch.$2" && recipe_apt_get source "$1") || return 1
    mv "$work/fetch.$2"/*/ "$work/$2"
}

# recipe_build WHAT PREFIX: runs the caller's build(), in $work with -ex, unless PREFIX is complete already. What build()
# leaves in $work/out becomes PREFIX. Two callers don't build twice: the second waits and finds the result.
recipe_build() {
    what=$1
    prefix=$2
    [ ! -e "$prefix/.complete" ] || return 0
    mkdir -p "$recipe_cache"
    exec 9>"$prefix.lock"
    flock 9
    [ ! -e "$prefix/.complete" ] || return 0
    log=$prefix.log
    work=$(mktemp -d "$recipe_cache/build.XXXXXX")
    trap recipe_finish EXIT
    trap 'exit 130' INT TERM HUP
    echo "Building $what, once for this machine" >&2
    # Not "if build": -e has no effect inside a tested command.
    set +e
    (
        set -ex
        cd "$work"
        build
    ) >"$log" 2>&1 9>&-
    rc=$?
    set -e
    [ $rc -eq 0 ] || exit $rc
    touch "$work/out/.complete"
    rm -rf "$prefix"
    mv "$work/out" "$prefix"
    rm -f "$log" "$prefix.lock"
}

recipe_finish() {
    rc=$?
    trap - EXIT
    rm -rf "$work"
    if [ $rc -ne 0 ]; then
        echo "$what: building it failed; see $log" >&2
        tail -n 5 "$log" | cut -c1-160 | sed 's/^/    /' >&2
    fi
    exit $rc
}
