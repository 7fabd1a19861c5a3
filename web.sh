#!/usr/bin/env bash
# The effects in a browser: installs what is missing, builds the page and serves it on this machine until Ctrl-C.
#
#     ./web.sh                 http://localhost:8000
#     ./web.sh PORT            another port
#     ./web.sh --build DIR     leaves the page in DIR, for any static server: under any path, whatever its headers;
#                              the licences of what is in it are beside it
#     ./web.sh --package DIR   leaves the npm package in DIR, for `npm pack` there
set -eu
case ${1:-} in -h | --help) sed -n '2,/^set /s/^# \{0,1\}//p' "$0"; exit 0 ;; esac
here=$PWD
cd "$(dirname "$0")"
. scripts/packages.sh

refuse() { echo "web.sh: $1 (see --help)" >&2; exit 2; }

folder=build/page port=8000 program=assemble.mjs marker=index.html
case ${1:-} in
--build | --package)
    [ $# -eq 2 ] && [ -n "$2" ] || refuse "$1 takes one folder"
    [ "$1" = --build ] || program=assemble_package.mjs marker=index.d.ts
    case $2 in /*) folder=$2 ;; *) folder=$here/$2 ;; esac
    # What stands in the folder goes: only an older page or package may.
    older() { [ -d "$folder" ] && { [ -z "$(ls -A "$folder")" ] || { ls "$folder"/effects*.wasm >/dev/null 2>&1 && [ -f "$folder/$marker" ]; }; }; }
    if [ -e "$folder" ] && ! older; then
        refuse "$2 is there already and holds something else"
    fi
    ;;
"") ;;
*)
    [ $# -eq 1 ] && [[ $1 =~ ^[0-9]{1,5}$ ]] && [ "$1" -ge 1 ] && [ "$1" -le 65535 ] || refuse "'$*' is no port"
    port=$1
    ;;
esac

install_missing $WEB_PACKAGES $WEB_LICENCES
command -v node >/dev/null || install_missing nodejs
scripts/setup-web && scripts/setup-codecs || exit 1
build_preset web
scripts/licences web >build/web/licences.txt
node doors/web/$program build/web/wasm "$folder" build/web/licences.txt

case ${1:-} in
--build) echo "$2 holds the page: serve it from anywhere."; exit 0 ;;
--package) echo "$2 holds the package: npm pack makes the file that is published."; exit 0 ;;
esac
exec node doors/web/serve.mjs "$folder" "$port"
