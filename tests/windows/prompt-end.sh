#!/usr/bin/env bash
# prompt-end.sh PROGRAM FOLDER: when a program run by run-windows has ended, nobody has its standard error any more, so that
# whoever reads it through a pipe comes to the end at once. The desktop of a session without programs would be gone by
# the time it begins, and a new one, begun by this program, would have its standard error for a second more.
set -euo pipefail
run=$(cd "$(dirname "$0")/../../scripts" && pwd)/run-windows
pipe=$2/errors
mkdir -p "$2"
rm -f "$pipe"
mkfifo "$pipe"

"$run" "$1" effects >/dev/null   # there is a session from here on
sleep 3
cat "$pipe" >/dev/null &
reader=$!
"$run" "$1" effects >/dev/null 2>"$pipe"
holders=$(find /proc/[0-9]*/fd -lname "$pipe" 2>/dev/null | grep -v "^/proc/$reader/" || true)
[ -z "$holders" ] || { echo "still there: $holders"; exit 1; }
wait "$reader"
