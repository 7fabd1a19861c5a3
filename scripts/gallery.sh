#!/usr/bin/env bash
# Makes docs/effects.md and its pictures anew: every effect with its example on the sample picture, and all presets. To be
# run when an effect, its text or its example, or a preset has changed; a test holds the page and the pictures beside the
# program.
set -eu
case ${1:-} in -h | --help) sed -n '2,/^set /s/^# \{0,1\}//p' "$0"; exit 0 ;; esac
cd "$(dirname "$0")/.."
bin=build/release/bin

mkdir -p docs/effects
rm -f docs/effects/*.png
"$bin/sample-picture" 360 240 docs/effects/before.png
"$bin/velmorant" effects | while read -r effect _; do
    [ -n "$effect" ] || break
    # The example is the last line of an effect's help, as it would be typed.
    example=$("$bin/velmorant" effects "$effect" | tail -n 1)
    eval "options=(${example#*out.png})"
    "$bin/velmorant" apply "$effect" docs/effects/before.png "docs/effects/$effect.png" --seed 1 --quiet "${options[@]}"
done
"$bin/sample-picture" 640 428 docs/presets.png
"$bin/velmorant" sheet --presets docs/presets.png docs/presets.jpg --width 1200 --quiet
rm docs/presets.png
"$bin/velmorant" effects --markdown >docs/effects.md
