#!/usr/bin/env bash
# windows.sh DIST FOLDER: tries the installer and the zip of the folder DIST under Wine, in a Windows folder of its own below
# FOLDER: quietly, into a folder whose name has letters beyond ASCII, over itself and over a lower number, while a program
# runs, and away again; then where programs of 32 bits and of 64 start each other. Needs what package.sh has left in
# build/packages/windows, and strip_tests of the preset `windows`. Ends with 77 where there is no Wine.
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
dist=$(realpath "$1")
mkdir -p "$2"
folder=$(realpath "$2")
version=$(cd "$dist" && ls velmorant-*-setup.exe | sed 's/velmorant-\(.*\)-setup.exe/\1/')

"$root/scripts/setup-wine" both || exit 77
export VELMORANT_WINE_SESSION=$folder/session
end()
{
    "$root/scripts/wine-session" stop >/dev/null 2>&1 || true
    VELMORANT_WINE_BITS=64 VELMORANT_WINE_SESSION=$folder/session64 "$root/scripts/wine-session" stop >/dev/null 2>&1 || true
    VELMORANT_WINE_BITS=both VELMORANT_WINE_SESSION=$folder/session-both "$root/scripts/wine-session" stop >/dev/null 2>&1 || true
}
end
trap end EXIT
rm -rf "$folder/session" "$folder/session64" "$folder/session-both"
run() { timeout 180 "$root/scripts/run-windows" "$@" </dev/null; }
run64() { VELMORANT_WINE_SESSION=$folder/session64 VELMORANT_WINE_BITS=64 timeout 180 "$root/scripts/run-windows" "$@" </dev/null; }
run_both() { VELMORANT_WINE_SESSION=$folder/session-both VELMORANT_WINE_BITS=both timeout 180 "$root/scripts/run-windows" "$@" </dev/null; }
run cmd /c exit || exit 77

failed=0
check() { # check WHAT COMMAND...
    if "${@:2}" >"$folder/said" 2>&1; then echo "ok: $1"
    else echo "FAILED: $1"; tail -20 "$folder/said" | sed 's/^/    /'; failed=1
    fi
}

drive=$folder/session/prefix/drive_c
goal="Prögrämme ŁØ日/Velmorant" goal_windows='C:\Prögrämme ŁØ日\Velmorant'
there=$drive/$goal
# What a removal must leave as it was: every file but Wine's own records, and the registry's text.
files() { (cd "$drive" && find . -not -path './users/*/Temp*' -not -path './windows/*' | sort); }
registry() { local key; for key in 'HKCU\Software' 'HKLM\Software' 'HKCU\Environment'; do run reg query "$key" /s; done | tr -d '\r' | grep -iE -A3 'velmorant' || true; }
settled() { local i; for i in $(seq 50); do [ ! -e "$there/uninstall.exe" ] && return; sleep 0.2; done; return 1; }
setup() { run "$dist/velmorant-$version-setup.exe" /S "$@" '/D=C:\Prögrämme' 'ŁØ日\Velmorant'; }

run reg add 'HKCU\Environment' /v Path /t REG_EXPAND_SZ /d 'C:\mine;%SystemRoot%\other' /f >/dev/null
mkdir -p "$drive/users/$(id -un)/AppData/Roaming/Velmorant"
mkdir -p "$(dirname "$drive/$goal")"   # what was there before stays
echo mine >"$drive/users/$(id -un)/AppData/Roaming/Velmorant/settings"
files >"$folder/before"

check "it installs quietly, into a folder of every alphabet" setup /PATH /ASSOCIATE
check "the editor is there" test -f "$there/velmorant-editor.exe"

# What is printed has lost the letters that the console's code page has not.
in_path() { run reg query 'HKCU\Environment' /v Path | LC_ALL=C grep -qaE ' C:\\mine;%SystemRoot%\\other;C:\\Pr[^;]*\\Velmorant\\command'; }
check "the folder of the command line is in the search path, behind what was there" in_path
offered() { local ending; for ending in png gif webp; do run reg query "HKCU\\Software\\Classes\\.$ending\\OpenWithProgids" | grep -qF Velmorant.Picture || return 1; done; }
check "the editor is offered for pictures" offered
in_menu() { find "$drive" -name 'Velmorant editor.lnk' | grep -q .; }
check "it is in the start menu" in_menu
shown() { run reg query 'HKCU\Software\Microsoft\Windows\CurrentVersion\Uninstall\Velmorant' | grep -qF "$version"; }
check "Windows lists it with its version" shown

