#!/usr/bin/env bash
# Makes the pictures of docs/editor.md anew: the editor's windows as they stand on the tests' own screen. To be run when
# a window's looks have changed; look at them before they are committed.
set -eu
case ${1:-} in -h | --help) sed -n '2,/^set /s/^# \{0,1\}//p' "$0"; exit 0 ;; esac
cd "$(dirname "$0")/.."
. scripts/packages.sh

install_missing $BUILD_PACKAGES $WINDOWS_PACKAGES $WINDOWS_TEST_PACKAGES && scripts/setup-wine || exit 77
fetch_codecs
build_preset windows $TEST_OPTIONS editor_pictures
rm -rf build/windows/screens
ctest --preset editor -R '^EditorPictures\.'
mkdir -p docs/editor
rm -f docs/editor/*.png
cp build/windows/screens/*.png docs/editor/
du -sh docs/editor
