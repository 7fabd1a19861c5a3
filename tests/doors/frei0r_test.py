"""The frei0r plug-ins inside ffmpeg and melt: every plug-in's frames are those of `velmorant apply` on the same frame."""

import ctypes
import os
import re
import signal
import subprocess
import xml.etree.ElementTree

import pytest
from PIL import Image

from common import BUILD, applied, draws, effects, picture, run, settings

PLUGINS = BUILD / "frei0r"
ENVIRONMENT = {"FREI0R_PATH": str(PLUGINS)}
EFFECTS = effects()
NAMES = [effect["name"] for effect in EFFECTS]


def plugin(name):
    return "velmorant_" + name.replace("-", "_")


def level(setting):
    """A value other than the default, as a plug-in takes it and as the command line does."""
    kind, low, high = setting["kind"], setting.get("minimum"), setting.get("maximum")
    if kind == "number":
        value = low + (high - low) * 3 // 10
        if value == setting["default"]:
            value += 1
        return repr((value - low) / (high - low)), str(value)
    if kind == "choice":
        return "1", setting["choices"][-1]["word"]
    if kind == "switch":
        return ("n", "off") if setting["default"] == "on" else ("y", "on")
    if kind == "colour":
        return "1/0.2/0.6", "#FF3399"
    assert kind == "kernel"
    return "Gaussian 3 by 3", "Gaussian 3 by 3"


def filtered(frames, name, values=""):
    """The frames after ffmpeg has put them through a plug-in."""
    width, height = frames[0].size
    source = b"".join(frame.convert("RGBA").tobytes() for frame in frames)
    raw = ["-f", "rawvideo", "-pix_fmt", "rgba", "-s", f"{width}x{height}"]
    outcome = subprocess.run(
        ["ffmpeg", "-v", "error", *raw, "-r", "25", "-i", "-", "-vf", f"frei0r={plugin(name)}{values}", *raw, "-"],
        input=source, capture_output=True, env={**os.environ, **ENVIRONMENT}, timeout=120, check=False)
    assert outcome.returncode == 0, outcome.stderr.decode()
    assert outcome.stderr == b"", outcome.stderr.decode()
    size = width * height * 4
    assert len(outcome.stdout) == size * len(frames)
    return [Image.frombytes("RGBA", (width, height), outcome.stdout[i * size:(i + 1) * size])
            for i in range(len(frames))]


def test_there_is_a_plugin_and_a_description_for_every_effect_that_keeps_the_size():
    built = sorted(file.stem for file in PLUGINS.glob("*.so"))
    assert built == sorted(plugin(name) for name in NAMES)
    for file in built:
        root = xml.etree.ElementTree.parse(PLUGINS / "kdenlive" / (file + ".xml")).getroot()
        assert root.get("tag") == "frei0r." + file
        assert [entry.get("name") for entry in root.iter("parameter")] == [
            str(place) for place in range(len(list(root.iter("parameter"))))]


@pytest.mark.parametrize("effect", EFFECTS, ids=NAMES)
def test_what_kdenlive_shows_of_a_number_with_what_stands_behind_it_is_the_number(effect):
    root = xml.etree.ElementTree.parse(PLUGINS / "kdenlive" / (plugin(effect["name"]) + ".xml")).getroot()
    for place, setting in enumerate(settings(effect)):
        told = root.findall("parameter")[place]
        if setting["kind"] != "number":
            continue
        factor, low = float(told.get("factor")), setting["minimum"]
        assert float(told.get("max")) == factor == setting["maximum"] - low and told.get("min") == "0"
        behind = re.match(r"(?: ([+-]) ([0-9]+))?(?: |$)", told.get("suffix"))
        assert int((behind[1] or "") + (behind[2] or "0")) == low
        assert round(float(told.get("default")) * factor, 4) == setting["default"] - low


