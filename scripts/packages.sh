# The Debian packages that building and testing need, and how to get them; read by demo.sh, test.sh and their like.

BUILD_PACKAGES="g++ cmake ninja-build libcli11-dev nlohmann-json3-dev libpng-dev libtiff-dev libjpeg62-turbo-dev
                zlib1g-dev libgif-dev libwebp-dev liblcms2-dev"
TEST_PACKAGES="libgtest-dev libbenchmark-dev valgrind libimage-exiftool-perl pngcheck libtiff-tools webp gifsicle"
LINT_PACKAGES="clang-format-14 clang-tidy-14"
PYTHON_PACKAGES="python3-dev python3-venv python3-pip python3-setuptools python3-wheel pybind11-dev python3-pybind11"
PYTHON_TEST_PACKAGES="python3-numpy python3-pil python3-pytest python3-hypothesis python3-distributed python3-fsspec
                      jupyter-nbconvert python3-ipykernel mypy"
DOORS_PACKAGES="frei0r-plugins-dev libgegl-dev gegl pkg-config ffmpeg melt gimp libgimp2.0-dev python3-pytest python3-pil"
DOORS_SCREEN_PACKAGES="xvfb openbox xdotool imagemagick kdenlive dbus-daemon"   # at night alone
INSTALLED_PACKAGES="pkg-config"   # builds against what is installed
DEBIAN_PACKAGES="debhelper dh-python lintian desktop-file-utils python3-dev python3-setuptools pybind11-dev
                 python3-pybind11 frei0r-plugins-dev libgegl-dev libgimp2.0-dev pkg-config"   # what packages are made with
WINDOWS_PACKAGING="nsis zip cmark-gfm"
DEBIAN_TEST_PACKAGES="debootstrap icoutils"   # what they are tried with
FAULTS_PACKAGES="python3"   # what refuses and kills
FUZZ_PACKAGES="clang-14 libclang-rt-14-dev llvm-14 libgtest-dev"   # clang's fuzzer and sanitizers
COVERAGE_PACKAGES="$FUZZ_PACKAGES python3"   # clang's counters
DRAWING_PACKAGES="graphviz"   # for scripts/rooms.sh alone
WINDOWS_PACKAGES="gcc-mingw-w64-i686-posix g++-mingw-w64-i686-posix libz-mingw-w64-dev dpkg-dev"   # Wine: see setup-wine; codecs: setup-codecs
WINDOWS64_PACKAGES="gcc-mingw-w64-x86-64-posix g++-mingw-w64-x86-64-posix libz-mingw-w64-dev dpkg-dev"
WINDOWS_TEST_PACKAGES="googletest xvfb"
ARM64_PACKAGES="g++-aarch64-linux-gnu qemu-user"   # libraries: see setup-arm64
WEB_PACKAGES="cmake ninja-build emscripten libcli11-dev nlohmann-json3-dev dpkg-dev"   # node: whichever is there
WEB_LICENCES="libpng-dev libtiff-dev libjpeg62-turbo-dev zlib1g-dev libgif-dev libwebp-dev liblcms2-dev"   # whose texts go with the page
WEB_TEST_PACKAGES="chromium firefox-esr"
TEST_OPTIONS="-DVELMORANT_TESTS=ON -DVELMORANT_BENCH=ON"

# install_missing PACKAGE...: installs what is not there yet, and says so first.
install_missing()
{
    local missing=""
    local package
    for package in "$@"; do
        dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed || missing="$missing $package"
    done
    [ -z "$missing" ] && return 0

    local as_root=""
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || { echo "These packages are missing, and neither root nor sudo is there to install them:$missing" >&2; return 1; }
        as_root="sudo"
    fi
    echo "Installing from Debian:$missing"
    $as_root apt-get -o DPkg::Lock::Timeout=600 update -qq || return 1
    $as_root env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=600 install -y -qq --no-install-recommends $missing >/dev/null
}

# install_node: node and npm are whichever are there, Debian's where there are none.
install_node()
{
    command -v node >/dev/null || install_missing nodejs || return 1
    command -v npm >/dev/null || install_missing npm
}

# fetch_codecs: what builds for Windows take from Debian's sources. Without it they have fewer formats, and say so.
fetch_codecs()
{
    scripts/setup-codecs || [ $? -eq 77 ]
}

# build_preset PRESET [-DOPTION=VALUE...] [TARGET...]: configures and builds; quiet unless it fails. Options stay as they
# were set before in the same tree.
build_preset()
{
    local preset=$1 log options=()
    shift
    while [[ ${1:-} == -D* ]]; do options+=("$1"); shift; done
    log=$(mktemp)
    echo "Building ($preset) ..."
    if ! { cmake --preset "$preset" "${options[@]}" &&
           cmake --build --preset "$preset" ${1:+--target "$@"}; } >"$log" 2>&1; then
        cat "$log" >&2
        rm -f "$log"
        return 1
    fi
    rm -f "$log"
}
