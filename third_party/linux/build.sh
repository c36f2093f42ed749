#!/bin/sh
# Gets the kernels of the virtual machines in which the tests meet a real TIPC.
#
#   build.sh amd64|powerpc             unless it is there already
#   build.sh amd64|powerpc --prefix    only print the prefix
#
# amd64: the distribution's own kernel, unpacked and not installed (seconds). powerpc: built for the machine ppce500 of QEMU
# from the distribution's source, and BusyBox, since the host's own shell is of another processor (five minutes on two cores).
# The result: PREFIX/vmlinux; PREFIX/modules/ with what the kernel hasn't built in, named so that their order is the one to
# load them in; powerpc: PREFIX/busybox.
set -eu
PATH=$PATH:/usr/sbin:/sbin # depmod, for a user too
here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=../recipe.sh
. "$here/../recipe.sh"

source_tree=/usr/src/linux-source-6.1.tar.xz
target_host=powerpc-linux-gnu
modules="virtio_pci 9pnet_virtio 9p virtio_console veth tipc"

case ${1-} in
amd64 | powerpc) processor=$1 ;;
*)
    echo "usage: build.sh amd64|powerpc [--prefix]" >&2
    exit 2
    ;;
esac
prefix=$recipe_cache/linux-$processor-$(recipe_hash "$here/build.sh" "$here/powerpc.config" "$here/busybox.config")
if [ "${2-}" = --prefix ]; then
    echo "$prefix"
    exit 0
fi

# The newest one that the distribution has for this release.
unpack_amd64() {
    package=$(apt-cache depends linux-image-amd64 | sed -n 's/^ *Depends: \(linux-image-[0-9].*-amd64\)$/\1/p' | head -n 1)
    apt-get -q -o Dir::Cache="$work" download "$package"
    dpkg-deb --extract ./*.deb image
    version=${package#linux-image-}
    depmod -b image "$version"
    mkdir -p out/modules
    cp "image/boot/vmlinuz-$version" out/vmlinux
    for module in $modules; do
        modprobe -d image -S "$version" --show-depends "$module"
    done | awk '$1 == "insmod" && !seen[$2]++ { print $2 }' >order
    n=100
    while read -r file; do
        n=$((n + 1))
        cp "$file" "out/modules/$n-$(basename "$file")"
    done <order
}

for_target() { # TREE ARGUMENT...
    tree=$1
    shift
    make -C "$tree" ARCH=powerpc CROSS_COMPILE="$target_host-" "$@"
}

# What a fragment asks for and the tree didn't take is a mistake in the fragment.
configure() { # TREE FRAGMENT
    for_target "$1" KCONFIG_ALLCONFIG="$2" allnoconfig >"$1.configured"
    # BusyBox's tool shows what the fragment says and doesn't take it.
    if ! grep -qx "$(sed -n '/^CONFIG/{p;q}' "$2")" "$1/.config"; then
        sed -n 's/^\(CONFIG_[A-Z0-9_]*\)=y.*/s,^# \1 is not set$,\1=y,/p' "$2" >"$1.sed"
        sed -i -f "$1.sed" "$1/.config"
        yes '' | for_target "$1" oldconfig >>"$1.configured"
    fi
    sed 's/ *#.*//' "$2" | grep . | while read -r line; do
        grep -qx "$line" "$1/.config" || {
            echo "the configuration lacks $line"
            exit 1
        }
    done
}

compile_powerpc() {
    mkdir linux out out/modules
    recipe_source_lists
    recipe_fetch busybox busybox
    configure busybox "$here/busybox.config"
    for_target busybox -j2 busybox
    tar -xf "$source_tree" -C linux --strip-components=1
    configure linux "$here/powerpc.config"
    for_target linux -j2 vmlinux
    "$target_host-strip" -o out/vmlinux linux/vmlinux
    "$target_host-strip" -o out/busybox busybox/busybox
}

build() {
    if [ "$processor" = amd64 ]; then
        unpack_amd64
    else
        compile_powerpc
    fi
}

recipe_build "the kernel of the virtual machine ($processor)" "$prefix"
