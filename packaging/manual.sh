#!/bin/sh
# Writes what the program tells of itself for others: its manual pages, velmorant.1 and one for each command, and what shells
# complete it with.
#
#     packaging/manual.sh PROGRAM FOLDER
set -eu
case ${1:-} in -h | --help) sed -n '2,/^set /s/^# \{0,1\}//p' "$0"; exit 0 ;; esac
program=$1 folder=$2
mkdir -p "$folder/manual" "$folder/completion"
# A person's own presets and kernels are not the package's.
XDG_CONFIG_HOME=$folder/nobody
export XDG_CONFIG_HOME

"$program" manual >"$folder/manual/velmorant.1"
"$program" --help | sed -n '/^Commands:/,/^$/s/^  \([a-z]*\) .*/\1/p' | while read -r command; do
    "$program" manual "$command" >"$folder/manual/velmorant-$command.1"
done
"$program" completion bash >"$folder/completion/velmorant"
"$program" completion zsh >"$folder/completion/_velmorant"
"$program" completion fish >"$folder/completion/velmorant.fish"
