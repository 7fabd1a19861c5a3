#!/usr/bin/env bash
# installed.sh BUILD_FOLDER FOLDER: installs what was built into a staging folder below FOLDER, and uses that as people do:
# the program from there, from a folder that it was moved to and through links, and two programs in C that find the library
# by pkg-config and by find_package. Every picture has the bytes of the build folder's own program.
set -euo pipefail
build=$(realpath "$1")
root=$(cd "$(dirname "$0")/../.." && pwd)
mkdir -p "$2"
folder=$(realpath "$2")
rm -rf "${folder:?}"/*
cd "$folder"

failed=0
check() { # check WHAT COMMAND...
    if "${@:2}" >"$folder/said" 2>&1; then echo "ok: $1"
    else echo "FAILED: $1"; sed 's/^/    /' "$folder/said"; failed=1
    fi
}

DESTDIR=$folder/stage cmake --install "$build" --prefix /usr/local >install.log
stage=$folder/stage/usr/local

printf 'P6 8 8 255\n' >in.ppm
head -c 192 "$build/bin/VLMEFF.so" >>in.ppm
step=(wave --amplitude 3 --wavelength 5)
"$build/bin/velmorant" apply "${step[0]}" in.ppm expected.png "${step[@]:1}" --quiet

# same PROGRAM...: it makes the picture that is expected.
same() { rm -f out.png && "$@" && cmp expected.png out.png; }
works() { same "$1" apply "${step[0]}" in.ppm out.png "${step[@]:1}" --quiet; }

check "the program runs from a staging folder" works "$stage/bin/velmorant"
moved="$folder/else where/Prögramme"
mkdir -p "$moved"
cp -a "$stage" "$moved/"
mv "$folder/stage" "$folder/away"   # so that nothing is found there
check "it runs from another folder, beyond ASCII" works "$moved/local/bin/velmorant"
mkdir bin
ln -s "$moved/local/bin/velmorant" bin/velmorant
check "it runs through a link" works bin/velmorant
ln -s ../bin/velmorant bin/again
check "it runs through a link to a link" works bin/again
ln -s "$moved/local" linked
check "it runs below a linked folder" works linked/bin/velmorant
on_path() (PATH=$folder/bin:$PATH && works velmorant)
check "it runs by its name" on_path

with_pkg_config()
{
    export PKG_CONFIG_PATH=$folder/linked/lib/pkgconfig
    cc -std=c99 -Wall -Wextra -Werror "$root/examples/library/apply.c" -o by-pkg-config \
        $(pkg-config --cflags --libs velmorant) -Wl,-rpath,"$(pkg-config --variable=libdir velmorant)"
    same ./by-pkg-config in.ppm out.png "${step[*]}"
}
check "a program finds the library by pkg-config" with_pkg_config

version=$("$build/bin/velmorant" --version | sed -n '1s/^velmorant //p')
mkdir foreign
cp "$root/examples/library/apply.c" foreign/
cat >foreign/CMakeLists.txt <<'CMAKE'
cmake_minimum_required(VERSION 3.25)
project(foreign C)
find_package(velmorant ${WANTED} REQUIRED)
add_executable(foreign apply.c)
target_link_libraries(foreign PRIVATE velmorant::velmorant)
CMAKE
configure() { cmake -S foreign -B foreign/build -DCMAKE_PREFIX_PATH="$moved/local" -DWANTED="$1"; }
with_find_package()
{
    configure "$version" && cmake --build foreign/build && same foreign/build/foreign in.ppm out.png "${step[*]}"
}
check "a program finds the library by find_package" with_find_package
other_versions() { ! configure 0.9 && ! configure 2 && ! configure "${version%.*}.999"; }
check "find_package refuses versions that do not fit" other_versions
check "pkg-config tells the program's version" test "$(PKG_CONFIG_PATH=linked/lib/pkgconfig pkg-config --modversion velmorant)" = "$version"

# The folder that it was built in is no business of who installs it.
names_no_folder() { ! grep -rlF "$root" "$folder/away"; }
check "nothing that is installed names the folder that it was built in" names_no_folder
for file in bin/velmorant include/velmorant.h lib/libvelmorant.so lib/velmorant/VLMEFF.so lib/velmorant/VLMWATCH.so share/applications/velmorant.desktop \
    share/icons/hicolor/48x48/apps/velmorant.png share/doc/velmorant/LICENSE share/doc/velmorant/docs/command-line.md; do
    check "$file is there" test -f "$folder/linked/$file"
done

# What a page leads to beside itself, or above.
pages_lead_somewhere()
{
    local page target missing=0
    while read -r page; do
        for target in $(grep -oE '\]\([^)#:[:space:]]+(#[^)]*)?\)' "$page" | sed -E 's/^..([^)#]*).*/\1/'); do
            [ -e "$(dirname "$page")/$target" ] || { echo "${page##*/} leads to $target"; missing=1; }
        done
    done < <(find "$folder/linked/share/doc/velmorant" -name '*.md')
    [ $missing = 0 ]
}
check "all that the pages lead to is installed" pages_lead_somewhere
lines_of_findings()
{
    # Findings name files of the pages' folder, and lines of them.
    local place
    "$moved/local/bin/velmorant" check "$moved/local/lib/libvelmorant.so" >found.txt && return 1
    place=$(grep -oE '^ +[a-z_/.-]+:[0-9]+$' found.txt | head -1) && place=${place// /}
    echo "$place" && sed -n "${place##*:}p" "$folder/linked/share/doc/velmorant/${place%:*}" | grep -q .
}
check "the lines that findings name are installed" lines_of_findings

# What the writer of a host begins with, from what is installed and with nothing else.
build_host()
{
    local pages=$folder/linked/share/doc/velmorant compile="c++ -std=c++20 -I$folder/linked/share/doc/velmorant -Lhost -pthread"
    local minimal=$pages/examples/minimal_host
    mkdir host
    $compile -fPIC -shared "$minimal"/vlmapi.cpp "$minimal"/vlmapi_memory.cpp -o host/libVLMAPI.so &&
        $compile -fPIC -shared "$minimal"/vlmmisc.cpp -o host/libVLMMISC.so -lVLMAPI &&
        $compile "$minimal"/check_driver.cpp "$pages"/host/check/watching/driver_main.cpp -o host/check_driver \
            -lVLMMISC -lVLMAPI -ldl -Wl,-rpath,'$ORIGIN'
}
check "the minimal host is built from what is installed" build_host
check "and checked: nothing is found" bin/velmorant check --host host

manual="$folder/linked/share/man/man1"
pages() { for word in $(bin/velmorant --help | sed -n '/^Commands:/,/^$/s/^  \([a-z]*\) .*/\1/p'); do grep -q "^\.SH SYNOPSIS" "$manual/velmorant-$word.1" || { echo "$word"; return 1; }; done; }
check "every command has its manual page" pages
choices() { grep -q 'oil' "$manual/velmorant-apply.1" && grep -q 'area' "$manual/velmorant-apply.1"; }
check "which tells effects and options" choices
recipes() { grep -q '^  velmorant recipe 1' "$manual/velmorant-recipe.1"; }
check "that of recipes tells how one is written" recipes
completes() # completes WANTED WORD...
{
    PATH=$folder/bin:$PATH bash -c '. linked/share/bash-completion/completions/velmorant
        wanted=$1; shift; COMP_WORDS=(velmorant "$@"); COMP_CWORD=$#; _velmorant; echo "${COMPREPLY[@]}"; [ "${COMPREPLY[*]}" = "$wanted" ]' - "$@"
}
check "a command is completed" completes apply app
check "an effect is completed" completes oil-painting apply oil
check "an option is completed" completes --amplitude apply wave in.png --ampl
check "a choice is completed" completes columns apply wave --orientation col
check "an effect behind --then is completed" completes swirl apply wave in.png out.png --then swi
exit $failed
