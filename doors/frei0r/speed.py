"""How many frames a second the plug-ins make in ffmpeg, at 1920 x 1080, beside no filter, a plug-in that copies, and the
nearest filters of ffmpeg and frei0r. Prints the table of docs/video.md: of each row the quickest of three runs, since
what else a machine does only ever takes away. Its first and last lines say how much that was.

    ./test.sh --doors && /usr/bin/python3 doors/frei0r/speed.py [SECONDS]    for each row, 3 without a number
"""

import os
import pathlib
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = ROOT / "build" / "doors"
SECONDS = float(sys.argv[1]) if len(sys.argv) > 1 else 3.0

COPY = """
#include <frei0r.h>
#include <string.h>
static unsigned bytes;
int f0r_init(void) { return 1; }
void f0r_deinit(void) {}
void f0r_get_plugin_info(f0r_plugin_info_t *i) { memset(i, 0, sizeof *i); i->name = i->author = i->explanation = "copy";
    i->plugin_type = F0R_PLUGIN_TYPE_FILTER; i->color_model = F0R_COLOR_MODEL_RGBA8888; i->frei0r_version = FREI0R_MAJOR_VERSION; }
void f0r_get_param_info(f0r_param_info_t *i, int n) { (void)i; (void)n; }
f0r_instance_t f0r_construct(unsigned w, unsigned h) { bytes = w * h * 4; return &bytes; }
void f0r_destruct(f0r_instance_t i) { (void)i; }
void f0r_set_param_value(f0r_instance_t i, f0r_param_t p, int n) { (void)i; (void)p; (void)n; }
void f0r_get_param_value(f0r_instance_t i, f0r_param_t p, int n) { (void)i; (void)p; (void)n; }
void f0r_update(f0r_instance_t i, double t, const uint32_t *in, uint32_t *out) { (void)i; (void)t; memcpy(out, in, bytes); }
"""

OTHERS = [("no filter", "null"), ("frei0r, a copy", "frei0r=copy"), ("frei0r, pixeliz0r", "frei0r=pixeliz0r"),
          ("frei0r, distort0r", "frei0r=distort0r"), ("ffmpeg, noise", "noise=alls=15"),
          ("ffmpeg, median of radius 1", "median=radius=1"), ("ffmpeg, pixelize", "pixelize"),
          ("ffmpeg, lenscorrection", "lenscorrection=k1=0.2"), ("ffmpeg, convolution", "convolution=0 -1 0 -1 5 -1 0 -1 0")]


def spent(picture, filters, frames, folders):
    """Seconds by the clock, and seconds of processors' time."""
    start, before = time.monotonic(), os.times()
    subprocess.run(["ffmpeg", "-v", "error", "-f", "lavfi", "-i", f"movie={picture},format=rgba,loop=loop=-1:size=1",
                    "-vf", f"format=rgba,{filters},format=rgba", "-frames:v", str(frames), "-f", "null", "-"], check=True,
                   env={**os.environ, "FREI0R_PATH": folders})
    after = os.times()
    return (time.monotonic() - start,
            after.children_user + after.children_system - before.children_user - before.children_system)


def rates(picture, filters, folders):
    """Starting and the first frame are left out: what more frames take more."""
    first, frames, runs = [spent(picture, filters, 2, folders) for _ in range(3)], 4, []
    first = tuple(map(min, zip(*first)))
    while len(runs) < 3:
        took, worked = (more - less for more, less in zip(spent(picture, filters, 2 + frames, folders), first))
        if took > SECONDS / 2 or frames > 4000:
            runs.append((frames / max(took, 1e-6), frames / max(worked, 1e-2)))
        else:   # a first one that something else held up was of too few frames
            runs.clear()
            frames = int(frames * min(20, max(2, SECONDS / max(took, 0.02))))
    return " | ".join(f"{max(rate):.0f}" for rate in zip(*runs))


def others():
    return f"while {os.getloadavg()[0]:.1f} programs wanted to run on {os.cpu_count()} processors"


def main():
    with tempfile.TemporaryDirectory() as folder:
        picture = pathlib.Path(folder) / "picture.png"
        subprocess.run([BUILD / "bin" / "sample-picture", "1920", "1080", picture], check=True, capture_output=True)
        (pathlib.Path(folder) / "copy.c").write_text(COPY)
        subprocess.run(["cc", "-O2", "-shared", "-fPIC", "copy.c", "-o", "copy.so"], cwd=folder, check=True)
        folders = f"{folder}:{BUILD / 'frei0r'}:/usr/lib/frei0r-1"
        print(f"Begun {others()}.\n")
        print("| filter | frames a second | frames a second of processors' time |\n|---|---|---|")
        for file in sorted((BUILD / "frei0r").glob("*.so")):
            print(f"| {file.stem} | {rates(picture, 'frei0r=' + file.stem, folders)} |", flush=True)
        for name, filters in OTHERS:
            try:
                print(f"| {name} | {rates(picture, filters, folders)} |", flush=True)
            except subprocess.CalledProcessError:
                print(f"| {name} | is not there | |", flush=True)
        print(f"\nEnded {others()}.")


main()
