"""The plug-in inside GIMP without a window: every procedure's pixels are those of `velmorant apply`."""

import json
import shutil
import subprocess

import pytest
from PIL import Image

import gimp_session
from gimp_session import quoted
from common import BUILD, VELMORANT, draws, picture, run, settings

EFFECTS = json.loads(run(VELMORANT, "effects", "--json").stdout)
NAMES = [effect["name"] for effect in EFFECTS]
MODES = ["RGB", "L", "P"]
CASES = [(effect, mode) for effect in EFFECTS for mode in MODES] + [
    (effect, mode) for effect in EFFECTS for mode in ("RGBA", "LA", "1")
    if effect["name"] in ("wave", "noise", "median", "mirror")]
WIDTH, HEIGHT = 31, 23


# Width, height and samples of an image's layer as a line of numbers: one of the same size is a thumbnail too. Indices
# are told as their colours.
TELL = """
(define (tell image)
  (let* ((layer (car (gimp-image-get-active-drawable image)))
         (width (car (gimp-drawable-width layer)))
         (height (car (gimp-drawable-height layer)))
         (thumbnail (gimp-drawable-thumbnail layer width height))
         (count (list-ref thumbnail 3))
         (samples (list-ref thumbnail 4))
         (i 0))
    (write (car thumbnail) told) (display " " told) (write (cadr thumbnail) told)
    (while (< i count)
      (display " " told) (write (aref samples i) told)
      (set! i (+ i 1)))
    (newline told)))
"""


def source(mode):
    if mode == "P":
        return picture(WIDTH, HEIGHT).quantize(7)
    if mode == "1":
        return picture(WIDTH, HEIGHT, "L").convert("1")
    return picture(WIDTH, HEIGHT, mode)


def as_gimp_has_it(folder, mode):
    """GIMP opens a 1-bit file as grey; its own black and white is a palette of two."""
    if mode != "1":
        return folder / f"{mode}.png"
    two = Image.frombytes("P", (WIDTH, HEIGHT), bytes(pixel != 0 for pixel in source("1").getdata()))
    two.putpalette([0, 0, 0, 255, 255, 255])
    two.save(folder / "two.png")
    return folder / "two.png"


def value(setting):
    """A value other than the default in the command line's words."""
    if setting["kind"] == "number":
        number = setting["minimum"] + (setting["maximum"] - setting["minimum"]) * 3 // 10
        return str(number + (number == setting["default"]))
    if setting["kind"] == "choice":
        return [choice["word"] for choice in setting["choices"] if choice["word"] != setting["default"]][-1]
    if setting["kind"] == "switch":
        return "off" if setting["default"] == "on" else "on"
    return "#FF3399" if setting["kind"] == "colour" else "Gaussian 3 by 3"


def called(effect, words, seed=0):
    """The call of an effect's procedure on `image`."""
    given = [gimp_session.argument(setting, words.get(setting["name"], gimp_session.standard(setting)))
             for setting in settings(effect)]
    return (f"(plug-in-velmorant-{effect['name']} RUN-NONINTERACTIVE image (car (gimp-image-get-active-drawable image)) "
            + " ".join(given + [str(seed)] * draws(effect)) + ")")


class Script:
    """Runs to be made in one start of GIMP. Pixels are told by Script-Fu: to write a file GIMP starts a program."""

    def __init__(self, folder):
        self.folder, self.lines, self.runs = folder, [TELL], 0
        self.told = folder / "told"

    def open(self, name, file):
        self.lines.append(f"(define {name} (car (file-png-load RUN-NONINTERACTIVE {quoted(file)} {quoted(file)})))")

    def add(self, source, *calls):
        """What is done to a copy of a picture, as `image`; the number of the result."""
        self.lines.append(f"(let* ((image (car (gimp-image-duplicate {source}))))\n" +
                          "(catch (begin (display \"refused\" told) (newline told))\n" + "\n".join(calls) +
                          "\n(tell image))\n(gimp-image-delete image))")
        self.runs += 1
        return self.runs - 1

    def run(self, environment=None):
        """All results, each as size and samples, None for what was refused; and what GIMP said."""
        script = f"(define told (open-output-file {quoted(self.told)}))\n" + "\n".join(self.lines)
        said = gimp_session.batch(self.folder, script + "\n(close-output-port told)\n", environment)
        results = []
        for line in self.told.read_text().splitlines():
            width, height, *told = [0, 0] if line == "refused" else map(int, line.split())
            results.append(((width, height), bytes(told)) if told else None)
        return results, said


