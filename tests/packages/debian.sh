#!/usr/bin/env bash
# debian.sh PACKAGES FOLDER: tries the Debian packages in the folder PACKAGES in a bare Debian below FOLDER: installed over
# packages of a lower number, each program there does its job (in_debian.sh), and nothing of them stays when they are removed.
# The npm package in the folder web beside them is tried there too, with Debian's own node. Needs root. Ends with 77 where
# there can be no bare Debian.
set -euo pipefail
packages=$(realpath "$1")
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
bare=$("$root/scripts/setup-debian") || exit 77
mkdir -p "$2"
folder=$(realpath "$2")

rm -rf --one-file-system "${folder:?}/root"
cp -a --reflink=auto "$bare" "$folder/root"
mkdir -p "$folder/root/packages/new" "$folder/root/packages/old"
cp "$packages"/*.deb "$folder/root/packages/new/"
cp "$here/in_debian.sh" "$root/examples/library/apply.c" "$root/doors/web/package/example.mjs" "$packages"/../web/*.tgz \
    "$folder/root/packages/"

# The same packages with a lower number and a file that is no longer there in the new ones.
new_version=$(dpkg-deb -f "$packages"/velmorant_*.deb Version) old_version=0.9
for package in "$packages"/*.deb; do
    rm -rf "$folder/unpacked"
    dpkg-deb -R "$package" "$folder/unpacked"
    name=$(dpkg-deb -f "$package" Package)
    sed -i "/^Version:/s/.*/Version: $old_version/; s/(= $new_version)/(= $old_version)/g" "$folder/unpacked/DEBIAN/control"
    echo gone >"$folder/unpacked/usr/share/doc/$name/only-in-the-old-package"
    dpkg-deb --root-owner-group -b "$folder/unpacked" "$folder/root/packages/old/${name}_$old_version.deb" >/dev/null
done
rm -rf "$folder/unpacked"

# What is mounted is gone with the last process.
cp /etc/resolv.conf "$folder/root/etc/resolv.conf"
exec unshare --mount --pid --fork --kill-child bash -c '
    mount -t proc proc "$1/proc" && mount --rbind /dev "$1/dev" &&
        exec env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LANG=C.UTF-8 DEBIAN_FRONTEND=noninteractive "${@:3}" \
            chroot "$1" bash /packages/in_debian.sh "$2"' \
    - "$folder/root" "$new_version" $(env | grep -iE '^(https?|no|ftp)_proxy=' || true)
