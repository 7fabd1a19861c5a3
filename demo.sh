#!/usr/bin/env bash
# Shows every effect on a picture: installs what is missing, builds, and leaves demo/index.html.
#
#     ./demo.sh             a landscape that is drawn for the purpose
#     ./demo.sh PHOTO       a picture of yours (png, bmp, tif, jpg, pnm)
set -eu
case ${1:-} in -h | --help) sed -n '2,/^set /s/^# \{0,1\}//p' "$0"; exit 0 ;; esac
here=$PWD
cd "$(dirname "$0")"
. scripts/packages.sh

photo=${1:-}
case $photo in "" | /*) ;; *) photo=$here/$photo ;; esac
if [ -n "$photo" ] && [ ! -f "$photo" ]; then
    echo "demo.sh: $photo: there is no such file" >&2
    exit 1
fi

install_missing $BUILD_PACKAGES
build_preset release velmorant sample-picture
bin=build/release/bin

# Browsers show PNG, so the picture is brought into that whatever it came as.
rm -rf demo
mkdir demo
if [ -n "$photo" ]; then
    "$bin/sample-picture" "$photo" demo/before.png
else
    "$bin/sample-picture" 640 480 demo/before.png
fi

html() { sed -e 's/&/\&amp;/g' -e 's/</\&lt;/g' -e 's/>/\&gt;/g'; }

# card TITLE TEXT COMMAND PICTURE: one effect on the page.
card()
{
    cat <<CARD
<section>
<h2>$(html <<<"$1")</h2>
<p>$(html <<<"$2")</p>
<div class="pair"><img src="before.png" alt="before" loading="lazy"><img src="$4" alt="$1" loading="lazy"></div>
<code>$(html <<<"$3")</code>
</section>
CARD
}

{
    cat <<'PAGE'
<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>Effects, before and after</title>
<style>
body { font: 16px/1.5 system-ui, sans-serif; margin: 0 auto; max-width: 1320px; padding: 1.5rem; color: #222; background: #f6f5f2 }
section { background: #fff; border: 1px solid #ddd; border-radius: 8px; margin: 1.5rem 0; padding: 1rem 1.25rem }
h2 { margin: 0 }
p { margin: .25rem 0 .75rem }
.pair { display: grid; grid-template-columns: 1fr 1fr; gap: .75rem }
.pair img { width: 100%; border-radius: 4px }
code { display: block; margin-top: .75rem; color: #555; overflow-wrap: anywhere }
@media (max-width: 700px) {
  body { padding: .75rem }
  section { padding: .75rem }
  h1 { font-size: 1.4rem }
}
</style>
</head>
<body>
<h1>Effects, before and after</h1>
<p>Every effect with settings that show it. The picture as it was comes first.</p>
PAGE
    "$bin/velmorant" effects | while read -r effect summary; do
        [ -n "$effect" ] || break
        echo "  $effect" >&2
        # Settings that show it: those of its own example.
        example=$("$bin/velmorant" effects "$effect" | sed -n 's/^  velmorant apply [^ ]* in\.png out\.png //p')
        eval "settings=($example)"
        if "$bin/velmorant" apply "$effect" demo/before.png "demo/$effect.png" "${settings[@]}" --seed 1 --quiet 2>demo/message; then
            card "$effect" "$summary" "velmorant apply $effect in.png out.png $example --seed 1" "$effect.png"
        else
            card "$effect" "$summary" "$(cat demo/message)" before.png
        fi
    done
    echo "</body></html>"
} >demo/index.html
rm -f demo/message
echo "demo/index.html shows $(grep -c '<section>' demo/index.html) effects."