def applied(folder, before, effect, words, *options):
    """The picture that `velmorant apply` makes; None where it refuses the type."""
    after = folder / "applied.png"
    after.unlink(missing_ok=True)
    given = [word for name, text in words.items() for word in ("--" + name, text)]
    outcome = run(VELMORANT, "apply", effect["name"], before, after, "--quiet", *given, *options)
    if outcome.returncode != 0:
        assert "its command is greyed" in outcome.stderr.decode()
        return None
    with Image.open(after) as result:
        result.load()
        return result


WAVE = EFFECTS[NAMES.index("wave")]
AREA = (8, 5, 15, 10)
FLOATS = "(gimp-image-convert-precision image PRECISION-FLOAT-GAMMA)"
LINEAR = "(gimp-image-convert-precision image PRECISION-HALF-LINEAR)"
EIGHT = "(gimp-image-convert-precision image PRECISION-U8-GAMMA)"
SIXTEEN = "(gimp-image-convert-precision image PRECISION-U16-GAMMA)"


def special(script, runs, folder):
    """Selections, precisions, what is wrong, and a palette that has a colour twice."""
    rectangle = "(gimp-image-select-rectangle image CHANNEL-OP-REPLACE {} {} {} {})".format(*AREA)
    feathered = rectangle + "(gimp-selection-feather image 6)"
    for name, before in (("selected", rectangle), ("feathered", feathered), ("float", FLOATS), ("sixteen", SIXTEEN)):
        runs[name] = script.add("source-RGB", before, called(WAVE, {}))
    runs["linear"] = script.add("source-RGB", LINEAR, called(WAVE, {}), EIGHT)
    runs["feathered palette"] = script.add("source-P", feathered, called(WAVE, {}))
    runs["beyond"] = script.add("source-RGB", called(WAVE, {"amplitude": "300"}))
    runs["mirrored, selected"] = script.add("source-RGB", rectangle, called(EFFECTS[NAMES.index("mirror")], {}))
    twice = Image.frombytes("P", (4, 2), bytes([0, 1, 2, 3, 3, 2, 1, 0]))
    twice.putpalette([10, 20, 30, 200, 100, 0, 200, 100, 0, 255, 255, 255])
    twice.save(folder / "twice.png")
    script.open("source-twice", folder / "twice.png")
    pixels = "".join(f'(display " " told) (write (vector-ref (cadr (gimp-drawable-get-pixel (car '
                     f'(gimp-image-get-active-drawable image)) {place % 4} {place // 4})) 0) told)' for place in range(8))
    script.lines.append("(let* ((image (car (gimp-image-duplicate source-twice))))" +
                        called(EFFECTS[NAMES.index("swirl")], {"swirl-amount": "0"}) +
                        f'(display "4 2" told) {pixels} (newline told))')
    runs["twice"] = script.runs
    script.runs += 1


@pytest.fixture(scope="module")
def made(tmp_path_factory):
    """Every effect on every type of picture with its defaults, and on RGB with other values."""
    folder = tmp_path_factory.mktemp("gimp")
    gimp_session.profile(folder / "profile")
    script, runs = Script(folder), {}
    for mode in sorted({mode for _, mode in CASES}):
        source(mode).save(folder / f"{mode}.png")
        script.open("source-" + mode, as_gimp_has_it(folder, mode))
    for effect, mode in CASES:
        runs[effect["name"], mode] = script.add("source-" + mode, called(effect, {}))
    for effect in EFFECTS:
        words = {setting["name"]: value(setting) for setting in settings(effect)}
        runs[effect["name"], "other"] = script.add("source-RGB", called(effect, words, 77))
    special(script, runs, folder)
    results, said = script.run()
    assert len(results) == script.runs, said
    return folder, {key: results[place] for key, place in runs.items()} | {"said": said}


def samples(picture):
    """As they are told."""
    return (picture.convert("RGB") if picture.mode in ("1", "P") else picture).tobytes()


