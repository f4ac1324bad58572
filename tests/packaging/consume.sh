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

# needs PROGRAM ...: the test is skipped where one of them is missing.
needs() {
    local program
    for program in "$@"; do
        command -v "$program" >/dev/null && continue
        echo "skipped: install $program"
        exit 77
    done
}

# Runs a command; its output is shown when it fails.
quietly() {
    "$@" >"$work/log" 2>&1 || {
        cat "$work/log" >&2
        fail "failed: $*"
    }
}

# runs PROGRAM LIBDIR SEARCHED [LIBRARY]: the program runs with this library (libtrvilx64.so) and the companion
# in LIBDIR, not with those of the build, where the loader looks in SEARCHED (may be empty).
runs() {
    local found library
    found=$(LD_LIBRARY_PATH=$3 ldd "$1")
    for library in "${4:-libtrvilx64.so}" libtrvblx64.so; do
        grep -q "$library => $(realpath "$2")/$library" <<<"$found" || fail "$1 finds $found"
    done
    (cd "$work" && LD_LIBRARY_PATH=$3 quietly "$1")
}

# consume TREE LIBDIR [SYSROOT]: the programs of the documentation build and run with what lies in TREE,
# by CMake and by pkg-config.
consume() {
    local tree=$1 libdir=$2 sysroot=${3:-} program
    rm -rf "$work/cmake"
    quietly cmake -G Ninja -S "$source/tests/packaging/consumer" -B "$work/cmake" \
        -DCMAKE_PREFIX_PATH="$tree" -DEXPECTED="$tree" \
        -DEXAMPLES="$source/docs/examples" -DOWN_QUERY="$source/tests/abi/own_query.c"
    quietly cmake --build "$work/cmake"
    # CMake's run path and that of the library suffice, but the packages' library has none.
    for program in in_c in_cpp own_buffers; do
        runs "$work/cmake/$program" "$libdir" "${sysroot:+$libdir}"
    done
    runs "$work/cmake/in_raw" "$libdir" "${sysroot:+$libdir}" libtrvraw.so.0

    local flags
    flags=$(PKG_CONFIG_LIBDIR=$libdir/pkgconfig PKG_CONFIG_SYSROOT_DIR=$sysroot \
        pkg-config --cflags --libs "trvil >= 0.1")
    quietly cc -std=c99 -pedantic-errors "$source/docs/examples/first.c" $flags -o "$work/by_pkg_config"
    runs "$work/by_pkg_config" "$libdir" "$libdir"
    flags=$(PKG_CONFIG_LIBDIR=$libdir/pkgconfig PKG_CONFIG_SYSROOT_DIR=$sysroot \
        pkg-config --cflags --libs "trvil-raw >= 0.1")
    quietly cc -std=c99 -pedantic-errors "$source/docs/examples/unpack.c" $flags -o "$work/raw_by_pkg_config"
    runs "$work/raw_by_pkg_config" "$libdir" "$libdir" libtrvraw.so.0

    [ -s "$work/first.tif" ] && [ -s "$work/buffer.tif" ] || fail "no picture was written"
    rm "$work/first.tif" "$work/buffer.tif"
}

# The tool of a tree makes a picture.
use_tool() {
    quietly "$@" sample -s 64x48 -f BAY10 --phase RGGB -o "$work/dump.raw"
    quietly "$@" convert -s 64x48 -f BAY10 --phase RGGB "$work/dump.raw" -o "$work/picture.png"
    [ -s "$work/picture.png" ] || fail "the tool wrote no picture"
}
