#!/usr/bin/env bash
# Makes the packages that people install, in dist/, with their SHA-256 sums: installs what is missing, builds from the files of
# this folder that git knows, and says what it made. The same commit gives the same bytes.
#
#     ./package.sh            all of them
#     ./package.sh debian     packages for Debian 12
#     ./package.sh windows    an installer and a zip for Windows: the editor with its module (32 bits), and the command line with
#                             its own (64 bits) in the folder command/; debug files apart
#     ./package.sh web        the page as a folder that any static server serves, and the package for npm
set -eu
case ${1:-} in -h | --help) sed -n '2,/^set /s/^# \{0,1\}//p' "$0"; exit 0 ;; esac
cd "$(dirname "$0")"
. scripts/packages.sh

for kind in "$@"; do
    case $kind in debian | windows | web) ;; *) echo "package.sh: there is no kind '$kind' (debian, windows, web)" >&2; exit 2 ;; esac
done
wanted() { [ -z "$kinds" ] || [[ " $kinds " == *" $1 "* ]]; }
kinds=$*

version=$(sed -nE 's/^project\(.* VERSION ([0-9.]+).*/\1/p' CMakeLists.txt)
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
VELMORANT_COMMIT=$(git rev-parse --short=12 HEAD)
git diff --quiet HEAD || VELMORANT_COMMIT+=-changed
export SOURCE_DATE_EPOCH VELMORANT_COMMIT TZ=UTC LC_ALL=C.UTF-8
umask 022
mkdir -p dist build/packages

quietly() { # quietly COMMAND...: what it says is shown only when it fails
    local log=build/packages/log
    "$@" >"$log" 2>&1 || { tail -60 "$log" >&2; echo "package.sh: failed: $*" >&2; exit 1; }
}

#---- Debian

