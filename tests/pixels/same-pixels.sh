#!/usr/bin/env bash
# same-pixels.sh RELEASE_BIN FOLDER VELMORANT SAME_PIXELS EMULATOR...: has the release preset's velmorant and that of
# another system or processor, run in its emulator, work on the same pictures, and holds the results together. On Windows
# effects that draw random numbers are left out: each system has a generator of its own, and effects_tests holds them
# against the plain versions there.
set -euo pipefail
release=$1/velmorant
folder=$2
other=$3
tool=$4
run=("${@:5}")
[ -x "$release" ] || { echo "There is no $release to compare with: build the release preset"; exit 77; }

rm -rf "$folder"
mkdir -p "$folder/in"
"${run[@]}" "$tool" make "$folder/in" || exit

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
    apply "release/$name" "$release" -- "$@" --seed 1
    if [[ $other == *.exe ]]; then
        apply "again/$name" "$release" -- "$@" --seed 2
        if ! diff -q -r --exclude=said --exclude=.velmorant-batch "$folder/release/$name" "$folder/again/$name" >/dev/null; then
            echo "$name: draws random numbers"
            rm -r "$folder/release/$name"
            return
        fi
    fi
    apply "other/$name" "${run[@]}" "$other" -- "$@" --seed 1
    compared=$((compared + 1))
}

for effect in $("$release" effects | sed '/^$/,$d; s/ .*//'); do compare "$effect" "$effect"; done
compare filters-sobel filters --kernel "Sobel North West 3 by 3"
compare filters-emboss filters --kernel "Emboss East"
compare wave-columns wave --orientation columns --amplitude 30
compare wave-strong wave --amplitude 50 --wavelength 10
[ $compared -ge 10 ] || { echo "only $compared effects have been compared"; exit 1; }
"${run[@]}" "$tool" compare "$folder/release" "$folder/other"
