"""A layer of 100 megapixels inside GIMP: its pixels are those of `velmorant apply`, and how long the procedure took and how
much memory GIMP and the plug-in had at most is told (pytest -s)."""

import os
import pathlib
import sys
import threading
import time

import pytest
from PIL import Image, ImageChops

sys.path.insert(0, os.path.join(os.path.dirname(__file__), ".."))

import gimp_session   # noqa: E402
from common import VELMORANT, picture, run   # noqa: E402
from gimp_session import quoted   # noqa: E402
from gimp_test import EFFECTS, NAMES, called   # noqa: E402

Image.MAX_IMAGE_PIXELS = None
SIDE = 10000


class Memory(threading.Thread):
    """The most that each of the programs has had, in megabytes, looked at ten times a second."""

    def __init__(self, *names):
        super().__init__(daemon=True)
        self.most, self.over = {name: 0 for name in names}, threading.Event()

    def run(self):
        while not self.over.wait(0.1):
            for file in pathlib.Path("/proc").glob("[0-9]*/status"):
                try:
                    lines = dict(line.split(":", 1) for line in file.read_text().splitlines())
                except OSError:   # it has ended meanwhile
                    continue
                name = lines["Name"].strip()
                if name in self.most and "VmHWM" in lines:
                    self.most[name] = max(self.most[name], int(lines["VmHWM"].split()[0]) // 1024)


@pytest.fixture(scope="module")
def large(tmp_path_factory):
    folder = tmp_path_factory.mktemp("large")
    picture(200, 200).resize((SIDE, SIDE), Image.BICUBIC).save(folder / "large.png", compress_level=1)
    return folder


@pytest.mark.parametrize("name, mode", [("wave", "RGB"), ("median", "L"), ("swirl", "P")])
def test_a_layer_of_100_megapixels(name, mode, large, tmp_path):
    effect, before, after = EFFECTS[NAMES.index(name)], tmp_path / "before.png", tmp_path / "after.png"
    with Image.open(large / "large.png") as image:
        changed = {"RGB": lambda: image, "L": lambda: image.convert("L"), "P": lambda: image.quantize(16)}[mode]()
        changed.save(before, compress_level=1)
    gimp_session.profile(tmp_path / "profile", tile_cache_size="4g", undo_levels=1)
    memory = Memory("gimp", "gimp-2.10", "velmorant-gimp")
    memory.start()
    said = gimp_session.batch(tmp_path, f"""
(let* ((image (car (file-png-load RUN-NONINTERACTIVE {quoted(before)} {quoted(before)}))) (begun (gettimeofday)))
  {called(effect, {})}
  (let* ((ended (gettimeofday)) (layer (car (gimp-image-get-active-drawable image)))
         (told (open-output-file {quoted(tmp_path / "took")})))
    (write (+ (- (car ended) (car begun)) (/ (- (cadr ended) (cadr begun)) 1e6)) told)
    (close-output-port told)
    (file-png-save RUN-NONINTERACTIVE image layer {quoted(after)} "" 0 1 0 0 0 0 0)))
""", timeout=1800)
    memory.over.set()
    assert after.exists(), said
    took = (tmp_path / "took").read_text()
    print(f"\n{name} on {mode}, {SIDE} x {SIDE}: {took[:5]} seconds; megabytes at most: {memory.most}; "
          f"load {os.getloadavg()[0]:.0f} on {os.cpu_count()} processors")
    assert memory.most["velmorant-gimp"]
    start = time.monotonic()
    outcome = run(VELMORANT, "apply", name, before, tmp_path / "wanted.png", "--quiet", timeout=1800)
    assert outcome.returncode == 0, outcome.stderr.decode()
    print(f"velmorant apply, with reading and writing the file: {time.monotonic() - start:.1f} seconds")
    with Image.open(after) as made, Image.open(tmp_path / "wanted.png") as wanted:
        assert made.mode == wanted.mode == mode and made.size == wanted.size == (SIDE, SIDE)
        if mode == "P":
            assert made.getpalette()[:48] == wanted.getpalette()[:48]
        assert ImageChops.difference(made, wanted).getbbox() is None
