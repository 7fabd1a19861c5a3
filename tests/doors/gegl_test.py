"""The GEGL operations in the program `gegl`, whose exit code tells nothing: samples and messages are compared."""

import pathlib
import struct
import subprocess
import zlib

import pytest
from PIL import Image

from common import BUILD, applied, draws, effects, picture, run, settings

PLUGINS = subprocess.run(["pkg-config", "--variable=pluginsdir", "gegl-0.4"], capture_output=True, text=True,
                         check=True).stdout.strip()
ENVIRONMENT = {"GEGL_PATH": f"{PLUGINS}:{BUILD / 'gegl'}", "GEGL_SWAP": "RAM"}
EFFECTS = effects()
NAMES = [effect["name"] for effect in EFFECTS]
HARMLESS = ("GeglBuffers leaked", "gegl_tile_cache_destroy", "To debug GeglBuffer leaks", "GEGL_DEBUG")


def made(folder, source, *operations):
    before, after = folder / "gegl_in.png", folder / "gegl_out.png"
    source.save(before)
    after.unlink(missing_ok=True)
    outcome = run("gegl", before, "-o", after, "--", *operations, environment=ENVIRONMENT)
    said = [line for line in outcome.stderr.decode().splitlines()
            if line.strip() and not any(word in line for word in HARMLESS)]
    assert not said, "\n".join(said)
    kind = {0: "L", 2: "RGB", 4: "LA", 6: "RGBA"}[after.read_bytes()[25]]   # the header's colour type
    with Image.open(after) as result:
        # GEGL writes 16 bits a sample, of which Pillow makes 8 in its own ways.
        if result.mode.startswith("I"):
            return Image.frombytes("L", result.size, bytes(sample // 257 for sample in result.getdata()))
        return result.convert(kind)


def value(setting):
    """A value other than the default, as GEGL and the command line take it."""
    if setting["kind"] == "number":
        number = setting["minimum"] + (setting["maximum"] - setting["minimum"]) * 3 // 10
        return (str(number + (number == setting["default"])),) * 2
    if setting["kind"] == "choice":
        return (setting["choices"][-1]["word"],) * 2
    if setting["kind"] == "switch":
        return ("false", "off") if setting["default"] == "on" else ("true", "on")
    if setting["kind"] == "colour":
        return "#FF3399", "#FF3399"
    assert setting["kind"] == "kernel"
    return "Gaussian 3 by 3", "Gaussian 3 by 3"


def test_every_effect_that_keeps_the_size_is_an_operation():
    listed = run("gegl", "--list-all", environment=ENVIRONMENT).stdout.decode().split()
    assert sorted(name for name in listed if name.startswith("velmorant:")) == sorted(
        "velmorant:" + name for name in NAMES)


@pytest.mark.parametrize("mode", ["RGB", "RGBA", "L", "LA"])
@pytest.mark.parametrize("effect", EFFECTS, ids=NAMES)
def test_told_nothing_an_operation_does_what_the_command_line_does(effect, mode, tmp_path):
    source = picture(61, 43, mode)
    result = made(tmp_path, source, "velmorant:" + effect["name"])
    seed = ["--seed", "0"] if draws(effect) else []
    wanted = applied(tmp_path, source, effect["name"], *seed)
    assert result.mode == wanted.mode
    assert result.tobytes() == wanted.tobytes()


@pytest.mark.parametrize("effect", EFFECTS, ids=NAMES)
def test_properties_mean_what_the_options_mean(effect, tmp_path):
    source = picture(61, 43)
    values = [(setting["name"], *value(setting)) for setting in settings(effect)]
    properties = [f"{name}={ours}" for name, ours, _ in values]
    options = [word for name, _, theirs in values for word in ("--" + name, theirs)]
    if draws(effect):
        properties.append("seed=7")
        options += ["--seed", "7"]
    result = made(tmp_path, source, "velmorant:" + effect["name"], *properties)
    assert result.tobytes() == applied(tmp_path, source, effect["name"], *options).tobytes()


def test_operations_follow_each_other(tmp_path):
    source = picture(61, 43)
    result = made(tmp_path, source, "velmorant:wave", "amplitude=20", "velmorant:blocks")
    wanted = applied(tmp_path, applied(tmp_path, source, "wave", "--amplitude", "20"), "blocks")
    assert result.tobytes() == wanted.tobytes()


def test_a_selections_box_is_a_picture_of_its_own(tmp_path):
    """What GIMP's tool hands over of a selection: a part that does not begin at the picture's first pixel."""
    source, (x, y, width, height) = picture(61, 43), (13, 9, 31, 22)
    for effect in (EFFECTS[NAMES.index(name)] for name in ("wave", "swirl", "tiles", "median")):
        result = made(tmp_path, source, "gegl:crop", f"x={x}", f"y={y}", f"width={width}", f"height={height}",
                      "velmorant:" + effect["name"])
        wanted = applied(tmp_path, source.crop((x, y, x + width, y + height)), effect["name"],
                         *(["--seed", "0"] if draws(effect) else []))
        assert result.size == wanted.size and result.tobytes() == wanted.tobytes(), effect["name"]


def test_several_graphs_run_at_once(tmp_path):
    flags = run("pkg-config", "--cflags", "--libs", "gegl-0.4").stdout.decode().split()
    code = pathlib.Path(__file__).with_name("gegl_graphs.c")
    subprocess.run(["cc", "-Wall", "-Wextra", "-Werror", code, "-o", tmp_path / "graphs", *flags], check=True)
    source, names = picture(161, 143), ["wave", "oil-painting", "wave", "median"]
    (tmp_path / "in").write_bytes(source.tobytes())
    outcome = run(tmp_path / "graphs", tmp_path / "in", *source.size, tmp_path / "out",
                  *("velmorant:" + name for name in names), environment=ENVIRONMENT)
    assert outcome.returncode == 0, outcome.stderr.decode()
    for place, name in enumerate(names):
        assert (tmp_path / f"out.{place}").read_bytes() == applied(tmp_path, source, name).tobytes(), name


def test_a_picture_with_a_gamma_of_its_own_is_not_converted(tmp_path):
    source = picture(61, 43)
    before, through, after = (tmp_path / name for name in ("linear.png", "through.png", "blocks.png"))
    source.save(before)
    data, gamma = before.read_bytes(), b"gAMA" + struct.pack(">I", 100000)
    place = data.index(b"IDAT") - 4
    before.write_bytes(data[:place] + struct.pack(">I", 4) + gamma + struct.pack(">I", zlib.crc32(gamma)) + data[place:])
    run("gegl", before, "-o", through, "--", "gegl:nop", environment=ENVIRONMENT)
    run("gegl", before, "-o", after, "--", "velmorant:blocks", environment=ENVIRONMENT)
    with Image.open(through) as untouched, Image.open(after) as result:
        wanted = applied(tmp_path, untouched.convert("RGB"), "blocks")
        assert result.convert("RGB").tobytes() == wanted.tobytes()
