#!/usr/bin/env bash
# Builds the desktop editor and starts it under Wine.
#
#     ./editor.sh [PICTURE...]
#
# Ends with 77 and one line where there can be no 32-bit Wine.
set -eu
case ${1:-} in -h | --help) sed -n '2,/^set /s/^# \{0,1\}//p' "$0"; exit 0 ;; esac
here=$(cd "$(dirname "$0")" && pwd)

# Before anything is installed or built for it.
[ -n "${DISPLAY:-}" ] || { echo "There is no display to show the editor on." >&2; exit 1; }

pictures=()
for picture in "$@"; do pictures+=("$(realpath "$picture")"); done

cd "$here"
. scripts/packages.sh
install_missing $BUILD_PACKAGES $WINDOWS_PACKAGES
scripts/setup-wine
fetch_codecs

log=$(mktemp)
echo "Building ..."
cmake --preset windows >"$log" 2>&1 && cmake --build --preset windows --target velmorant-editor >>"$log" 2>&1 ||
    { cat "$log" >&2; rm -f "$log"; exit 1; }
rm -f "$log"
program=build/windows/bin/velmorant-editor.exe

# A Windows folder of its own: the tests' windows have no frames of this desktop's.
export VELMORANT_WINE_SESSION=$here/build/windows/desktop
. scripts/wine.sh
if [ ! -f "$WINEPREFIX/ready" ]; then
    mkdir -p "$WINEPREFIX"
    timeout 120 "$WINE_BIN/wine" wineboot -i </dev/null >/dev/null 2>&1 || true
    cp "$WINE_ROOT"/usr/share/wine/fonts/*.ttf "$WINEPREFIX/drive_c/windows/Fonts/"
    : >"$WINEPREFIX/ready"
fi
exec "$WINE_BIN/wine" "$program" "${pictures[@]}"
