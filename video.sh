#!/usr/bin/env bash
# Shows the effects in a film: installs what is missing, builds the plug-ins, and leaves a ten-second clip that is drawn for
# the purpose with six effects after each other.
#
#     ./video.sh              demo/film.mp4
#     ./video.sh FILM         a film of yours instead, its first ten seconds
set -eu
case ${1:-} in -h | --help) sed -n '2,/^set /s/^# \{0,1\}//p' "$0"; exit 0 ;; esac
here=$PWD
cd "$(dirname "$0")"
. scripts/packages.sh

film=${1:-}
case $film in "" | /*) ;; *) film=$here/$film ;; esac
if [ -n "$film" ] && [ ! -f "$film" ]; then
    echo "video.sh: $film: there is no such file" >&2
    exit 1
fi

install_missing $BUILD_PACKAGES $DOORS_PACKAGES
build_preset doors
mkdir -p demo
if [ -n "$film" ]; then source=(-t 10 -i "$film")
else
    # A picture that is panned over slowly.
    build/doors/bin/sample-picture 1920 1080 demo/film-picture.png
    source=(-loop 1 -framerate 25 -t 10 -i demo/film-picture.png)
fi

# Widths that are a multiple of 16: ffmpeg hands plug-ins rows with gaps otherwise, which no plug-in can see.
pan="scale=w=1280:h=720:force_original_aspect_ratio=increase,crop=w=960:h=528:x='(iw-ow)*t/10':y='(ih-oh)*t/10'"
part() { echo "frei0r=velmorant_$1:enable='between(t,$2,$3)'"; }
effects="$(part "wave:0.2" 0 1.6),$(part "oil_painting:0.06" 1.6 3.3),$(part "swirl:0.8" 3.3 5),$(part "blocks:0.03|0.03" 5 6.6),"
effects+="$(part "noise:0.3|0.2|0|y" 6.6 8.3),$(part "solarize" 8.3 10)"
export FREI0R_PATH=$PWD/build/doors/frei0r
ffmpeg -v error -stats -y "${source[@]}" -vf "$pan,format=rgba,$effects,format=yuv420p" -an demo/film.mp4
echo "demo/film.mp4 shows six effects after each other; build/doors/frei0r has the plug-ins."
