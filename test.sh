#!/usr/bin/env bash
# Installs what is missing, builds the release preset and runs all tests.
#
#     ./test.sh                 the release preset
#     ./test.sh debug threads   other presets: address and undefined sanitizers, thread sanitizer
set -eu
cd "$(dirname "$0")"
. scripts/packages.sh

install_missing $BUILD_PACKAGES $TEST_PACKAGES
for preset in "${@:-release}"; do
    build_preset "$preset"
    ctest --preset "$preset"
done
