"""Recipes and presets: steps that are kept, as the command line keeps them. Here they are lists of lines, which
velmorant.apply and velmorant.dask.batch take.
"""

import os
from collections.abc import Sequence
from dataclasses import dataclass

from . import _native
from ._apply import make_steps


@dataclass(frozen=True)
class Preset:
    """A step that is kept under a name; `line` is what velmorant.apply takes."""
    name: str
    effect: str     # empty in a saved one that has a fault
    summary: str    # one line of what it is for
    line: str       # of one with a fault what is wrong with it
    shipped: bool   # it comes with the library, and cannot be renamed or deleted
    fault: bool     # a saved one that cannot be read


def _lines(steps):
    return [steps.line(step, False) for step in range(len(steps))]


def parse_recipe(text: str) -> list[str]:
    """The steps of a recipe's text, as lines; ValueError, with the line's number, when something is wrong with one."""
    if not isinstance(text, str):
        raise ValueError(f"a recipe is a text, not {type(text).__name__}")
    return _lines(_native.parse_recipe(text))


def read_recipe(file: str | os.PathLike[str]) -> list[str]:
    """The steps of a recipe file, as lines. OSError when it cannot be read, ValueError when something is wrong in it."""
    name = os.fsencode(file)
    try:
        return _lines(_native.read_recipe(name))
    except OSError as error:
        if not os.path.lexists(name):
            raise FileNotFoundError(str(error)) from None
        raise


def recipe_text(steps: str | Sequence[str]) -> str:
    """Steps, as velmorant.apply takes them, as a recipe's text with all settings that say something of pixels."""
    return _native.recipe_text(make_steps(steps))


def write_recipe(file: str | os.PathLike[str], steps: str | Sequence[str]) -> None:
    """Keeps steps in a file for read_recipe and `velmorant apply --recipe`."""
    _native.write_recipe(make_steps(steps), os.fsencode(file))


def presets() -> list[Preset]:
    """All presets: those that come with the library, then your own."""
    return [Preset(**record) for record in _native.presets()]


def preset(name: str) -> Preset:
    """The preset of that name, whatever its letters' case; ValueError, with near ones, when there is none."""
    name = str(name)
    _native.preset_steps(name)   # which tells what is wrong with the name, or with the preset
    # A saved one, which comes later in the list, hides a shipped one.
    return [known for known in presets() if known.name.casefold() == name.casefold()][-1]


def save_preset(name: str, step: str | Sequence[str], summary: str | None = None, *, replace: bool = False) -> None:
    """Keeps a step, "noise --amount 40", under a name, for every program of the library's."""
    _native.save_preset(name, make_steps(step), summary, bool(replace))


def rename_preset(name: str, to: str) -> None:
    _native.rename_preset(name, to)


def delete_preset(name: str) -> None:
    _native.delete_preset(name)