@pytest.mark.parametrize("effect, mode", CASES, ids=[f"{effect['name']}-{mode}" for effect, mode in CASES])
def test_told_nothing_a_procedure_does_what_the_command_line_does(effect, mode, made):
    folder, results = made
    seed = ["--seed", "0"] if draws(effect) else []
    wanted = applied(folder, folder / f"{mode}.png", effect, {}, *seed)
    assert results[effect["name"], mode] == (wanted and (wanted.size, samples(wanted)))


@pytest.mark.parametrize("effect", EFFECTS, ids=NAMES)
def test_arguments_mean_what_the_options_mean(effect, made):
    folder, results = made
    words = {setting["name"]: value(setting) for setting in settings(effect)}
    if effect["name"] == "filters":   # what the kernel's name brings
        words = {name: word for name, word in words.items() if name not in ("divisor", "bias", "combine-mode")}
    seed = ["--seed", "77"] if draws(effect) else []
    wanted = applied(folder, folder / "RGB.png", effect, words, *seed)
    assert results[effect["name"], "other"] == (wanted.size, samples(wanted))


def pixels_of(result):
    (width, height), told = result
    return Image.frombytes("RGB", (width, height), told)


def test_an_effect_works_within_the_selection_alone(made):
    folder, results = made
    x, y, width, height = AREA
    whole = applied(folder, folder / "RGB.png", WAVE, {}, "--area", f"{x},{y},{width}x{height}")
    assert results["selected"] == (whole.size, samples(whole))


def test_a_soft_selection_blends(made):
    before, after = source("RGB"), pixels_of(made[1]["feathered"])
    changed = [place for place, (a, b) in enumerate(zip(before.getdata(), after.getdata())) if a != b]
    assert changed
    assert after.tobytes() != pixels_of(made[1]["selected"]).tobytes()
    corners = [(0, 0), (WIDTH - 1, HEIGHT - 1)]
    assert [after.getpixel(corner) for corner in corners] == [before.getpixel(corner) for corner in corners]


def test_a_soft_selection_leaves_no_colours_beside_the_palette(made):
    before = source("P").convert("RGB")
    after = pixels_of(made[1]["feathered palette"])
    assert after.tobytes() != before.tobytes()
    assert set(after.getdata()) <= set(before.getdata())


def test_an_index_stays_though_another_has_the_same_colour(made):
    assert list(made[1]["twice"][1]) == [0, 1, 2, 3, 3, 2, 1, 0]


@pytest.mark.parametrize("precision", ["float", "sixteen", "linear"])
def test_images_of_more_bits_are_worked_on_with_8(precision, made):
    folder, results = made
    wanted = applied(folder, folder / "RGB.png", WAVE, {})
    assert results[precision] == (wanted.size, samples(wanted))


def test_what_has_lost_bits_is_told_once_for_each_image(made):
    assert made[1]["said"].count("The effects work with 8 bits a sample") == 3


def test_a_value_outside_its_range_is_refused(made):
    assert made[1]["beyond"] is None


def test_what_changes_the_size_works_on_the_whole_layer(made):
    folder, results = made
    wanted = applied(folder, folder / "RGB.png", EFFECTS[NAMES.index("mirror")], {})
    assert results["mirrored, selected"] == (wanted.size, samples(wanted))


def test_a_module_that_crashes_takes_neither_gimp_nor_the_image_along(tmp_path):
    """The library beside a module that ends its process on purpose, in the place of the true one."""
    broken = tmp_path / "broken"
    broken.mkdir()
    for file in (BUILD / "bin").glob("*.so*"):
        if file.name != "VLMEFF.so":
            shutil.copy(file, broken / file.name)
    code = tmp_path / "crash.c"
    code.write_text("__attribute__((constructor)) static void Crash(void) { __builtin_trap(); }\n")
    subprocess.run(["cc", "-shared", "-fPIC", code, "-o", broken / "VLMEFF.so"], check=True)
    gimp_session.profile(tmp_path / "profile")
    source("RGB").save(tmp_path / "RGB.png")
    script = Script(tmp_path)
    script.open("source", tmp_path / "RGB.png")
    script.add("source", called(WAVE, {}))
    script.add("source")
    # The plug-in is asked for its procedures with the true module, and run with the broken one.
    gimp_session.batch(tmp_path, "")
    results, said = script.run({"LD_LIBRARY_PATH": str(broken)})
    assert "crashed" in said, said
    assert results == [None, ((WIDTH, HEIGHT), source("RGB").tobytes())]
