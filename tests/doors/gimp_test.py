"""The plug-in inside GIMP without a window: every procedure's pixels are those of `velmorant apply`."""

import json

import pytest
from PIL import Image

import gimp_session
from gimp_session import quoted
from common import VELMORANT, draws, picture, run, settings

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

    def run(self):
        """All results, each as size and samples, None for what was refused; and what GIMP said."""
        script = f"(define told (open-output-file {quoted(self.told)}))\n" + "\n".join(self.lines)
        said = gimp_session.batch(self.folder, script + "\n(close-output-port told)\n")
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
    results, said = script.run()
    assert len(results) == script.runs, said
    return folder, {key: results[place] for key, place in runs.items()}


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