# Each program does its job where it was installed. Programs of 64 bits have a Wine of their own, which sees the same files.
run64 cmd /c exit || exit 77
mkdir -p "$folder/64"
rm -rf "$folder/64/ŁØ日"
cp -r "$there" "$folder/64/ŁØ日"
printf 'P6 16 16 255\n' >"$folder/in.ppm"
head -c 768 "$root/LICENSE" >>"$folder/in.ppm"
says_version() { run64 "$folder/64/ŁØ日/command/velmorant.exe" --version | tr -d '\r' | head -1 | grep -qx "velmorant $version"; }
check "velmorant.exe tells its version" says_version
works() { (cd "$folder" && rm -f out.ppm && run64 "$folder/64/ŁØ日/command/velmorant.exe" apply wave in.ppm out.ppm --quiet && "$root/build/release/bin/velmorant" apply wave in.ppm expected.ppm --quiet && cmp expected.ppm out.ppm); }
check "velmorant.exe makes the picture that the release build makes" works
tells_codecs() { run64 "$folder/64/ŁØ日/command/velmorant.exe" --version | tr -d '\r' | grep giflib | grep libwebp | grep -q 'Little CMS'; }
check "it was made with GIF, WebP and colours of print" tells_codecs

# A program that is open is noticed, and nothing is changed.
"$root/scripts/run-windows" "$there/velmorant-editor.exe" </dev/null >/dev/null 2>&1 &
editor=$!
for i in $(seq 100); do run tasklist 2>/dev/null | grep -qi velmorant-editor && break; sleep 0.3; done
sleep 1
check "the editor runs" kill -0 $editor
while_open() { local status=0; setup || status=$?; [ $status = 2 ] && [ -f "$there/velmorant-editor.exe" ] && [ -f "$there/uninstall.exe" ]; }
check "an installation while it is open ends with 2 and leaves all as it is" while_open
run taskkill /f /im velmorant-editor.exe >/dev/null 2>&1 || true
wait $editor 2>/dev/null || true

check "it is installed over itself" setup
check "and keeps its place in the search path" in_path
check "and goes on being offered" offered

# An installer of a lower number, with a page that is no longer there in this one, takes its place and is followed by it.
made=$root/build/packages/windows
echo old >"$folder/only-in-an-old-one.html"
sed "s|^!macro InstallFiles|&\n    SetOutPath \"\$INSTDIR\\\\pages\"\n    File \"$folder/only-in-an-old-one.html\"|
     s|^!macro RemoveFiles|&\n    Delete \"\$INSTDIR\\\\pages\\\\only-in-an-old-one.html\"|" "$made/files.nsh" >"$folder/old.nsh"
old_setup()
{
    makensis -V2 -WX -DVERSION=0.9.0 -DFILES="$folder/old.nsh" -DICON="$root/packaging/icon/velmorant.ico" -DCOPYRIGHT=none \
        -DKILOBYTES=1 -DOUT="$folder/old-setup.exe" "$root/packaging/windows/installer.nsi" &&
        run "$folder/old-setup.exe" /S /PATH /ASSOCIATE '/D=C:\Prögrämme' 'ŁØ日\Velmorant' && [ -f "$there/pages/only-in-an-old-one.html" ]
}
run "$there/uninstall.exe" /S || true
check "it is removed, to begin with a lower number" settled
check "a lower number is installed" old_setup
shown_old() { run reg query 'HKCU\Software\Microsoft\Windows\CurrentVersion\Uninstall\Velmorant' | grep -qF 0.9.0; }
check "and listed as that" shown_old
check "this one is installed over it" setup
check "and listed in its place" shown
check "what only the lower number had is gone" test ! -e "$there/pages/only-in-an-old-one.html"
check "the search path is kept" in_path
check "the offer too" offered
run "$there/uninstall.exe" /S || true
check "it is removed" settled
sleep 1
files >"$folder/after"
traces() { diff "$folder/before" "$folder/after"; }
check "no file of it stays, and what the person has made does" traces
path_as_before() { run reg query 'HKCU\Environment' /v Path | tr -d '\r' | grep -qE 'C:\\mine;%SystemRoot%\\other$'; }
check "the search path is as it was" path_as_before
no_registry() { registry >"$folder/left"; [ ! -s "$folder/left" ] || { cat "$folder/left"; false; }; }
check "nor anything in the registry" no_registry

