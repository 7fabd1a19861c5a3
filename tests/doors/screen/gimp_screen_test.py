"""GIMP's windows, worked by keys: the dialogs, each kind of control, undo and what GIMP itself offers for every filter.
Pictures of the screen are left in the folder that VELMORANT_SCREENS names."""

import json
import os
import pathlib
import sys
import time

import pytest
from PIL import Image

sys.path.insert(0, os.path.join(os.path.dirname(__file__), ".."))

from common import VELMORANT, draws, run   # noqa: E402
from gimp_test import EFFECTS, NAMES, applied, called, samples, source   # noqa: E402
from gimp_window import KEYS, Gimp, Screen   # noqa: E402

SCREENS = os.environ.get("VELMORANT_SCREENS")
BY_NAME = dict(zip(NAMES, EFFECTS))


@pytest.fixture(scope="module")
def screen():
    made = Screen()
    yield made
    made.close()


@pytest.fixture(scope="module")
def gimp(screen, tmp_path_factory):
    folder = tmp_path_factory.mktemp("gimp")
    source("RGB").save(folder / "RGB.png")
    made = Gimp(folder, screen)
    made.folder = folder
    made.open(folder / "RGB.png")
    yield made
    made.close()


@pytest.fixture
def fresh(gimp):
    """The picture as it was, with nothing left of the test before."""
    gimp.ask("(define image (car (gimp-image-duplicate image)))")
    gimp.ask("(define opened (car (gimp-display-new image)))")
    before = gimp.samples()
    yield gimp
    gimp.ask("(gimp-display-delete opened)")
    gimp.ask(f'(define image (car (gimp-file-load RUN-NONINTERACTIVE "{gimp.folder}/RGB.png" "RGB.png")))')
    assert gimp.samples() == before


def begun(gimp, name):
    """The effect's dialog, in front."""
    gimp.begin(called(BY_NAME[name], {}).replace("RUN-NONINTERACTIVE", "RUN-INTERACTIVE"))
    gimp.screen.window("^Velmorant ")
    time.sleep(0.5)


def ended(gimp, key=None):
    """By a key, or the button OK."""
    if key:
        gimp.screen.keys(key)
    else:
        gimp.screen.click(gimp.screen.window("^Velmorant "), 55, 29)
    well, answer = gimp.end()
    assert well, answer
    gimp.screen.gone("^Velmorant ")


def wanted(gimp, name, words, *options):
    result = applied(gimp.folder, gimp.folder / "RGB.png", BY_NAME[name], words, *options)
    return result.size, samples(result)


def pictured(gimp, name):
    if SCREENS:
        gimp.screen.picture(pathlib.Path(SCREENS) / name)


@pytest.mark.parametrize("name", NAMES)
def test_every_dialog_opens_and_does_what_the_command_line_does(name, fresh):
    before = fresh.samples()
    begun(fresh, name)
    ended(fresh, "Escape")
    assert fresh.samples() == before
    begun(fresh, name)
    fresh.screen.keys("alt+r")   # Reset, whatever was chosen last
    time.sleep(1)
    pictured(fresh, f"dialog-{name}.png")
    ended(fresh)
    assert fresh.samples() == wanted(fresh, name, {}, *(["--seed", "0"] if draws(BY_NAME[name]) else []))


def test_numbers_and_choices(fresh):
    begun(fresh, "wave")
    fresh.screen.keys("alt+r", "alt+a")
    fresh.screen.type("30")
    fresh.screen.keys("alt+w", "Tab", "Tab", "Tab", "Down", "alt+a")
    ended(fresh)
    assert fresh.samples() == wanted(fresh, "wave", {"amplitude": "30", "orientation": "columns"})


def test_switches(fresh):
    begun(fresh, "ripple")
    fresh.screen.keys("alt+r", "alt+f", "alt+a")
    ended(fresh)
    assert fresh.samples() == wanted(fresh, "ripple", {"fade": "off"})


def test_colours(fresh):
    begun(fresh, "polar-coordinates")
    fresh.screen.keys("alt+r", "alt+f")
    if not fresh.screen.windows("^Fill colour"):
        fresh.screen.keys("space")
    window = fresh.screen.window("^Fill colour")
    fresh.screen.click(window, 84, 77, times=3)   # the colour's notation
    fresh.screen.type("FF3399")
    fresh.screen.keys("Tab")
    pictured(fresh, "colour.png")
    fresh.screen.keys("alt+o")
    fresh.screen.window("^Velmorant ")
    ended(fresh)
    assert fresh.samples() == wanted(fresh, "polar-coordinates", {"fill-colour": "#FF3399"})


