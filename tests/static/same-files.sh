#!/usr/bin/env bash
# same-files.sh RELEASE_BIN VELMORANT EXAMPLE FOLDER: two programs that have the module, the host's libraries and the
# library linked in, from a folder where none of these stands, load none and start no thread; and what every effect makes
# of a picture has the bytes of the release preset's file.
set -euo pipefail
release=$1 folder=$4
[ -x "$release/sample-picture" ] || { echo "There is nothing in $release to compare with: build the release preset"; exit 77; }

rm -rf "$folder"
mkdir -p "$folder/alone"
cp "$2" "$folder/alone/velmorant"
cp "$3" "$folder/alone/apply"
for program in velmorant apply; do
    if ldd "$folder/alone/$program" | grep -E "velmorant|VLM"; then echo "$program loads these"; exit 1; fi
done

cd "$folder"
"$release/sample-picture" 160 120 in.png
compared=0
for effect in $("$release/velmorant" effects | sed '/^$/,$d; s/ .*//'); do
    "$release/velmorant" apply "$effect" in.png expected.png --seed 7 --quiet
    alone/velmorant apply "$effect" in.png made.png --seed 7 --quiet
    alone/apply in.png example.png "$effect --seed 7" 2>said || { cat said; exit 1; }
    cmp expected.png made.png
    cmp expected.png example.png
    compared=$((compared + 1))
done
[ $compared -gt 0 ]

# The kernel counts a process's threads; a run that takes a while is looked at while it goes on. velmorant itself has
# a thread that waits for Ctrl-C, so it is the example that shows the library's.
"$release/sample-picture" 2000 1500 large.png
alone/apply large.png made.png "oil-painting --brush-size 40" "median --radius 9" 2>said &
most=0
while kill -0 $! 2>/dev/null; do
    threads=$(sed -n 's/^Threads:\t//p' /proc/$!/status 2>/dev/null || true)
    [ "${threads:-0}" -le "$most" ] || most=$threads
    sleep 0.02
done
wait $!
[ "$most" -eq 1 ] || { echo "there were $most threads at once"; exit 1; }