# For all who use the computer, into the usual folder.
check "it installs for all" run "$dist/velmorant-$version-setup.exe" /S /AllUsers
for_all=$(find "$drive" -maxdepth 3 -name velmorant-editor.exe | head -1)
check "among the programs" test "$for_all" = "$drive/Program Files/Velmorant/velmorant-editor.exe"
there=$drive/"Program Files/Velmorant"
[ -z "$for_all" ] || run "$there/uninstall.exe" /S || true
check "and is removed" settled
sleep 1
files >"$folder/after"
check "without a trace" traces

# The zip runs where it is unpacked.
rm -rf "$folder/zip ö" && mkdir "$folder/zip ö"
(cd "$folder/zip ö" && python3 -m zipfile -e "$dist/velmorant-$version-windows.zip" .)
from_zip() { run64 "$folder/zip ö/velmorant-$version/command/velmorant.exe" effects | grep -q '^wave'; }
check "what the zip holds runs" from_zip

# Every file tells the one version and has nothing of a debugger's.
told()
{
    local file
    for file in "$folder/zip ö/velmorant-$version"/{,command/}*.{exe,dll}; do
        wrestool -x --raw -t16 "$file" | iconv -f utf-16le -t utf-8 -c | tr -d '\0' | grep -aqF "ProductVersion$version" || { echo "$file: no version $version"; return 1; }
        ! i686-w64-mingw32-objdump -h "$file" | grep -q '\.debug_' || { echo "$file: not stripped"; return 1; }
    done
}
check "every file tells the version and is stripped" told

# Where Windows has both, as most people's has: what was installed works together.
drive=$folder/session-both/prefix/drive_c
there=$drive/Program\ Files/Velmorant
run_both cmd /c exit || exit 77
check "it installs where there are 32 bits and 64" run_both "$dist/velmorant-$version-setup.exe" /S /AllUsers
checks_32()
{
    run_both "$there/command/velmorant.exe" check "$there/VLMEFF.dll" --level 2 --effect wave | tr -d '\r' | grep -q 'VLMEFF.dll: nothing found in .* of 20 effects, level 2'
}
check "the command line of 64 bits checks the module of 32" checks_32
finds_32()
{
    local status=0
    run_both "$there/command/velmorant.exe" check "$there/VLMAPI.dll" --level 1 >"$folder/found" || status=$?
    [ $status = 1 ] && grep -q 'there is no KPZInitialize' "$folder/found"
}
check "and what is found, and the exit code, are handed on" finds_32
alone_32()
{
    local status=0
    run_both "$folder/64/ŁØ日/command/velmorant.exe" check "$there/VLMEFF.dll" 2>"$folder/found" || status=$?
    [ $status = 2 ] && [ "$(wc -l <"$folder/found")" = 1 ] && grep -q 'VLMEFF.dll: is of 32 bits, and the velmorant.exe of 32 bits' "$folder/found"
}
rm "$folder/64/ŁØ日/velmorant.exe"
check "without the one of 32 bits it says so in a line, and ends with 2" alone_32
# The editor as a person works it, with what it finds in its own folder.
cp "$root/build/windows/bin/strip_tests.exe" "$there/"
batch() { run_both "$there/strip_tests.exe" --gtest_filter=HistoryTest.OtherPicturesAreWorkedOnWithAReport; }
large_batch()
{
    local seen="" worker
    batch &
    worker=$!
    while kill -0 $worker 2>/dev/null; do
        cat /proc/[0-9]*/cmdline 2>/dev/null | tr '\0' ' ' | grep -aqF 'Velmorant\command\velmorant.exe batch' && seen=1
        sleep 0.1
    done
    wait $worker && [ -n "$seen" ]
}
check "the editor runs effects on other pictures, by the command line of 64 bits" large_batch
mv "$there/command" "$folder/64/aside"
check "and by the one of 32, where it is alone" batch
mv "$folder/64/aside" "$there/command"
rm -f "$there/strip_tests.exe"
run_both "$there/uninstall.exe" /S || true
check "and it is removed" settled
exit $failed