@pytest.mark.parametrize("effect", EFFECTS, ids=NAMES)
def test_frames_in_ffmpeg_are_those_of_the_command_line(effect, tmp_path):
    frames = [picture(80, 53, seed=place) for place in range(3)]
    seed = ["--seed", "1"] if draws(effect) else []
    for frame, made in zip(frames, filtered(frames, effect["name"])):
        assert made.getchannel("A").getextrema() == (255, 255)
        assert made.convert("RGB").tobytes() == applied(tmp_path, frame, effect["name"], *seed).tobytes()


@pytest.mark.parametrize("effect", EFFECTS, ids=NAMES)
def test_parameters_mean_what_the_options_mean(effect, tmp_path):
    offered = settings(effect)
    levels = [level(setting) for setting in offered]
    options = [word for setting, (_, value) in zip(offered, levels) for word in ("--" + setting["name"], value)]
    values = [text for text, _ in levels]
    if draws(effect):
        values.append("1")   # the highest seed
        options += ["--seed", "10000"]
    frame = picture(80, 53)
    made, = filtered([frame], effect["name"], ":" + "|".join(values) if values else "")
    assert made.convert("RGB").tobytes() == applied(tmp_path, frame, effect["name"], *options).tobytes()


@pytest.mark.parametrize("name", ["wave", "noise", "median", "swirl"])
def test_alpha_is_the_mask(name, tmp_path):
    frame = picture(64, 40, "RGBA")
    made, = filtered([frame], name)
    seed = ["--seed", "1"] if name == "noise" else []
    assert made.tobytes() == applied(tmp_path, frame, name, *seed).tobytes()


def test_grain_stands_still_unless_it_is_told_to_move():
    frame = picture(64, 40)
    still = filtered([frame] * 3, "noise")
    assert still[0].tobytes() == still[1].tobytes() == still[2].tobytes()
    moving = filtered([frame] * 3, "noise", ":0.1|0.1|0|y")
    assert len({made.tobytes() for made in moving}) == 3
    again = filtered([frame] * 3, "noise", ":0.1|0.1|0|y")
    assert [made.tobytes() for made in moving] == [made.tobytes() for made in again]


def test_what_lies_outside_a_range_counts_as_its_end():
    frame = picture(32, 20)
    assert filtered([frame], "blocks", ":7|-3")[0].tobytes() == filtered([frame], "blocks", ":1|0")[0].tobytes()


@pytest.mark.parametrize("size", [(1, 1), (1, 9), (9, 1), (81, 53), (321, 243)])
def test_frames_of_any_size(size, tmp_path):
    """Called as a program calls it: ffmpeg itself hands over rows with gaps unless a width is a multiple of 16."""
    width, height = size
    source = picture(*size)
    pixels = source.convert("RGBA").tobytes()
    for effect in EFFECTS:
        library = ctypes.CDLL(str(PLUGINS / (plugin(effect["name"]) + ".so")))
        library.f0r_construct.restype = ctypes.c_void_p
        assert library.f0r_init() == 1
        instance = ctypes.c_void_p(library.f0r_construct(width, height))
        out = ctypes.create_string_buffer(len(pixels))
        library.f0r_update(instance, ctypes.c_double(0), pixels, out)
        library.f0r_destruct(instance)
        library.f0r_deinit()
        seed = ["--seed", "1"] if draws(effect) else []
        wanted = applied(tmp_path, source, effect["name"], *seed)
        assert Image.frombytes("RGBA", size, out.raw).convert("RGB").tobytes() == wanted.tobytes()


def streamed(stream, *words):
    """What melt writes to a stream; None where it wrote nothing at all.

    melt 7.12 starts the thread that writes a film before it notes that the film is running. Where the thread comes to
    look first it ends at once; then melt leaves an empty file, or waits for a film that is over."""
    os.mkfifo(stream)
    melt = subprocess.Popen(["melt", "-silent", *words], stdin=subprocess.DEVNULL, stderr=subprocess.PIPE,
                            env={**os.environ, **ENVIRONMENT, "QT_QPA_PLATFORM": "offscreen"})
    reader = subprocess.Popen(["cat", stream], stdout=subprocess.PIPE)
    try:
        written, _ = reader.communicate(timeout=60)   # until nobody has the stream open for writing
        if not written:
            melt.terminate()
        _, errors = melt.communicate(timeout=60)
    finally:
        melt.kill()
        reader.kill()
        os.unlink(stream)
    assert melt.returncode == 0 or not written and melt.returncode == -signal.SIGTERM, errors.decode()
    return written or None


