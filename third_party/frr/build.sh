#!/bin/sh
# Build libfrr from the distribution's source package with our patches.
#
#   build.sh            build unless it is there already
#   build.sh --prefix   only print the prefix
#
# The result is cached below GPON_CACHE_DIR (default: gpon in the user's cache
# directory), under a name made from everything that decides what comes out:
# PREFIX/lib/libfrr.so*, PREFIX/include/frr/*.h. It needs no root, only the
# packages of packages.txt and the machine's own apt sources. The log of a
# build that fails is kept; its path is printed.
set -eu

version=8.4.4
here=$(cd "$(dirname "$0")" && pwd)
cache=${GPON_CACHE_DIR:-${XDG_CACHE_HOME:-${HOME:?HOME or GPON_CACHE_DIR must be set}/.cache}/gpon}

recipe_hash() {
    {
        cat "$here/build.sh"
        for p in "$here"/patches/*.patch; do cat "$p"; done
        uname -m
    } | LC_ALL=C sha256sum | cut -c1-12
}

prefix=$cache/frr-$version-$(recipe_hash)
stamp=$prefix/.complete

case ${1-} in
--prefix)
    echo "$prefix"
    exit 0
    ;;
'') ;;
*)
    echo "usage: build.sh [--prefix]" >&2
    exit 2
    ;;
esac

if [ -e "$stamp" ]; then
    exit 0
fi

# Two callers don't build twice: the second waits here and finds the result.
mkdir -p "$cache"
exec 9>"$cache/frr.lock"
flock 9
if [ -e "$stamp" ]; then
    exit 0
fi

log=$cache/frr-build.log
work=$(mktemp -d "$cache/frr-build.XXXXXX")
finish() {
    rc=$?
    trap - EXIT
    rm -rf "$work"
    if [ $rc -ne 0 ]; then
        echo "libfrr $version: building it failed; see $log" >&2
        tail -n 5 "$log" | cut -c1-160 | sed 's/^/    /' >&2
    fi
    exit $rc
}
trap finish EXIT
trap 'exit 130' INT TERM HUP
: >"$log"

# Rewrite the machine's own package sources into ones for source packages,
# in both of apt's formats. Whatever signing keys they name stay in force.
source_lists() {
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
}

apt_get() {
    apt-get -q -o Dir::Etc::SourceList=/dev/null -o Dir::Etc::SourceParts="$work/apt/parts" \
        -o Dir::State::Lists="$work/apt/lists" -o Dir::Cache="$work/apt/cache" "$@"
}

fetch() {
    source_lists
    # A foreign list without source packages makes an error here and does no harm.
    apt_get update || true
    apt_get source frr
    [ -d "frr-$version" ] || {
        echo "the distribution's frr isn't $version"
        return 1
    }
}

configure_options() {
    for daemon in zebra bgpd ripd ripngd ospfd ospf6d ldpd nhrpd eigrpd babeld watchfrr isisd \
        pimd pim6d pbrd staticd fabricd vrrpd pathd bfdd; do
        echo "--disable-$daemon"
    done
    for part in bgp-announce bgp-vnc bgp-bmp ospfapi ospfclient irdp rtadv doc scripting \
        capabilities version-build-config static; do
        echo "--disable-$part"
    done
}

# vtysh support stays on: the server on the Unix socket is part of it.
compile() {
    for p in "$here"/patches/*.patch; do
        patch --batch -p1 <"$p"
    done
    autoreconf -i
    # shellcheck disable=SC2046 # one option per word
    ./configure $(configure_options) --prefix=/usr --sysconfdir=/etc/gpon --localstatedir=/var/run \
        CFLAGS="-O2 -g -ffile-prefix-map=$PWD=frr" PYTHON=/usr/bin/python3
    make -j2 lib/libfrr.la
}

# Only the library and the headers that its users can reach.
install_to() {
    mkdir -p "$1/lib" "$1/include/frr"
    cp -P lib/.libs/libfrr.so lib/.libs/libfrr.so.* "$1/lib/"
    (cd lib && find . -name '*.h' ! -name clippy.h ! -name '*_int.h' ! -path './printf/*' | tar -cf - -T -) |
        tar -xf - -C "$1/include/frr"
    cp config.h "$1/include/frr/"
    # Headers find their neighbours beside them, so that their directory needn't be searched.
    ln -s . "$1/include/frr/lib"
    for h in "$1"/include/frr/*.h; do
        echo "s,^#include <$(basename "$h")>,#include \"$(basename "$h")\","
    done >"$work/includes.sed"
    sed -i -f "$work/includes.sed" "$1"/include/frr/*.h
}

# The steps run in a shell of their own, where -e stops at the first failure.
build() (
    set -ex
    cd "$work"
    fetch
    cd "frr-$version"
    compile
    install_to "$work/out"
)

echo "libfrr $version: building it, once for this machine (about a minute)" >&2
# Not "if build": -e has no effect inside a tested command.
set +e
build >>"$log" 2>&1 9>&-
rc=$?
set -e
[ $rc -eq 0 ] || exit $rc

touch "$work/out/.complete"
rm -rf "$prefix"
mv "$work/out" "$prefix"
rm -f "$log"
