#!/usr/bin/env bash
# full-disk.sh PROGRAM FOLDER: a picture that is to be written over on a disk without room for the new one stays as it
# was: exit code 1, one line, nothing else left. The disk is a small one of its own in memory where this user may mount
# one; else no file may grow beyond a limit.
set -uo pipefail
run=$(cd "$(dirname "$0")/../../scripts" && pwd)/run-windows
program=$1 disk=$2/disk
umount "$disk" 2>/dev/null
rm -rf "$2"
mkdir -p "$disk"
{ echo "P6 200 150 255"; head -c 90000 "$program"; } >"$2/in.ppm"

mounted=""
if mount -t tmpfs -o size=1m none "$disk" 2>/dev/null; then
    mounted=1
    trap 'umount "$disk"' EXIT
else
    echo "no disk can be mounted here: files are held to a length instead"
fi

fail() { echo "full-disk.sh: $1"; ls -la "$disk"; exit 1; }

# Runs the program with room for so many bytes more.
with_room()
{
    local room=$1
    shift
    if [ -n "$mounted" ]; then
        head -c $(($(df --output=avail -B1 "$disk" | tail -n 1) - room)) /dev/zero >"$disk/filler"
        "$run" "$program" "$@"
    else
        # What is beyond the limit is refused and not signalled. A block has 1024 bytes.
        (trap '' XFSZ; ulimit -f $(((room + 1023) / 1024)); exec "$run" "$program" "$@")
    fi
}

for ending in png bmp tif jpg gif webp ppm; do
    file=$disk/pic.$ending
    "$run" "$program" apply solarize "$2/in.ppm" "$file" --quiet || fail "$file cannot be made"
    cp "$file" "$2/before"
    for room in 4096 $(($(stat -c %s "$file") / 8192 * 4096 + 4096)); do
        with_room "$room" apply wave "$file" "$file" --seed 1 --quiet 2>"$2/errors"
        status=$?
        rm -f "$disk/filler"
        [ $status -eq 1 ] || fail "$ending with $room bytes: exit code $status: $(cat "$2/errors")"
        [ "$(grep -c . "$2/errors")" -eq 1 ] && grep -q '^velmorant: .*cannot be written: ' "$2/errors" ||
            fail "$ending with $room bytes: $(cat "$2/errors")"
        cmp "$file" "$2/before" || fail "$file has changed"
        [ "$(ls -A "$disk")" = "pic.$ending" ] || fail "something is left"
    done
    rm "$file"
done

# A batch: what has found room is whole, what has not is told.
for i in 1 2 3 4; do cp "$2/in.ppm" "$2/in$i.ppm"; done
if [ -n "$mounted" ]; then
    with_room 200000 batch solarize --jobs 1 --quiet --output-folder "$disk" "$2"/in[1-4].ppm 2>"$2/errors"
    status=$?
    rm -f "$disk/filler"
    [ $status -eq 1 ] || fail "the batch has ended with $status"
    # Beside its outputs a batch keeps a record of them.
    [ "$(ls -A "$disk" | tr '\n' ' ')" = ".velmorant-batch in1.ppm in2.ppm " ] || fail "the batch has left something else"
    cmp "$disk/in1.ppm" "$disk/in2.ppm" || fail "a batch's picture is not whole"
    [ "$(grep -c '^velmorant: .*in[34].ppm: ' "$2/errors")" -eq 2 ] || fail "$(cat "$2/errors")"
fi
umount "$disk" 2>/dev/null
trap - EXIT
rm -rf "$2"
