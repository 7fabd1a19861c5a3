"""Kdenlive in a window: a project with a clip and one of our effects, described by our XML, is opened, shown and saved. A
picture of the screen is left in the folder that VELMORANT_SCREENS names."""

import os
import pathlib
import re
import signal
import subprocess
import sys
import time

import pytest
from PIL import Image

sys.path.insert(0, os.path.join(os.path.dirname(__file__), ".."))

from common import BUILD, run   # noqa: E402
from gimp_window import Screen   # noqa: E402

SCREENS = os.environ.get("VELMORANT_SCREENS")
FRAMES = 100

# The waves uncover a colour that the clip has not.
FILTER = """<filter><property name="mlt_service">frei0r.velmorant_wave</property>
  <property name="kdenlive_id">frei0r.velmorant_wave</property><property name="0">0=0.183673</property>
  <property name="1">0xff00ffff</property><property name="2">0=0.03</property></filter>"""

CLIP = """<property name="length">{frames}</property><property name="eof">pause</property>
  <property name="resource">{clip}</property><property name="mlt_service">avformat-novalidate</property>
  <property name="kdenlive:id">2</property>"""

PROJECT = """<?xml version='1.0' encoding='utf-8'?>
<mlt LC_NUMERIC="C" version="7.12.0" root="" producer="main_bin">
 <profile description="640x360" width="640" height="360" progressive="1" sample_aspect_num="1" sample_aspect_den="1"
  display_aspect_num="16" display_aspect_den="9" frame_rate_num="25" frame_rate_den="1" colorspace="601"/>
 <producer id="clip" in="0" out="{last}">{properties}<property name="kdenlive:folderid">-1</property></producer>
 <playlist id="main_bin"><property name="kdenlive:docproperties.version">1.04</property>
  <property name="kdenlive:docproperties.documentid">1700000000000</property>
  <property name="kdenlive:docproperties.activeTrack">1</property><property name="xml_retain">1</property>
  <entry producer="clip" in="0" out="{last}"/></playlist>
 <producer id="black_track" in="0" out="{last}"><property name="length">2147483647</property>
  <property name="eof">continue</property><property name="resource">black</property>
  <property name="mlt_service">color</property><property name="set.test_audio">0</property></producer>
 <playlist id="sound"><property name="kdenlive:audio_track">1</property></playlist>
 <playlist id="sound2"><property name="kdenlive:audio_track">1</property></playlist>
 <tractor id="sounds" in="0" out="{last}"><property name="kdenlive:audio_track">1</property>
  <track hide="video" producer="sound"/><track hide="video" producer="sound2"/></tractor>
 <producer id="shown" in="0" out="{last}">{properties}<property name="set.test_audio">1</property></producer>
 <playlist id="film"><entry producer="shown" in="0" out="{last}"><property name="kdenlive:id">2</property>
  {filter}</entry></playlist>
 <playlist id="film2"/>
 <tractor id="films" in="0" out="{last}"><track hide="audio" producer="film"/><track hide="audio" producer="film2"/></tractor>
 <tractor id="timeline" global_feed="1" in="0" out="{last}">
  <track producer="black_track"/><track producer="sounds"/><track producer="films"/></tractor>
</mlt>
"""


