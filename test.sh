#!/usr/bin/env bash
# Installs what is missing, builds the release preset and runs all tests.
#
#     ./test.sh                    the release preset
#     ./test.sh debug threads      other presets: address and undefined sanitizers, thread sanitizer (what starts threads)
#     ./test.sh --windows          the Windows build, under Wine; ends with 77 and one line where there can be none
#     ./test.sh --editor           the desktop editor, worked on a screen of its own under Wine; likewise
#     ./test.sh --python           the package for Python, in an environment of its own
#     ./test.sh --doors            the plug-ins for other programs, inside ffmpeg, melt and GEGL
#     ./test.sh --nightly [HOURS]  what takes long: shares the hours out, 6 without a number, and says what it reached
set -eu
cd "$(dirname "$0")"
. scripts/packages.sh

if [ "${1:-}" = --python ]; then
    install_missing $BUILD_PACKAGES $PYTHON_PACKAGES $PYTHON_TEST_PACKAGES
    ./python.sh --install
    exec build/python/bin/python3 -m pytest -q -p no:cacheprovider doors/python/tests "${@:2}"
fi
if [ "${1:-}" = --doors ]; then
    install_missing $BUILD_PACKAGES $DOORS_PACKAGES
    build_preset doors
    cd tests/doors
    exec /usr/bin/python3 -m pytest -q -p no:cacheprovider .
fi
if [ "${1:-}" = --nightly ]; then exec scripts/nightly "${@:2}"; fi

install_missing $BUILD_PACKAGES $TEST_PACKAGES
for preset in "${@:-release}"; do
    build=$preset tests=$preset targets=""
    case $preset in
    --windows | --editor)
        build=windows tests=${preset#--}
        install_missing $WINDOWS_PACKAGES $WINDOWS_TEST_PACKAGES && scripts/setup-wine || exit 77
        build_preset release velmorant   # whose pictures are compared
        ;;
    threads) targets=what_starts_threads ;;
    esac
    build_preset "$build" $TEST_OPTIONS $targets
    case $build in
    windows) scripts/test-twice "$tests" ;;
    *) ctest --preset "$tests" ;;
    esac
done
