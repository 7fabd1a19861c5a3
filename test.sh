#!/usr/bin/env bash
# Installs what is missing, builds the release preset and runs all tests.
#
#     ./test.sh                 the release preset
#     ./test.sh debug threads   other presets: address and undefined sanitizers, thread sanitizer
#     ./test.sh --windows       the Windows build, under Wine; ends with 77 and one line where there can be none
#     ./test.sh --editor        the desktop editor, worked on a screen of its own under Wine; likewise
set -eu
cd "$(dirname "$0")"
. scripts/packages.sh

install_missing $BUILD_PACKAGES $TEST_PACKAGES
for preset in "${@:-release}"; do
    build=$preset tests=$preset
    case $preset in
    --windows | --editor)
        build=windows tests=${preset#--}
        install_missing $WINDOWS_PACKAGES $WINDOWS_TEST_PACKAGES && scripts/setup-wine || exit 77
        build_preset release velmorant   # whose pictures are compared
        ;;
    esac
    build_preset "$build" $TEST_OPTIONS
    ctest --preset "$tests"
done
