#!/usr/bin/env bash
# in_debian.sh VERSION: what debian.sh runs inside the bare system; /packages has the packages of that version in new/ and
# older ones in old/. Every effect's picture is made by each program in turn, and all must be the same.
set -euo pipefail
version=$1
cd /tmp

failed=0
check() { # check WHAT COMMAND...
    if "${@:2}" >said 2>&1; then echo "ok: $1"
    else echo "FAILED: $1"; tail -20 said | sed 's/^/    /'; failed=1
    fi
}
must() { local before=$failed; failed=0; check "$@"; [ $failed = 0 ] || exit 1; failed=$before; }
get() { apt-get -o DPkg::Lock::Timeout=60 install -y --no-install-recommends "$@"; }
all=$(cd /packages/new && ls | sed 's/_.*//' | sort)

# A program in its own right depends on all that it needs: the command line is tried before anything else is there.
must "the package lists come" apt-get update
must "velmorant is installed alone" get /packages/new/velmorant_*.deb /packages/new/libvelmorant1_*.deb
printf 'P6\n32 32\n255\n' >in.ppm
head -c 3072 /usr/lib/*/libvelmorant.so.1 | tr '\0' '\200' >>in.ppm
check "it works with nothing else installed" velmorant apply wave in.ppm alone.png --quiet
must "it goes" apt-get purge -y velmorant libvelmorant1

# What other people's programs bring is there before the files are listed, so that the two lists differ by ours alone.
must "the programs that doors are for are installed" get \
    ffmpeg gegl gimp gcc libc6-dev cmake make nodejs pkg-config python3 libjpeg62-turbo libpng16-16 libtiff6
everything()
{
    find / -xdev \( -path /tmp -o -path /packages -o -path /var/cache -o -path /var/lib/apt -o -path /var/lib/dpkg \
        -o -path /var/log -o -path /root \) -prune -o \( -type f -o -type l -o -type d \) -print | sort
}
everything >before
mkdir -p /root/.config/velmorant/presets
echo mine >/root/.config/velmorant/presets/mine

must "packages of a lower number are installed" get /packages/old/*.deb
must "those of this number are installed over them" get /packages/new/*.deb
check "nothing of the old ones stays" test -z "$(find /usr -name only-in-the-old-package)"
of_this_number() { for package in $all; do [ "$(dpkg-query -W -f '${Version}' "$package")" = "$version" ] || { echo "$package"; return 1; }; done; }
check "all are of this number" of_this_number
check "the packages' files are as they were packed" dpkg --verify $all

# Each program does its job.
check "velmorant tells its version" test "$(velmorant --version | head -1)" = "velmorant $version"
must "velmorant makes a picture" velmorant apply wave in.ppm expected.ppm --quiet
velmorant apply wave in.ppm again.png --quiet
check "and the same one as before" cmp alone.png again.png
with_pkg_config() { cc -Wall -Werror /packages/apply.c -o by-pkg-config $(pkg-config --cflags --libs velmorant) && ./by-pkg-config in.ppm c.ppm wave && cmp expected.ppm c.ppm; }
check "a program in C finds the library by pkg-config" with_pkg_config
with_cmake()
{
    rm -rf foreign && mkdir foreign && cp /packages/apply.c foreign/
    printf '%s\n' 'cmake_minimum_required(VERSION 3.25)' 'project(foreign C)' "find_package(velmorant $version REQUIRED)" \
        'add_executable(foreign apply.c)' 'target_link_libraries(foreign PRIVATE velmorant::velmorant)' >foreign/CMakeLists.txt
    cmake -S foreign -B foreign/build && cmake --build foreign/build && foreign/build/foreign in.ppm cmake.ppm wave && cmp expected.ppm cmake.ppm
}
check "another by find_package" with_cmake
cat >with.py <<'PYTHON'
import velmorant
picture = velmorant.apply(velmorant.Picture.open("in.ppm"), "wave")
picture.save("python.ppm")
PYTHON
with_python() { python3 with.py && cmp expected.ppm python.ppm; }
check "Python has the package" with_python
same() { python3 -c "import sys, velmorant; open_ = velmorant.Picture.open; sys.exit(velmorant.compare(open_('expected.ppm'), open_('$1')).changed != 0)"; }
with_gegl() { gegl in.ppm -o gegl.png -- velmorant:wave && same gegl.png; }
check "GEGL has the operations" with_gegl
with_ffmpeg() { ffmpeg -v error -y -i in.ppm -vf format=rgba,frei0r=velmorant_wave,format=rgb24 ffmpeg.png && same ffmpeg.png; }
check "ffmpeg has the plug-ins" with_ffmpeg
# The procedure takes every setting, here its default, in the list's own order; a choice is counted from 0.
cat >script.py <<'PYTHON'
import velmorant
words = []
for setting in velmorant.effect("wave").settings:
    if setting.name in ("scope", "priority"):
        continue
    choices = [choice.word for choice in setting.choices or ()]
    default = str(choices.index(setting.default) if choices else setting.default)
    if default.startswith("#"):
        default = "'(" + " ".join(str(int(default[place:place + 2], 16)) for place in (1, 3, 5)) + ")"
    words.append(default)
print('(let* ((image (car (gimp-file-load RUN-NONINTERACTIVE "in.ppm" "in.ppm")))'
      ' (layer (car (gimp-image-get-active-layer image))))'
      f' (plug-in-velmorant-wave RUN-NONINTERACTIVE image layer {" ".join(words)})'
      ' (file-ppm-save RUN-NONINTERACTIVE image layer "gimp.ppm" "gimp.ppm" TRUE))')
PYTHON
with_gimp()
{
    python3 script.py >with.scm && cat with.scm &&
        timeout 300 gimp --no-interface --no-data --no-fonts --no-splash --batch '(load "with.scm")' --batch '(gimp-quit 1)' </dev/null && same gimp.ppm
}
check "GIMP has the plug-in" with_gimp
# Without npm, which does no more than unpack it there.
with_node()
{
    local place=node/node_modules/@velmorant/effects
    mkdir -p $place && tar -xzf /packages/velmorant-effects-*.tgz --strip-components=1 -C $place && cp /packages/example.mjs node/ &&
        (cd node && node --version && node example.mjs ../in.ppm out.ppm) &&
        velmorant apply noise in.ppm like-node.ppm --amount 40 --variation 25 --seed 1 --then filters --kernel 'Gaussian 3 by 3' \
            --then solarize --threshold 200 --quiet && cmp like-node.ppm node/out.ppm
}
check "the npm package's example runs in Debian's own node" with_node
check "the manual page is there" test -s /usr/share/man/man1/velmorant-apply.1.gz
check "the pages are there" test -s /usr/share/doc/velmorant-doc/docs/effects/wave.png
of_effects=$(echo /usr/lib/*/velmorant/VLMEFF.so)
check "velmorant finds nothing in the module that is installed" velmorant check "$of_effects" --level 2
names_lines()
{
    local place status=0
    velmorant check /usr/lib/*/libvelmorant.so.1 --json - >found.json || status=$?
    [ $status = 1 ] || return 1
    place=$(python3 -c 'import json; print(json.load(open("found.json"))["findings"][0]["contract"])')
    sed -n "${place##*:}p" "/usr/share/doc/velmorant-doc/${place%:*}" | grep .
}
check "and where it finds something, the line that it names is installed too" names_lines

# Python writes compiled files beside the sources, Debian's tools remove them.
must "all are removed" apt-get purge -y $all
everything >after
trace() { diff before after; }
check "nothing of them stays" trace
check "but what the person has made" grep -qx mine /root/.config/velmorant/presets/mine
exit $failed