@pytest.fixture
def kdenlive(tmp_path):
    """Kdenlive with a home of its own, where our descriptions are, and a project that has the effect on its clip."""
    descriptions = tmp_path / "home/.local/share/kdenlive/effects"
    descriptions.mkdir(parents=True)
    for file in (BUILD / "frei0r/kdenlive").glob("*.xml"):
        (descriptions / file.name).write_bytes(file.read_bytes())
    run(BUILD / "bin/sample-picture", 640, 360, tmp_path / "frame.png")
    subprocess.run(["ffmpeg", "-v", "error", "-loop", "1", "-i", tmp_path / "frame.png", "-r", "25", "-frames:v", str(FRAMES),
                    "-pix_fmt", "yuv420p", tmp_path / "clip.mp4"], check=True)
    properties = CLIP.format(frames=FRAMES, clip=tmp_path / "clip.mp4")
    (tmp_path / "film.kdenlive").write_text(PROJECT.format(properties=properties, last=FRAMES - 1, filter=FILTER))
    screen = Screen()
    for name in ("tmp", "run"):   # in the first it notes that it has begun, and asks when that is still there
        (tmp_path / name).mkdir(mode=0o700)
    environment = {name: value for name, value in screen.environment.items() if not name.startswith("XDG_")}
    environment.update(HOME=str(tmp_path / "home"), TMPDIR=str(tmp_path / "tmp"), XDG_RUNTIME_DIR=str(tmp_path / "run"),
                       FREI0R_PATH=f"{BUILD / 'frei0r'}:/usr/lib/frei0r-1", LIBGL_ALWAYS_SOFTWARE="1")
    with open(tmp_path / "log", "wb") as log:
        program = subprocess.Popen(["dbus-run-session", "--", "kdenlive", tmp_path / "film.kdenlive"], env=environment,
                                   stdout=log, stderr=log, start_new_session=True)
    yield screen, program, tmp_path
    os.killpg(program.pid, signal.SIGKILL)
    program.wait()
    screen.close()


def uncovered(screen, file):
    """How many pixels of the screen have the waves' background, roughly: a film has been through other colours."""
    screen.picture(file)
    with Image.open(file) as image:
        red, green, blue = image.convert("RGB").split()
    high = [channel.point(lambda level: 255 if level > 200 else 0).tobytes() for channel in (red, blue)]
    low = green.point(lambda level: 255 if level < 60 else 0).tobytes()
    return sum(first and second and third for first, second, third in zip(*high, low))


def becomes(truth, program, seconds=300):
    """Whether it comes true within a time in which the slowest machine has drawn everything."""
    for _ in range(seconds):
        if truth():
            return True
        assert program.poll() is None, "Kdenlive has ended"
        time.sleep(1)
    return False


def test_a_clip_with_an_effect_is_opened_shown_and_saved(kdenlive):
    """A number that is typed is, with what stands behind it, the one that the plug-in makes of what is saved."""
    screen, program, folder = kdenlive
    screen.window("^film", 300)
    shown = folder / "screen.png"
    assert becomes(lambda: uncovered(screen, shown) > 500, program), (folder / "log").read_text()[-2000:]
    window = screen.window("^film")
    screen.tool("windowsize", window, 1270, 860)
    screen.tool("windowmove", window, 2, 22)
    time.sleep(5)
    for x, y in ((1034, 835), (200, 615)):   # the panel of effects, and the clip
        screen.tool("mousemove", x, y, "click", 1)
        time.sleep(4)
    if SCREENS:
        screen.picture(pathlib.Path(SCREENS) / "kdenlive.png")
    screen.tool("mousemove", 1190, 632, "click", "--repeat", 2, "--delay", 80, 1)   # the amplitude
    time.sleep(1)
    screen.keys("ctrl+a")
    screen.type("30")
    screen.keys("Return")
    time.sleep(2)
    if SCREENS:
        screen.picture(pathlib.Path(SCREENS) / "kdenlive-typed.png")
    before = (folder / "film.kdenlive").stat().st_mtime_ns
    screen.keys("ctrl+s")
    assert becomes(lambda: (folder / "film.kdenlive").stat().st_mtime_ns != before, program, 60)
    time.sleep(2)
    saved = (folder / "film.kdenlive").read_text()
    assert '<property name="kdenlive_id">frei0r.velmorant_wave</property>' in saved
    assert 'name="1">0xff00ffff<' in saved
    level = float(re.search(r'name="0">[^<]*=([0-9.]+)<', saved).group(1))
    assert 1 + round(level * 49) == 30 + 1, level
