#!/usr/bin/env bash
# Installs what is missing, builds the release preset and runs all tests.
#
#     ./test.sh                 the release preset
#     ./test.sh debug threads   other presets: address and undefined sanitizers, thread sanitizer
#     ./test.sh --windows       the Windows build, under Wine; ends with 77 and one line where there can be none
set -eu
cd "$(dirname "$0")"
. scripts/packages.sh

install_missing $BUILD_PACKAGES $TEST_PACKAGES
for preset in "${@:-release}"; do
    if [ "$preset" = --windows ]; then
        preset=windows
        install_missing $WINDOWS_PACKAGES && scripts/setup-wine || { echo "The Windows tests are skipped."; exit 77; }
        build_preset release velmorant   # whose pictures are compared
    fi
    build_preset "$preset"
    ctest --preset "$preset"
done
