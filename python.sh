#!/usr/bin/env bash
# The effects for Python: installs what is missing, builds, and makes a virtual environment in build/python that has the
# package; leaves build/python-example.png, made by a few lines of Python.
#
#     ./python.sh             a landscape that is drawn for the purpose
#     ./python.sh PICTURE     a picture of yours
#     ./python.sh --install   the environment alone
set -eu
case ${1:-} in -h | --help) sed -n '2,/^set /s/^# \{0,1\}//p' "$0"; exit 0 ;; esac
here=$PWD
cd "$(dirname "$0")"
. scripts/packages.sh

picture=${1:-}
case $picture in "" | /* | --install) ;; *) picture=$here/$picture ;; esac
if [ -n "$picture" ] && [ "$picture" != --install ] && [ ! -f "$picture" ]; then
    echo "python.sh: $picture: there is no such file" >&2
    exit 1
fi

install_missing $BUILD_PACKAGES $PYTHON_PACKAGES
build_preset release libvelmorant velmorant sample-picture

# Debian's own interpreter: another one before it in PATH would not see Debian's packages.
echo "Installing the package into build/python ..."
[ -x build/python/bin/python3 ] || /usr/bin/python3 -m venv --system-site-packages build/python
if command -v ccache >/dev/null; then export CC="ccache gcc" CXX="ccache g++"; fi
log=$(mktemp)
build/python/bin/pip install --no-index --no-deps --force-reinstall ./doors/python >"$log" 2>&1 ||
    { cat "$log" >&2; rm -f "$log"; exit 1; }
rm -f "$log"
[ "$picture" != --install ] || exit 0

if [ -z "$picture" ]; then
    picture=build/python-sample.png
    build/release/bin/sample-picture 640 480 "$picture"
fi
build/python/bin/python3 doors/python/example.py "$picture" build/python-example.png
