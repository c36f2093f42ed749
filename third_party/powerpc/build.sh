#!/bin/sh
# Builds the libraries that the system links on its target, 32-bit big-endian PowerPC, from the distribution's source
# packages: the distribution has the compiler and the C library for it, but no library beyond.
#
#   build.sh            build unless they are there already (four minutes on two cores)
#   build.sh --prefix   only print the prefix
#
# The result: PREFIX/{include,lib}, with pkg-config files. iniparser's source is taken from the distribution where its
# mirror has it, else from the file that INIPARSER_SOURCE names.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=../recipe.sh
. "$here/../recipe.sh"
# shellcheck source=flags.sh
. "$here/flags.sh"

prefix=$recipe_cache/powerpc-$(recipe_hash "$here/build.sh" "$here/flags.sh" "$here/../recipe.sh")

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

# Everything is configured for its place at once; what make installs goes to $work/out and is moved there whole.
out() { echo "$work/out"; }

fetch_all() {
    recipe_source_lists
    for package in json-c libxcrypt pcre2=10.42-1 libyang2 net-snmp readline ncurses benchmark; do
        recipe_fetch "$package" "${package%%=*}"
    done
    fetch_iniparser
}

fetch_iniparser() {
    if recipe_fetch iniparser iniparser; then
        return 0
    fi
    if [ ! -r "${INIPARSER_SOURCE-}" ]; then
        echo "iniparser's source isn't on the distribution's mirror: name a tar file of 4.1 by INIPARSER_SOURCE"
        return 1
    fi
    mkdir "$work/iniparser"
    tar -xf "$INIPARSER_SOURCE" -C "$work/iniparser" --strip-components=1
}

# with_configure DIRECTORY OPTION...: one of the libraries that bring a configure script.
with_configure() {
    directory=$1
    shift
    (
        cd "$work/$directory"
        [ -x configure ] || autoreconf -i
        ./configure --build="$(gcc -dumpmachine)" --host="$target_host" --prefix="$(out)" --enable-shared \
            CPPFLAGS="-I$(out)/include" LDFLAGS="-L$(out)/lib" "$@"
        make -j2
        make install
    )
}

# with_cmake DIRECTORY OPTION...: one of those that bring a CMakeLists.txt.
with_cmake() {
    directory=$1
    shift
    cmake -S "$work/$directory" -B "$work/$directory.build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_SYSTEM_NAME=Linux -DCMAKE_SYSTEM_PROCESSOR=ppc \
        -DCMAKE_C_COMPILER="$target_host-gcc" -DCMAKE_CXX_COMPILER="$target_host-g++" \
        -DCMAKE_C_FLAGS="$target_flags" -DCMAKE_CXX_FLAGS="$target_flags" \
        -DCMAKE_FIND_ROOT_PATH="$(out)" -DCMAKE_FIND_ROOT_PATH_MODE_LIBRARY=ONLY \
        -DCMAKE_FIND_ROOT_PATH_MODE_INCLUDE=ONLY -DCMAKE_INSTALL_PREFIX="$(out)" -DCMAKE_INSTALL_LIBDIR=lib "$@"
    cmake --build "$work/$directory.build"
    cmake --install "$work/$directory.build"
}

libfrr_needs() {
    with_cmake pcre2 -DBUILD_SHARED_LIBS=ON -DBUILD_STATIC_LIBS=OFF -DPCRE2_BUILD_TESTS=OFF -DPCRE2_BUILD_PCRE2GREP=OFF
    with_cmake json-c -DBUILD_STATIC_LIBS=OFF -DBUILD_TESTING=OFF -DBUILD_APPS=OFF -DDISABLE_WERROR=ON
    with_cmake libyang2 -DENABLE_TESTS=OFF -DENABLE_TOOLS=OFF \
        -DPCRE2_LIBRARY="$(out)/lib/libpcre2-8.so" -DPCRE2_INCLUDE_DIR="$(out)/include"
    with_configure libxcrypt --disable-static --disable-werror
}

programs_need() {
    with_configure ncurses --with-shared --without-debug --without-ada --without-tests --without-manpages --without-progs \
        --without-cxx --without-cxx-binding --disable-db-install --with-build-cc=gcc CPPFLAGS= LDFLAGS=
    with_configure readline --with-curses --with-shared-termcap-library --disable-static --disable-install-examples bash_cv_termcap_lib=libncurses
    mkdir "$work/iniparser.build"
    for source in iniparser dictionary; do
        # shellcheck disable=SC2086 # one flag per word
        "$target_host-gcc" $target_flags -fPIC -c "$work/iniparser/src/$source.c" -o "$work/iniparser.build/$source.o"
    done
    "$target_host-gcc" -shared -Wl,-soname,libiniparser.so.1 -o "$(out)/lib/libiniparser.so.1" "$work"/iniparser.build/*.o
    ln -s libiniparser.so.1 "$(out)/lib/libiniparser.so"
    cp "$work"/iniparser/src/*.h "$(out)/include/"
    with_cmake_from /usr/src/googletest googletest
    with_cmake benchmark -DGIT_VERSION=0.0.0 -DBENCHMARK_ENABLE_TESTING=OFF -DBENCHMARK_ENABLE_GTEST_TESTS=OFF
    ln -s /usr/include/boost "$(out)/include/boost" # headers only, the same for every processor
}

# Debian's package of GoogleTest is a source tree.
with_cmake_from() {
    ln -s "$1" "$work/$2"
    with_cmake "$2"
}

agent_library() {
    with_configure net-snmp --with-defaults --enable-mini-agent --with-mib-modules=agentx \
        --with-transports="UDP TCP Unix" --without-openssl --disable-embedded-perl --without-perl-modules \
        --disable-perl-cc-checks --without-python-modules --without-rpm --without-nl --without-libwrap --without-zlib \
        --without-bzip2 --without-pcre --disable-manuals --disable-scripts --disable-mibs --disable-applications \
        --disable-static --with-endianness=big
}

# Half of the time is the configure scripts', and those use one processor.
build() {
    mkdir -p "$(out)/lib" "$(out)/include"
    export CFLAGS="$target_flags" CXXFLAGS="$target_flags" PKG_CONFIG_LIBDIR="$(out)/lib/pkgconfig"
    fetch_all
    {
        libfrr_needs
        programs_need
    } &
    lane=$!
    agent_library
    wait $lane
    finish_prefix
}

# The place that was configured is the place of the build: name the lasting one.
finish_prefix() {
    rm -rf "$(out)/share" "$(out)"/lib/*.la "$(out)/sbin"
    find "$(out)" -type f \( -name '*.pc' -o -name '*.cmake' -o -name '*-config' -o -name '*.h' \) \
        -exec sed -i "s,$(out),$prefix,g" {} +
}

recipe_build "the target's libraries" "$prefix"
