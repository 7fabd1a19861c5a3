#!/usr/bin/env bash
# same-pixels.sh LINUX_BIN WINDOWS_BIN FOLDER: has velmorant of both systems work on the same pictures, and holds the
# results together. Effects that draw random numbers are left out: each system has a generator of its own, and
# effects_tests holds them against the plain versions there.
set -euo pipefail
linux=$1/velmorant
windows=$2
folder=$3
run=$(cd "$(dirname "$0")/../../scripts" && pwd)/run-windows
[ -x "$linux" ] || { echo "There is no $linux to compare with: build the release preset"; exit 77; }

rm -rf "$folder"
mkdir -p "$folder/in"
"$run" "$windows/same-pixels.exe" make "$folder/in" || exit

# apply OUTPUT_FOLDER PROGRAM... -- EFFECT OPTION... : pictures of types that the effect refuses have no output.
apply()
{
    local output=$folder/$1 program=()
    shift
    while [ "$1" != -- ]; do program+=("$1"); shift; done
    mkdir -p "$output"
    "${program[@]}" batch "${@:2}" --output-folder "$output" --quiet "$folder"/in/* \
        >"$output/said" 2>&1 </dev/null || true
}

# compare NAME EFFECT OPTION...
compared=0
compare()
{
    local name=$1
    shift
    apply "linux/$name" "$linux" -- "$@" --seed 1
    apply "again/$name" "$linux" -- "$@" --seed 2
    if ! diff -q -r --exclude=said "$folder/linux/$name" "$folder/again/$name" >/dev/null; then
        echo "$name: draws random numbers"
        rm -r "$folder/linux/$name"
        return
    fi
    apply "windows/$name" "$run" "$windows/velmorant.exe" -- "$@" --seed 1
    compared=$((compared + 1))
}

for effect in $("$linux" effects | sed '/^$/,$d; s/ .*//'); do compare "$effect" "$effect"; done
compare filters-sobel filters --kernel "Sobel North West 3 by 3"
compare filters-emboss filters --kernel "Emboss East"
compare wave-columns wave --orientation columns --amplitude 30
compare wave-strong wave --amplitude 50 --wavelength 10
[ $compared -ge 10 ] || { echo "only $compared effects have been compared"; exit 1; }
"$run" "$windows/same-pixels.exe" compare "$folder/linux" "$folder/windows"
