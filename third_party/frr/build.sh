#!/bin/sh
# Builds libfrr from the distribution's source package with our patches.
#
#   build.sh [--target]            build unless it is there already (about a minute)
#   build.sh [--target] --prefix   only print the prefix
#
# --target: for 32-bit big-endian PowerPC, with the libraries of ../powerpc/build.sh and a tool of this machine's own
# libfrr; both must be built. The result: PREFIX/lib/libfrr.so*, PREFIX/include/frr/*.h.
set -eu
version=8.4.4
here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=../recipe.sh
. "$here/../recipe.sh"
# shellcheck source=../powerpc/flags.sh
. "$here/../powerpc/flags.sh"

native=$recipe_cache/frr-$version-$(recipe_hash "$here/build.sh" "$here"/patches/*.patch)
prefix=$native
what="libfrr $version"
if [ "${1-}" = --target ]; then
    shift
    libraries=$("$here/../powerpc/build.sh" --prefix)
    prefix=$recipe_cache/frr-$version-target-$(echo "$native $libraries" | recipe_hash -)
    what="$what for the target"
fi

case ${1-} in
--prefix)
    echo "$prefix"
    exit 0
    ;;
'') ;;
*)
    echo "usage: build.sh [--target] [--prefix]" >&2
    exit 2
    ;;
esac

fetch() {
    recipe_source_lists
    recipe_fetch frr frr
    grep -q "AC_INIT(\[*frr\]*, \[*$version" frr/configure.ac || {
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
    flags="-ffile-prefix-map=$PWD=frr"
    if [ "$prefix" = "$native" ]; then
        flags="-O2 -g $flags"
        set --
    else
        # Its configure script can't know what backtrace() does there.
        flags="$target_flags $flags -I$libraries/include"
        export PKG_CONFIG_LIBDIR="$libraries/lib/pkgconfig"
        set -- --build="$(gcc -dumpmachine)" --host="$target_host" --with-clippy="$native/bin/clippy" --disable-backtrace \
            LDFLAGS="-L$libraries/lib -Wl,-rpath-link,$libraries/lib"
    fi
    # shellcheck disable=SC2046 # one option per word
    ./configure $(configure_options) --prefix=/usr --sysconfdir=/etc/gpon --localstatedir=/var/run \
        CFLAGS="$flags" PYTHON=/usr/bin/python3 "$@"
    make -j2 lib/libfrr.la
}

# Only the library and the headers that its users can reach, and the tool of its own that a build for the target runs.
install_to() {
    mkdir -p "$1/lib" "$1/include/frr" "$1/bin"
    [ "$prefix" != "$native" ] || cp lib/clippy "$1/bin/"
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

build() {
    fetch
    cd frr
    compile
    install_to "$work/out"
}

recipe_build "$what" "$prefix"
