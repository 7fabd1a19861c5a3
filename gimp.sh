#!/usr/bin/env bash
# Shows the effects in GIMP: installs what is missing, builds the plug-in, and opens GIMP on a picture; the effects are in
# Filters > Velmorant. GIMP's settings are in a folder of their own then, so that yours stay as they are.
#
#     ./gimp.sh               GIMP on a picture that is drawn for the purpose
#     ./gimp.sh PICTURE       on one of yours
#     ./gimp.sh --batch       without a window: leaves demo/gimp.png, made by GIMP with two effects
#     ./gimp.sh --install     puts a link to the plug-in into your own GIMP's plug-ins folder
set -eu
case ${1:-} in -h | --help) sed -n '2,/^set /s/^# \{0,1\}//p' "$0"; exit 0 ;; esac
here=$PWD
cd "$(dirname "$0")"
. scripts/packages.sh

picture=""
case ${1:-} in
--batch | --install | "") ;;
-*) echo "gimp.sh: $1: there is no such option (./gimp.sh --help tells more)" >&2; exit 2 ;;
/*) picture=$1 ;;
*) picture=$here/$1 ;;
esac
if [ -n "$picture" ] && [ ! -f "$picture" ]; then
    echo "gimp.sh: $picture: there is no such file" >&2
    exit 1
fi
if [ $# -eq 0 ] || [ -n "$picture" ]; then
    [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ] || { echo "gimp.sh: there is no screen to open GIMP on; --batch needs none" >&2; exit 1; }
fi

install_missing $BUILD_PACKAGES $DOORS_PACKAGES
build_preset doors
plugin=$PWD/build/doors/gimp/velmorant-gimp
if [ "${1:-}" = --install ]; then
    folder=${GIMP2_DIRECTORY:-${XDG_CONFIG_HOME:-$HOME/.config}/GIMP/2.10}/plug-ins
    mkdir -p "$folder"
    ln -sfn "$plugin" "$folder/velmorant-gimp"
    echo "$folder/velmorant-gimp is the plug-in; GIMP has it when it is started the next time."
    exit 0
fi

export GIMP2_DIRECTORY=$PWD/build/doors/gimp-settings
mkdir -p "$GIMP2_DIRECTORY/plug-ins" demo
ln -sfn "$plugin" "$GIMP2_DIRECTORY/plug-ins/velmorant-gimp"
if [ -z "$picture" ]; then
    picture=$PWD/demo/gimp-picture.png
    build/doors/bin/sample-picture 1200 800 "$picture"
fi
if [ "${1:-}" != --batch ]; then exec gimp --new-instance "$picture"; fi

result=$PWD/demo/gimp.png
rm -f "$result"
gimp --no-interface --no-data --no-fonts --batch "
    (let* ((image (car (gimp-file-load RUN-NONINTERACTIVE \"$picture\" \"$picture\")))
           (layer (car (gimp-image-get-active-drawable image))))
      (gimp-image-select-ellipse image CHANNEL-OP-REPLACE 300 150 600 500)
      (gimp-selection-feather image 60)
      (plug-in-velmorant-swirl RUN-NONINTERACTIVE image layer 200)
      (gimp-selection-invert image)
      (plug-in-velmorant-oil-painting RUN-NONINTERACTIVE image layer 4)
      (file-png-save RUN-NONINTERACTIVE image layer \"$result\" \"$result\" 0 9 0 0 0 0 0))" \
    --batch "(gimp-quit 1)" >demo/gimp.log 2>&1 </dev/null || true
[ -f "$result" ] || { cat demo/gimp.log >&2; echo "gimp.sh: GIMP left no picture" >&2; exit 1; }
echo "demo/gimp.png was made by GIMP: swirled within a feathered ellipse, painted in oil around it."
