"""velmorant.apply: settings and steps in Python's words become the command line's, and a run is made of them."""

import operator
import os
import threading

from . import _native
from ._pictures import Notice, native_of, take, tell   # noqa: F401: the package gives Notice away

_MAIN = threading.main_thread


def _numbers(value):
    """Numbers, rows of numbers or an array of them, apart by commas."""
    parts = []
    for part in value:
        parts.append(_numbers(part) if hasattr(part, "__iter__") and not isinstance(part, str) else text_of(part))
    return ",".join(parts)


def text_of(value, name=""):
    """A value as the command line writes it; what is wrong with it is for the library to say."""
    if isinstance(value, str):
        return value
    if isinstance(value, bool) or type(value).__name__ == "bool_":
        return "on" if value else "off"
    if isinstance(value, os.PathLike):
        return os.fspath(value)
    if hasattr(value, "__iter__"):
        parts = list(value)
        if name.endswith(("colour", "background")) and len(parts) == 3:
            parts = [operator.index(part) for part in parts]
            if all(0 <= part <= 255 for part in parts):
                return "#%02X%02X%02X" % tuple(parts)
        return _numbers(parts)
    try:
        return str(operator.index(value))
    except TypeError:
        return str(value)


def make_steps(steps, settings=None, area=None, objects=()):
    """Steps of the library: an effect's name, a line of the command line, or several of either."""
    lines = [steps] if isinstance(steps, str) else list(steps)
    if not lines:
        raise ValueError("there are no steps")
    if settings and len(lines) > 1:
        raise ValueError("settings as keyword arguments belong to a single step")
    made = _native.Steps()
    for line in lines:
        if not isinstance(line, str):
            raise TypeError(f"a step is a text such as 'wave --amplitude 20', not {type(line).__name__}")
        _add_line(made, line, area)
    for keyword, value in (settings or {}).items():
        if value is not None:
            name = keyword.replace("_", "-")
            made.set(0, name, text_of(value, name))
    for picture, x, y in objects:
        made.add_object(0, native_of(picture), operator.index(x), operator.index(y))
    return made


# The area stands before a step's own words: what a step says itself counts.
def _add_line(made, line, area):
    words = line.split(None, 1)
    if not words:
        raise ValueError("a step is empty")
    name = words[0] if "-" in words[0] else words[0].replace("_", "-")
    if area is not None:
        x, y, width, height = (operator.index(number) for number in area)
        name += f" --area {x},{y},{width}x{height}"
    made.add_line(" ".join([name] + words[1:]))


def _seed(seed):
    if seed is None:
        return None
    number = operator.index(seed)
    if not 0 <= number < 2**32:
        raise ValueError(f"--seed: {number} is outside 0..4294967295")
    return number


class _Progress:
    """Tells a callable how far a run is: of its beginning and its end once each, whatever is left out between."""

    def __init__(self, callable_):
        self.callable, self.last = callable_, -1.0

    def begin(self):
        if self(0.0) is False:
            raise _native.Aborted("aborted")

    def __call__(self, share):
        if share <= self.last:
            return None
        self.last = share
        return self.callable(share)

    def end(self):
        if self.last < 1.0:
            self.callable(1.0)


def run(steps, native, seed=None, progress=None):
    """Runs steps on a picture of the library's, in its place."""
    if progress is not None and not callable(progress):
        raise TypeError("progress is not callable")
    told = None if progress is None else _Progress(progress)
    if told:
        told.begin()
    notices = _native.run(steps, native, _seed(seed), told, threading.current_thread() is _MAIN())
    if told:
        told.end()
    return notices


def apply(picture, steps, *, seed=None, area=None, mask=None, objects=(), progress=None, out=None, **settings):
    """Applies an effect, or several one after the other, and returns a picture of the same kind.

    picture   a numpy array (H x W x 3; H x W; H x W x 4 or x 2 with alpha as the mask; bool for 1 bit), a Pillow image
              (1, L, P, LA, RGB, RGBA), a velmorant.Picture, or anything with the buffer protocol and such a shape
    steps     "wave", "wave --amplitude 20", or a list of such lines
    seed      0 to 4294967295: what is random comes out the same every time
    area      (x, y, width, height), the selected area, for steps that name none
    mask      a picture of the same size, whose brightness is the picture's mask in place of its alpha; some effects move
              the mask along. A velmorant.Picture keeps it, an array has it where it has alpha
    objects   (picture, x, y) each: pictures that float over this one, bottom to top, and are pasted into the result
    progress  called in this thread with the share that is done, 0.0 to 1.0; answering False aborts (velmorant.Aborted)
    out       where the result goes, of the same kind; may be `picture` itself. Else nothing of yours is changed
    settings  the effect's own: amplitude=20, block_width=8, background="#FF8000" or (255, 128, 0), fade=True

    ValueError tells of wrong settings in the command line's words. Other threads run meanwhile; Ctrl-C aborts.
    """
    made = make_steps(steps, settings, area, objects)
    native, give = take(picture)
    if mask is not None:
        native.set_mask(native_of(mask))
    tell(run(made, native, seed, progress))
    return give(native, out)