def melted(folder, frames, *filters, threads=1):
    """The frames after melt has put them through its filters, without loss on the way."""
    width, height = frames[0].size
    before, after = folder / "before.mov", folder / "after.raw"
    subprocess.run(["ffmpeg", "-v", "error", "-y", "-f", "rawvideo", "-pix_fmt", "rgb24", "-s", f"{width}x{height}",
                    "-r", "25", "-i", "-", "-c:v", "png", before], check=True,
                   input=b"".join(frame.convert("RGB").tobytes() for frame in frames))
    for _ in range(50):
        written = streamed(after, f"avformat:{before}", *filters, "-consumer", f"avformat:{after}", "f=rawvideo",
                           "vcodec=rawvideo", "pix_fmt=rgb24", "mlt_image_format=rgb", "an=1",
                           f"real_time={-threads}", f"width={width}", f"height={height}", "progressive=1",
                           "frame_rate_num=25", "frame_rate_den=1", "sample_aspect_num=1", "sample_aspect_den=1",
                           "colorspace=601", "terminate_on_pause=1")
        if written:
            break
    assert written, "melt never began"
    size = width * height * 3
    assert len(written) == size * len(frames)
    return [Image.frombytes("RGB", (width, height), written[i * size:(i + 1) * size]) for i in range(len(frames))]


@pytest.mark.parametrize("effect", EFFECTS, ids=NAMES)
def test_frames_in_melt_are_those_of_the_command_line(effect, tmp_path):
    frames = [picture(80, 48, seed=place) for place in range(3)]
    made = melted(tmp_path, frames, "-filter", "frei0r." + plugin(effect["name"]), threads=3)
    seed = ["--seed", "1"] if draws(effect) else []
    for frame, result in zip(frames, made):
        assert result.tobytes() == applied(tmp_path, frame, effect["name"], *seed).tobytes()


def test_keyframes_change_a_parameter_in_the_film(tmp_path):
    frames = [picture(80, 48)] * 5
    made = melted(tmp_path, frames, "-filter", "frei0r.velmorant_blocks", "0=0=0;4=0.05", "1=0=0;4=0.05")
    assert made[0].tobytes() == frames[0].tobytes()   # blocks of one pixel
    assert made[4].tobytes() == applied(tmp_path, frames[0], "blocks", "--block-width", "26", "--block-height",
                                        "26").tobytes()


def test_programs_end_cleanly_20_of_20_times(tmp_path):
    frame = picture(48, 32)
    for _ in range(20):
        filtered([frame], "wave")
    for _ in range(5):
        melted(tmp_path, [frame], "-filter", "frei0r.velmorant_wave")


def test_memory_stays_flat_over_2000_frames():
    def peak(frames):
        script = (f"ffmpeg -v error -f lavfi -i color=red:s=160x120 -frames:v {frames} "
                  "-vf format=rgba,frei0r=velmorant_noise -f null -")
        outcome = run("/usr/bin/env", "bash", "-c",
                      f"{script} & wait $!; exit $?", environment=ENVIRONMENT)
        assert outcome.returncode == 0, outcome.stderr.decode()
        measured = run("/usr/bin/python3", "-c",
                       "import resource, subprocess, sys; subprocess.run(sys.argv[1:], check=True); "
                       "print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)",
                       *script.split(), environment=ENVIRONMENT)
        return int(measured.stdout)
    assert peak(2000) < peak(50) + 4096   # KiB
