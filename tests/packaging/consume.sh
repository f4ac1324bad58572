# Sourced by the tests of installed trees, which get the source folder as $1 and the build folder as $2.
set -euo pipefail
source=$1
build=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
    echo "$*" >&2
    exit 1
}

# Runs a command; its output is shown when it fails.
quietly() {
    "$@" >"$work/log" 2>&1 || {
        cat "$work/log" >&2
        fail "failed: $*"
    }
}

# runs PROGRAM LIBDIR: the program runs with the libraries there, not with those of the build.
runs() {
    ldd_of=$(LD_LIBRARY_PATH=$2 ldd "$1")
    grep -q "libtrvilx64.so => $2/libtrvilx64.so" <<<"$ldd_of" || fail "$1 finds $ldd_of"
    (cd "$work" && LD_LIBRARY_PATH=$2 quietly "$1")
}

# consume TREE LIBDIR [SYSROOT]: the programs of the documentation build and run with what lies in TREE,
# by CMake and by pkg-config.
consume() {
    local tree=$1 libdir=$2 sysroot=${3:-}
    rm -rf "$work/cmake"
    quietly cmake -G Ninja -S "$source/tests/packaging/consumer" -B "$work/cmake" \
        -DCMAKE_PREFIX_PATH="$tree" -DEXPECTED="$tree" \
        -DEXAMPLES="$source/docs/examples" -DOWN_QUERY="$source/tests/abi/own_query.c"
    quietly cmake --build "$work/cmake"
    runs "$work/cmake/in_c" "$libdir"
    runs "$work/cmake/in_cpp" "$libdir"
    runs "$work/cmake/own_buffers" "$libdir"

    local flags
    flags=$(PKG_CONFIG_LIBDIR=$libdir/pkgconfig PKG_CONFIG_SYSROOT_DIR=$sysroot \
        pkg-config --cflags --libs "trvil >= 0.1")
    quietly cc -std=c99 -pedantic-errors "$source/docs/examples/first.c" $flags -o "$work/by_pkg_config"
    runs "$work/by_pkg_config" "$libdir"
    # shorts and shortages of a first.c that wrote nothing show here
    [ -s "$work/first.tif" ] && [ -s "$work/buffer.tif" ] || fail "no picture was written"
    rm "$work/first.tif" "$work/buffer.tif"
}

# The tool of a tree makes a picture.
use_tool() {
    quietly "$@" sample -s 64x48 -f BAY10 --phase RGGB -o "$work/dump.raw"
    quietly "$@" convert -s 64x48 -f BAY10 --phase RGGB "$work/dump.raw" -o "$work/picture.png"
    [ -s "$work/picture.png" ] || fail "the tool wrote no picture"
}
