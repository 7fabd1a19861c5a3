#!/usr/bin/env bash
# Draws docs/rooms.svg from the table of rooms in docs/architecture.md: a box for each room, an arrow for each right to
# include that no chain of others gives already. Rooms that may include everything have no arrows. To be run after a
# change of the table; the test `rooms` says when it was forgotten.
set -eu
case ${1:-} in -h | --help) sed -n '2,/^set /s/^# \{0,1\}//p' "$0"; exit 0 ;; esac
cd "$(dirname "$0")/.."
. scripts/packages.sh
install_missing $DRAWING_PACKAGES

# Prints a room's node: its name, and what it holds in short lines (up to the first colon or semicolon).
node()
{
    local text
    text=$(sed 's/`//g; s/[;:].*//; s/&/\&amp;/g' <<<"$2" | fold -s -w 34 | sed 's/ *$//; s/$/<br align="left"\/>/' | tr -d '\n')
    printf '    "room %s" [label=<<b>%s/</b><br align="left"/><font point-size="11">%s</font>>];\n' "$1" "$1" "$text"
}

group_of()
{
    case $1 in
    interface | maths) echo shared ;;
    module | effects | matrix | framework | resources) echo module ;;
    host/*) echo host ;;
    examples | doors) echo outside ;;
    *) echo around ;;
    esac
}

cluster()
{
    printf '  subgraph "cluster_%s" {\n    label="%s"; style="rounded,filled"; color="%s"; fillcolor="%s";\n' "$1" "$2" "$3" "$4"
    printf '    node [color="%s"];\n%s  }\n' "$3" "${nodes[$1]:-}"
}

declare -A nodes
edges=""
while IFS='|' read -r _ room holds allowed _; do
    room=$(tr -d ' `' <<<"$room")
    room=${room%/}
    group=$(group_of "$room")
    nodes[$group]="${nodes[$group]:-}$(node "$room" "${holds# }")"$'\n'
    while read -r name; do
        [ -n "$name" ] && edges+="  \"room $room\" -> \"room ${name%/*}\";"$'\n'
    done < <(grep -o '`[^`]*`' <<<"$allowed" | tr -d '`' || true)
done < <(grep -E '^\| `[^|]*/` \|[^|]*\|[^|]*\|$' docs/architecture.md)

{
    echo 'digraph rooms {'
    echo '  bgcolor="white"; fontname="sans-serif"; fontsize=16; nodesep=0.25; ranksep=0.45; newrank=true;'
    echo '  node [shape=box, style="rounded,filled", fillcolor="white", fontname="sans-serif", fontsize=14, margin="0.14,0.09"];'
    echo '  edge [color="#444444", arrowsize=0.8, fontname="sans-serif", fontsize=11];'
    cluster outside "outside" "#8a5fb0" "#f3ecfa"
    cluster host "the host" "#4a86b8" "#e6f1fb"
    cluster module "the module: VLMEFF" "#d9903a" "#fff3e0"
    cluster shared "what both sides share" "#6a9e45" "#edf7e6"
    cluster around "around them: may include what they try or use" "#888888" "#f4f4f4"
    echo "$edges}"
} | tred | sed '$d' | {
    cat
    echo '  "room host/documents" -> "room module" [style=dashed, constraint=false, label="loads by name"];'
    echo '}'
} | dot -Tsvg -o docs/rooms.svg
