"""Writes the package's type stubs from the library's list, so that an editor completes settings and knows their words.

    python3 -m velmorant._stubs [FILE]
"""

import sys

from . import _catalogue, _functions

_HEAD = '''# Made by velmorant/_stubs.py from the library's list of effects.
from __future__ import annotations

import os
from collections.abc import Callable, Iterable, Sequence
from typing import IO, Any, Literal, TypeVar

from ._catalogue import Choice as Choice
from ._catalogue import Effect as Effect
from ._catalogue import Kernel as Kernel
from ._catalogue import Setting as Setting
from ._catalogue import effect as effect
from ._catalogue import effects as effects
from ._catalogue import kernel as kernel
from ._catalogue import kernels as kernels
from ._recipes import Preset as Preset
from ._recipes import delete_preset as delete_preset
from ._recipes import parse_recipe as parse_recipe
from ._recipes import preset as preset
from ._recipes import presets as presets
from ._recipes import read_recipe as read_recipe
from ._recipes import recipe_text as recipe_text
from ._recipes import rename_preset as rename_preset
from ._recipes import save_preset as save_preset
from ._recipes import write_recipe as write_recipe

P = TypeVar("P")   # a numpy array, a Pillow image, a Picture or a buffer: the same kind comes back
Area = tuple[int, int, int, int]
Objects = Iterable[tuple[Any, int, int]]
Progress = Callable[[float], object]
Kind = Literal["1-bit", "palette", "grey", "RGB"]
__version__: str

class Aborted(RuntimeError): ...
class Forked(RuntimeError): ...
class NoThread(RuntimeError): ...
class Notice(UserWarning): ...

class Picture:
    def __init__(self, picture: Any, *, palette: Any = None, mask: Any = None) -> None: ...
    @classmethod
    def open(cls, file: str | os.PathLike[str] | IO[bytes], *, page: int | None = None, as_stored: bool = False,
             allow_huge: bool = False) -> Picture: ...
    @classmethod
    def from_bytes(cls, data: bytes, *, page: int | None = None, as_stored: bool = False,
                   allow_huge: bool = False) -> Picture: ...
    def save(self, file: str | os.PathLike[str] | IO[bytes], *, format: str | None = None, quality: int = 0,
             subsampling: Literal[0, 444, 440, 422, 420, 411] = 0, progressive: bool | None = None,
             strip: Literal["metadata", "all"] | None = None, reduce_depth: bool = False,
             compression: int = 0) -> None: ...
    def to_bytes(self, format: str | None = None, *, quality: int = 0,
                 subsampling: Literal[0, 444, 440, 422, 420, 411] = 0, progressive: bool | None = None,
                 strip: Literal["metadata", "all"] | None = None, reduce_depth: bool = False,
                 compression: int = 0) -> bytes: ...
    def copy(self) -> Picture: ...
    def array(self, *, colours: bool = False) -> Any: ...
    def image(self) -> Any: ...
    @property
    def format(self) -> str | None: ...
    @property
    def pages(self) -> int: ...
    @property
    def file_bits(self) -> int: ...
    @property
    def type(self) -> Kind: ...
    @property
    def width(self) -> int: ...
    @property
    def height(self) -> int: ...
    @property
    def size(self) -> tuple[int, int]: ...
    palette: list[tuple[int, int, int]]
    mask: Picture | None
    icc_profile: bytes | None
    exif: bytes | None
    dpi: tuple[float, float]

class Comparison:
    before: Picture
    after: Picture
    changed: int | None

def compare(before: Any, after: Any) -> Comparison: ...
def apply(picture: P, steps: str | Sequence[str], *, seed: int | None = None, area: Area | None = None, mask: Any = None,
          objects: Objects = (), progress: Progress | None = None, out: P | None = None, **settings: Any) -> P: ...
'''

_COMMON = {"seed": "int | None = None", "area": "Area | None = None", "mask": "Any = None", "objects": "Objects = ()",
           "progress": "Progress | None = None", "out": "P | None = None"}
_TYPES = {"number": "int", "switch": "bool", "colour": "str | tuple[int, int, int]",
          "numbers": "str | Iterable[int]", "kernel": "str | Iterable[int] | Iterable[Iterable[int]] | None",
          "file": "str | os.PathLike[str] | None"}


def _type(setting):
    if setting.kind == "choice":
        return "Literal[" + ", ".join(repr(choice.word) for choice in setting.choices) + "] | int"
    return _TYPES.get(setting.kind, "Any") + " | str" * setting.in_pixels


def _function(effect):
    own = [f"{setting.keyword}: {_type(setting)} = {_functions.default_of(setting)!r}"
           for setting in _functions.settings_of(effect)]
    own += [f"{name}: Literal{list(_functions.BESIDES[name])!r} | None = None" for name in _functions.besides(effect)]
    common = [f"{name}: {_COMMON[name]}" for name in _functions.COMMON]
    parameters = ",\n    ".join(["picture: P", "*"] + own + common)
    text = _functions.docstring(effect).replace("\\", "\\\\").replace('"""', "'''").replace("\n", "\n    ")
    return f'def {effect.function}(\n    {parameters},\n) -> P:\n    """{text}\n    """\n'


def stubs():
    return _HEAD + "\n" + "\n".join(_function(effect) for effect in _catalogue.effects())


if __name__ == "__main__":
    if len(sys.argv) > 1:
        with open(sys.argv[1], "w", encoding="utf-8") as file:
            file.write(stubs())
    else:
        print(stubs(), end="")
