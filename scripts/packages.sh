# The Debian packages that trvil takes, and how they come onto the machine. Sourced by demo and test.

build_packages=(cmake ninja-build g++ libcli11-dev libisal-dev libpng-dev libtiff-dev nlohmann-json3-dev)
test_packages=(libgtest-dev git clang-format
    python3 python3-numpy python3-pytest python3-mypy                   # Python
    python3-pil python3-setuptools python3-wheel python3-pip python3-dask python3-distributed python3-zarr
    qemu-user valgrind strace abigail-tools                             # trust
    pkg-config libopencv-imgproc-dev dpkg-dev fakeroot lintian file     # packages
    dcraw libimage-exiftool-perl libraw-bin                             # DNG files
    libaravis-dev                                                       # cameras
    ffmpeg                                                              # streams
    libgstreamer-plugins-base1.0-dev gstreamer1.0-plugins-{good,bad} gstreamer1.0-tools # GStreamer
    doxygen mandoc furo python3-myst-parser python3-sphinx)             # documentation
browser_packages=(chromium)                          # what the preset browser takes: 230 MB with what it needs
clang_packages=(clang clang-tidy libclang-rt-14-dev) # what clang's presets, fuzz/run and scripts/tidy take
# What the preset aarch64 takes.
cross_packages=(g++-aarch64-linux-gnu libc6-dev-arm64-cross qemu-user googletest)
# What bench/peers measures against and draws with; nothing else needs them.
peer_packages=(pkg-config python3 python3-matplotlib libopencv-dev libyuv-dev libswscale-dev libdc1394-dev)

# Those of the named packages that are not installed.
missing_packages() {
    local package
    for package in "$@"; do
        [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" = installed ] ||
            echo "$package"
    done
}

# Words that make a command run as root: none for root, sudo where it asks no password.
as_root() {
    if [ "$(id -u)" = 0 ]; then
        "$@"
    else
        sudo -n "$@"
    fi
}

may_install() { [ "$(id -u)" = 0 ] || sudo -n true 2>/dev/null; }

# Installs what is missing of the named packages; never asks. Where it may not install, it prints the
# one command that does and ends the script.
need_packages() {
    command -v dpkg-query >/dev/null || return 0 # not Debian: CMake says what it misses
    local missing
    mapfile -t missing < <(missing_packages "$@")
    [ ${#missing[@]} = 0 ] && return 0
    local install="apt-get install -y --no-install-recommends ${missing[*]}"
    if ! may_install; then
        echo "These packages are missing. Install them by this command, then start again:" >&2
        echo "  su -c 'apt-get update && $install'" >&2
        exit 1
    fi
    echo "Installing ${missing[*]}" >&2
    show_progress as_root apt-get update
    show_progress as_root env DEBIAN_FRONTEND=noninteractive $install
}

# Runs a command. On a terminal its output is seen on stderr; elsewhere only when it fails.
show_progress() {
    if [ -t 2 ]; then
        "$@" >&2
        return
    fi
    local log
    log=$(mktemp)
    "$@" >"$log" 2>&1 </dev/null || {
        local status=$?
        cat "$log" >&2
        rm -f "$log"
        exit "$status"
    }
    rm -f "$log"
}
