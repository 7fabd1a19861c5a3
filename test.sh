#!/usr/bin/env bash
# Installs what is missing, builds the release preset and runs all tests.
#
#     ./test.sh                    the release preset
#     ./test.sh debug threads      other presets: address and undefined sanitizers, thread sanitizer (what starts threads)
#     ./test.sh --windows          the Windows build, under Wine; ends with 77 and one line where there can be none
#     ./test.sh --editor           the desktop editor, worked on a screen of its own under Wine; likewise
#     ./test.sh --windows64        the build for 64-bit Windows, under Wine; likewise
#     ./test.sh --arm64            the build for Linux on aarch64, in an emulator; likewise
#     ./test.sh --short --arm64    of these two only what shows that their pixels are the release preset's
#     ./test.sh --python           the package for Python, in an environment of its own
#     ./test.sh --doors            the plug-ins for other programs, inside GIMP, ffmpeg, melt and GEGL
#     ./test.sh --web              the page, in Chromium and Firefox
#     ./test.sh --packages         what is installed, used from other folders and built against; then every package, installed
#                                  where nothing else is, used, and removed again (a bare Debian and Wine; some 20 minutes)
#     ./test.sh --short --packages of that only what is installed, and the licences of what is linked in
#     ./test.sh --static           archives that a program links, and no thread but its own: the release preset's pictures
#     ./test.sh --validator        velmorant check on the module, up to level 8
#     ./test.sh --faults           what the system may refuse, kills and signals: a sample; all of it at night
#     ./test.sh --fuzz [SECONDS]   readers, writers, texts, workers and runs with bytes that a fuzzer makes up: 5 seconds each
#     ./test.sh --coverage         how much of host/documents the tests and the fuzzers' corpora run; fails below its bars
#     ./test.sh --soak [MINUTES]   the host at work, held against a model, and memory, files and threads: 30 minutes
#     ./test.sh --nightly [HOURS]  what takes long: shares the hours out, 6 without a number, and says what it reached
set -eu
case ${1:-} in -h | --help) sed -n '2,/^set /s/^# \{0,1\}//p' "$0"; exit 0 ;; esac
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
    exec /usr/bin/python3 -m pytest -q -p no:cacheprovider --ignore screen .
fi
if [ "${1:-}" = --web ]; then
    install_missing $BUILD_PACKAGES $WEB_TEST_PACKAGES && install_node
    ./web.sh --build build/page
    ./web.sh --package build/package
    scripts/licences --check build/web web
    build_preset release velmorant   # whose files are compared
    scripts/fetch-web-tests
    exec node --test --test-concurrency=2 doors/web/tests/*.test.mjs
fi
if [ "${1:-}" = --static ]; then
    install_missing $BUILD_PACKAGES
    build_preset release velmorant sample-picture   # whose files are compared
    build_preset static
    exec ctest --preset static
fi
if [ "${1:-}" = --faults ]; then
    install_missing $BUILD_PACKAGES $TEST_PACKAGES $FAULTS_PACKAGES
    build_preset release $TEST_OPTIONS velmorant refusing
    /usr/bin/python3 tests/faults/attack.py points "${2:-500}"
    exec /usr/bin/python3 tests/faults/attack.py kills "${3:-200}"
fi
if [ "${1:-}" = --fuzz ]; then exec scripts/fuzz "${2:-5}"; fi
if [ "${1:-}" = --coverage ]; then exec scripts/coverage; fi
if [ "${1:-}" = --soak ]; then
    install_missing $BUILD_PACKAGES $TEST_PACKAGES
    build_preset release $TEST_OPTIONS soak
    exec build/release/bin/soak "${2:-30}"
fi
if [ "${1:-}" = --validator ]; then
    install_missing $BUILD_PACKAGES $FAULTS_PACKAGES
    /usr/bin/python3 tests/host/check/plant_faults.py --list
    build_preset release velmorant VLMEFF
    exec build/release/bin/velmorant check build/release/bin/VLMEFF.so --level 8 "${@:2}"
fi
if [ "${1:-}" = --nightly ]; then exec scripts/nightly "${@:2}"; fi

short=""
if [ "${1:-}" = --short ]; then short=1; shift; fi

if [ "${1:-}" = --packages ]; then
    install_missing $BUILD_PACKAGES $INSTALLED_PACKAGES
    build_preset release
    tests/packages/installed.sh build/release build/packages/installed
    scripts/licences --check build/release linux
    [ -z "$short" ] || exit 0
    install_missing $DEBIAN_TEST_PACKAGES $WINDOWS_TEST_PACKAGES
    ./package.sh
    build_preset windows -DVELMORANT_TESTS=ON strip_tests   # which works the installed editor
    scripts/licences --check build/windows windows
    scripts/licences --check build/windows64 windows64
    status=0
    tests/packages/debian.sh dist/debian build/packages/try-debian || status=$?
    tests/packages/windows.sh dist/windows build/packages/try-windows || status=$?
    exit $status
fi

install_missing $BUILD_PACKAGES $TEST_PACKAGES
for preset in "${@:-release}"; do
    build=$preset tests=$preset targets=""
    case $preset in
    --windows | --editor)
        build=windows tests=${preset#--}
        install_missing $WINDOWS_PACKAGES $WINDOWS_TEST_PACKAGES && scripts/setup-wine || exit 77
        fetch_codecs
        build_preset release velmorant   # whose pictures are compared
        ;;
    --windows64 | --arm64)
        build=${preset#--} tests=$build
        if [ $build = arm64 ]; then
            install_missing $ARM64_PACKAGES && scripts/setup-arm64 || exit 77
        else
            install_missing $WINDOWS64_PACKAGES $WINDOWS_TEST_PACKAGES && scripts/setup-wine 64 || exit 77
            fetch_codecs
        fi
        build_preset release velmorant
        [ -z "$short" ] || targets=same-pixels
        ;;
    threads) targets=what_starts_threads ;;
    esac
    build_preset "$build" $TEST_OPTIONS $targets
    case $build in
    windows) scripts/test-twice "$tests" ;;
    arm64 | windows64) ctest --preset "$tests" ${short:+-R same_pixels} ;;
    *) ctest --preset "$tests" ;;
    esac
done