def test_a_kernel_by_its_cells_and_from_the_list(fresh):
    begun(fresh, "filters")
    fresh.screen.keys("alt+r", "alt+k", "alt+d", "shift+Tab", "shift+Tab")   # back from the divisor to the last cell
    fresh.screen.type("2")
    fresh.screen.keys("alt+d")
    fresh.screen.type("3")
    pictured(fresh, "kernel.png")
    ended(fresh)
    cells = " ".join(["0"] * 24 + ["1"] + ["0"] * 23 + ["2"])
    assert fresh.samples() == wanted(fresh, "filters", {"kernel": cells, "divisor": "3"})


def test_a_kernel_from_the_list_brings_what_belongs_to_it(fresh):
    begun(fresh, "filters")
    fresh.screen.keys("alt+r", "alt+d", *["shift+Tab"] * 51, "Down", "Down", "Down")
    pictured(fresh, "kernel-list.png")
    fresh.screen.keys("alt+d")
    ended(fresh)
    listed = json.loads(run(VELMORANT, "kernels", "--json").stdout)
    assert fresh.samples() in [wanted(fresh, "filters", {"kernel": kernel["name"]}) for kernel in listed[:4]]


def test_seeds(fresh):
    begun(fresh, "noise")
    fresh.screen.keys("alt+r", "alt+s")
    fresh.screen.type("77")
    ended(fresh)
    assert fresh.samples() == wanted(fresh, "noise", {}, "--seed", "77")


def test_a_new_seed_gives_another_picture(fresh):
    begun(fresh, "noise")
    fresh.screen.keys("alt+r", "alt+n", "alt+a")
    ended(fresh)
    assert fresh.samples() != wanted(fresh, "noise", {}, "--seed", "0")


@pytest.mark.parametrize("precision", ["U16-GAMMA", "FLOAT-LINEAR"])
def test_images_of_more_bits_are_worked_on_with_8(precision, fresh):
    fresh.ask(f"(gimp-image-convert-precision image PRECISION-{precision})")
    begun(fresh, "wave")
    fresh.screen.keys("alt+r")
    time.sleep(2)
    pictured(fresh, f"precision-{precision}.png")
    ended(fresh)
    fresh.ask("(gimp-image-convert-precision image PRECISION-U8-GAMMA)")
    assert fresh.samples() == wanted(fresh, "wave", {})


def test_help_tells_what_the_settings_mean(fresh):
    begun(fresh, "wave")
    fresh.screen.keys("alt+h")
    fresh.screen.window("^Wave Help")
    pictured(fresh, "help.png")
    fresh.screen.keys("Escape")
    fresh.screen.window("^Velmorant ")
    ended(fresh, "Escape")


def in_image(gimp, *keys):
    """Keys for the image's own window, which shows what scripts have done only when it is told to."""
    gimp.ask("(gimp-displays-flush)")
    gimp.screen.window("GIMP$")
    for key in keys:
        gimp.screen.keys(key)
        time.sleep(1)


def test_one_step_is_undone_and_done_again(fresh):
    before = fresh.samples()
    for name in ("mirror", "wave"):
        fresh.ask(called(BY_NAME[name], {}))
    both = fresh.samples()
    assert both[0] != before[0]
    in_image(fresh, "alt+e", "u", "alt+e", "u")
    assert fresh.samples() == before
    in_image(fresh, "alt+e", "r", "alt+e", "r")
    assert fresh.samples() == both


def test_a_preset_is_chosen(fresh):
    presets = json.loads(run(VELMORANT, "presets", "--json").stdout)
    name = next(preset["name"] for preset in presets if preset["effect"] == "oil-painting")
    begun(fresh, "oil-painting")
    fresh.screen.keys("alt+r", "alt+b", "Tab", "Down", "alt+b")
    pictured(fresh, "preset.png")
    ended(fresh)
    assert fresh.samples() == wanted(fresh, "oil-painting", {"preset": name})


#---- From the menu

def chosen(gimp, name):
    """The effect's dialog, by the key of its menu item; its title's beginning."""
    in_image(gimp, KEYS[name][1])
    title = "^Velmorant " + name.replace("-", " ").title()
    gimp.screen.window(title)
    time.sleep(0.5)
    return title


def accepted(gimp, title):
    gimp.screen.click(gimp.screen.window(title), 55, 29)
    gimp.screen.gone(title)