make_debian()
{
    install_missing $BUILD_PACKAGES $DEBIAN_PACKAGES
    local work=$PWD/build/packages/debian
    local source=$work/velmorant-$version who needs
    who=$(git log -1 --format='%cn <%ce>')
    rm -rf "$work"
    mkdir -p "$source"
    git ls-files -z | xargs -0 cp --parents -t "$source"
    cp -r packaging/debian "$source/debian"
    # What every Debian that builds has, and what only looks at the packages, is not named.
    needs=$(printf '%s\n' $BUILD_PACKAGES $DEBIAN_PACKAGES | grep -vxE 'g[+][+]|debhelper|lintian|desktop-file-utils' | sort -u)
    sed -i "s/@MAINTAINER@/$who/; s/@BUILD_DEPENDS@/$(paste -sd, <<<"$needs" | sed 's/,/, /g')/" "$source/debian/control"
    cat >"$source/debian/changelog" <<CHANGELOG
velmorant ($version) bookworm; urgency=medium

  * What has changed stands in CHANGELOG.md, which velmorant-doc has.

 -- $who  $(date -R -d "@$SOURCE_DATE_EPOCH")
CHANGELOG

    echo "Building Debian packages ..."
    (cd "$source" && quietly_here dpkg-buildpackage -b -us -uc)
    rm -rf dist/debian
    mkdir -p dist/debian/debug
    cp "$work"/*.deb dist/debian/
    mv dist/debian/*-dbgsym_* dist/debian/debug/

    echo "Looking at them with lintian ..."
    quietly desktop-file-validate packaging/velmorant.desktop
    (cd "$work" && lintian --allow-root --fail-on error,warning --tag-display-limit 0 velmorant_*.changes)
}

quietly_here() { "$@" >../log 2>&1 || { tail -60 ../log >&2; echo "package.sh: failed: $*" >&2; exit 1; }; }

if wanted debian; then make_debian; fi

#---- Windows

# strip_apart PREFIX FOLDER DEBUG: programs and DLLs without what a debugger reads, which goes to files in DEBUG that they name.
strip_apart()
{
    local file name
    mkdir -p "$3"
    for file in "$2"/*.exe "$2"/*.dll; do
        name=$(basename "$file")
        "$1-objcopy" --only-keep-debug "$file" "$3/$name.debug"
        "$1-strip" --strip-all "$file"
        "$1-objcopy" --add-gnu-debuglink="$3/$name.debug" "$file"
    done
}

# nsis_files STAGE: the macros that install and remove every file below STAGE.
nsis_files()
{
    local stage=$1 folder file
    echo "!macro InstallFiles"
    (cd "$stage" && find . -type d | sort) | while read -r folder; do
        folder=${folder#.} folder=${folder#/}
        echo "    SetOutPath \"\$INSTDIR${folder:+\\${folder//\//\\}}\""
        (cd "$stage/$folder" && find . -maxdepth 1 -type f -printf '%P\n' | sort) |
            while read -r file; do echo "    File \"$stage/${folder:+$folder/}$file\""; done
    done
    echo "!macroend"
    echo "!macro RemoveFiles"
    (cd "$stage" && find . -type f -printf '%P\n' | sort) | while read -r file; do echo "    Delete \"\$INSTDIR\\${file//\//\\}\""; done
    (cd "$stage" && find . -mindepth 1 -type d -printf '%P\n' | sort -r) |
        while read -r folder; do echo "    RMDir \"\$INSTDIR\\${folder//\//\\}\""; done
    echo "!macroend"
}

make_windows()
{
    install_missing $BUILD_PACKAGES $WINDOWS_PACKAGES $WINDOWS64_PACKAGES $WINDOWS_PACKAGING
    fetch_codecs
    build_preset windows velmorant-editor velmorant VLMEFF VLMWATCH
    build_preset windows64 velmorant VLMEFF VLMWATCH
    local work=$PWD/build/packages/windows
    local stage=$work/stage name=velmorant-$version
    rm -rf "$work" dist/windows
    mkdir -p "$stage" "$work/debug" dist/windows
    quietly cmake --install build/windows --component editor --prefix "$stage"
    quietly cmake --install build/windows64 --component command --prefix "$stage/command"
    strip_apart i686-w64-mingw32 "$stage" "$work/debug"
    strip_apart x86_64-w64-mingw32 "$stage/command" "$work/debug/command"
    packaging/windows/pages.py "$stage/pages"
    sed 's/$/\r/' LICENSE >"$stage/LICENSE.txt"
    scripts/licences windows windows64 | sed 's/$/\r/' >"$stage/licences-of-others.txt"

    # Both archives keep the files' times and modes.
    chmod -R u=rwX,go=rX "$work"
    find "$work" -exec touch -h -d "@$SOURCE_DATE_EPOCH" {} +
    (cd "$work" && ln -s stage "$name" && find -L "$name" -type f | sort | zip -q -X -9 "$OLDPWD/dist/windows/$name-windows.zip" -@)
    (cd "$work/debug" && find . -type f | sort | zip -q -X -9 "$OLDPWD/dist/windows/$name-windows-debug.zip" -@)
    nsis_files "$stage" >"$work/files.nsh"
    quietly makensis -V2 -WX -DVERSION="$version" -DFILES="$work/files.nsh" -DICON="$PWD/packaging/icon/velmorant.ico" \
        -DCOPYRIGHT="$(grep -m1 ^Copyright LICENSE)" -DKILOBYTES="$(du -sk --apparent-size "$stage" | cut -f1)" \
        -DOUT="$PWD/dist/windows/$name-setup.exe" packaging/windows/installer.nsi
}

if wanted windows; then make_windows; fi

#---- The web

make_web()
{
    install_missing $BUILD_PACKAGES && install_node
    local folder=$PWD/build/packages/npm
    rm -rf dist/web "$folder"
    mkdir -p dist/web
    ./web.sh --build dist/web/page
    ./web.sh --package "$folder"
    (cd "$folder" && npm pack --silent --pack-destination "$OLDPWD/dist/web")
}

if wanted web; then make_web; fi

#---- What there is

(cd dist && find . -type f ! -name SHA256SUMS -printf '%P\n' | sort | xargs -d '\n' sha256sum >SHA256SUMS)
echo "In dist/:"
(cd dist && find . -type f -printf '%9s  %P\n' | sort -k2)
