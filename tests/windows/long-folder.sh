#!/usr/bin/env bash
# long-folder.sh WINDOWS_BIN FOLDER: velmorant works in a folder whose path is longer than 260 letters, not all of them
# ASCII, and writes there. Windows' own call that starts a program takes no such path from another one, so a shell does.
set -euo pipefail
windows=$1
folder=$2/$(printf 'a%.0s' {1..90})ü/$(printf 'b%.0s' {1..90})漢/$(printf 'c%.0s' {1..90})
run=$(cd "$(dirname "$0")/../../scripts" && pwd)/run-windows

rm -rf "$2"
mkdir -p "$folder"
cp "$windows"/velmorant.exe "$windows"/*.dll "$folder"
printf 'P5 2 2 255\nabcd' >"$2/in.pgm"
"$run" "$folder/velmorant.exe" apply solarize "$2/in.pgm" "$folder/out ü.pgm"
[ -f "$folder/out ü.pgm" ]
"$run" "$folder/velmorant.exe" apply solarize "$folder/out ü.pgm" "$2/again.pgm"
[ -f "$2/again.pgm" ]
rm -rf "$2"