def becomes(gimp, result, seconds=60):
    """A run that nobody waits for has this result, sooner or later."""
    for _ in range(2 * seconds):
        if gimp.samples() == result:
            return True
        time.sleep(0.5)
    return False


def again(gimp, result, name, words, *options):
    """What the effect makes of a result."""
    before = gimp.folder / "before.png"
    Image.frombytes("RGB", *result).save(before)
    made = applied(gimp.folder, before, BY_NAME[name], words, *options)
    return made.size, samples(made)


def test_a_filter_is_repeated_and_shown_again(fresh):
    title = chosen(fresh, "wave")
    fresh.screen.keys("alt+r", "alt+a")
    fresh.screen.type("30")
    fresh.screen.keys("Tab")
    accepted(fresh, title)
    once = wanted(fresh, "wave", {"amplitude": "30"})
    assert becomes(fresh, once)
    in_image(fresh, "ctrl+f")
    twice = again(fresh, once, "wave", {"amplitude": "30"})
    assert becomes(fresh, twice)
    in_image(fresh, "ctrl+shift+f")
    accepted(fresh, title)   # with the values of the last time
    assert becomes(fresh, again(fresh, twice, "wave", {"amplitude": "30"}))


def test_two_dialogs_are_open_at_once(fresh):
    wave = chosen(fresh, "wave")
    fresh.screen.keys("alt+r")
    noise = chosen(fresh, "noise")
    fresh.screen.keys("alt+r")
    assert fresh.screen.windows(wave) and fresh.screen.windows(noise)
    pictured(fresh, "two.png")
    accepted(fresh, noise)
    grainy = wanted(fresh, "noise", {}, "--seed", "0")
    assert becomes(fresh, grainy)
    accepted(fresh, wave)
    assert becomes(fresh, again(fresh, grainy, "wave", {}))


def test_two_images_are_worked_on_at_once(fresh):
    wave = chosen(fresh, "wave")
    fresh.screen.keys("alt+r")
    fresh.ask("(define other (car (gimp-image-duplicate image)))")
    fresh.ask("(define shown (car (gimp-display-new other)))")
    noise = chosen(fresh, "noise")   # of the one that is shown last
    fresh.screen.keys("alt+r")
    accepted(fresh, wave)
    accepted(fresh, noise)
    assert becomes(fresh, wanted(fresh, "wave", {}))
    fresh.ask("(define image other)")
    assert becomes(fresh, wanted(fresh, "noise", {}, "--seed", "0"))
    fresh.ask("(gimp-display-delete shown)")


@pytest.fixture
def large(gimp):
    """A layer that takes long, all noise: what is smooth is painted in no time."""
    tile, noise = Image.effect_noise((500, 500), 90), Image.new("RGB", (8000, 8000))
    for place in range(256):
        noise.paste(tile, (place % 16 * 500, place // 16 * 500))
    noise.save(gimp.folder / "large.png", compress_level=1)
    gimp.ask(f'(define image (car (gimp-file-load RUN-NONINTERACTIVE "{gimp.folder}/large.png" "large.png")))')
    gimp.ask("(define opened (car (gimp-display-new image)))")
    yield gimp
    gimp.ask("(gimp-display-delete opened)")
    gimp.ask(f'(define image (car (gimp-file-load RUN-NONINTERACTIVE "{gimp.folder}/RGB.png" "RGB.png")))')


def test_a_run_is_cancelled_in_the_images_window(large):
    """GIMP ends the run's process, and the image is as it was."""
    before = large.thumbnail()
    title = chosen(large, "oil-painting")
    large.screen.keys("alt+r", "alt+b")
    large.screen.type("50")
    large.screen.keys("Tab")
    accepted(large, title)
    window = large.screen.window("GIMP$")
    pictured(large, "cancel.png")
    assert large.runs_under_way() == 1
    for _ in range(240):
        if not large.runs_under_way():
            break
        large.screen.click(window, 245, 20)   # Cancel, below the picture, once the layer has been read
        time.sleep(0.2)
    assert not large.runs_under_way()
    assert large.thumbnail() == before


def test_all_effects_stand_in_the_menu(fresh):
    in_image(fresh, "alt+r", "Up", "Up", "Right")   # before Script-Fu, the last
    pictured(fresh, "menu.png")
    fresh.screen.keys("Escape", "Escape", "Escape")
    for name in NAMES:
        assert f"plug-in-velmorant-{name}" in fresh.ask(
            f'(gimp-procedural-db-query "plug-in-velmorant-{name}" ".*" ".*" ".*" ".*" ".*" ".*")')
