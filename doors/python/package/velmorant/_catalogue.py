"""The library's list of effects and kernels as records that Python people expect."""

from dataclasses import dataclass
from functools import lru_cache

from . import _native

_KINDS = ("number", "numbers", "kernel", "choice", "switch", "colour", "file")


@dataclass(frozen=True)
class Choice:
    """One of the words that a setting of kind "choice" takes; its number does instead."""
    word: str
    label: str
    meaning: str
    number: int


@dataclass(frozen=True)
class Setting:
    """What an effect can be told."""
    name: str          # as on the command line: "block-width"
    keyword: str       # as a keyword argument: "block_width"
    kind: str          # "number", "numbers", "kernel", "choice", "switch", "colour" or "file"
    range: tuple[int, int] | None   # (lowest, highest) of numbers
    choices: tuple[Choice, ...]   # for kind "choice"
    default: int | bool | str | tuple[int, ...] | None   # None for a file
    meaning: str       # one line; the choices of a choice have theirs besides
    label: str         # as dialogs show it
    unit: str
    writes: bool       # a file that a run writes
    in_pixels: bool    # a number of pixels, which may also be a share of the picture's smaller edge: "2%"


@dataclass(frozen=True)
class Effect:
    """An effect; `settings` are in the order of its dialog."""
    name: str          # as on the command line: "oil-painting"
    function: str      # of this package: "oil_painting"
    title: str
    summary: str
    about: str
    example: str
    types: tuple[str, ...]   # of pictures it works on: "1-bit", "palette", "grey", "RGB"
    changes_size: bool
    draws: bool        # random numbers, so that a seed matters
    takes_edges: bool    # a step may say how the picture goes on beyond its border: "wrap", "mirror" or "clamp"
    takes_fringe: bool   # a step may say how colours mix where a mask ends: "clean" or "as-is"
    settings: tuple[Setting, ...]

    def __getitem__(self, name: str) -> Setting:
        """A setting by its name or keyword."""
        for setting in self.settings:
            if name in (setting.name, setting.keyword):
                return setting
        raise KeyError(name)


@dataclass(frozen=True)
class Kernel:
    """A ready-made kernel of `filters`; `elements` are seven rows of seven numbers."""
    id: int
    name: str
    mode: str
    elements: tuple[tuple[int, ...], ...]
    divisor: int
    bias: int
    size: int


def _default(record, kind):
    if kind == "number":
        return record["default_number"]
    if kind in ("numbers", "kernel"):
        return tuple(int(number) for number in record["default_value"].replace(",", " ").split())
    if kind == "switch":
        return record["default_value"] == "on"
    return record["default_value"] or None


def _setting(record):
    kind = _KINDS[record["kind"]] if record["kind"] < len(_KINDS) else "other"
    ranged = kind in ("number", "numbers", "kernel")
    return Setting(name=record["name"], keyword=record["name"].replace("-", "_"), kind=kind,
                   range=(record["low"], record["high"]) if ranged else None,
                   choices=tuple(Choice(**choice) for choice in record["choices"]), default=_default(record, kind),
                   meaning=record["meaning"], label=record["label"], unit=record["unit"], writes=record["writes"],
                   in_pixels=record["in_pixels"])


@lru_cache(maxsize=None)
def _all():
    made = []
    for record in _native.effects():
        fields = {name: record[name] for name in ("name", "title", "summary", "about", "example", "changes_size", "draws",
                                                  "takes_edges", "takes_fringe")}
        made.append(Effect(**fields, function=record["name"].replace("-", "_"), types=tuple(record["types"]),
                           settings=tuple(_setting(setting) for setting in record["settings"])))
    return tuple(made)


def effects() -> list[Effect]:
    """All effects, in the order of the dialogs' list."""
    return list(_all())


def effect(name: str) -> Effect:
    """The effect of that name, "oil-painting" or "oil_painting". ValueError, with near ones, when there is none."""
    if not isinstance(name, str):
        raise TypeError(f"an effect's name is a text, not {type(name).__name__}")
    for known in _all():
        if name in (known.name, known.function):
            return known
    _native.refuse_effect(name)
    raise ValueError(f"{name}: not an effect that is built here")


@lru_cache(maxsize=None)
def _all_kernels():
    def rows(elements):
        return tuple(tuple(elements[7 * row:7 * row + 7]) for row in range(7))
    return tuple(Kernel(**{**record, "elements": rows(record["elements"])}) for record in _native.kernels())


def kernels() -> list[Kernel]:
    """The ready-made kernels of `filters`."""
    return list(_all_kernels())


def kernel(name: str) -> Kernel:
    """A ready-made kernel by its name; letters' case does not count."""
    for known in _all_kernels():
        if known.name.lower() == str(name).lower():
            return known
    raise ValueError(f"{name}: no such kernel")
