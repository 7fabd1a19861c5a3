"""velmorant.apply: settings and steps in Python's words become the command line's, and a run is made of them."""

import shlex
import threading

from . import _native
from ._pictures import Notice, give_mask, native_of, take, tell   # noqa: F401: the package gives Notice away
from ._words import area_of, lines_of, seed_of, text_of, whole

_MAIN = threading.main_thread


def make_steps(steps, settings=None, area=None, objects=()):
    """Steps of the library: an effect's name, a line of the command line, or several of either."""
    lines = lines_of(steps)
    if settings and len(lines) > 1:
        raise ValueError("settings as keyword arguments belong to a single step")
    made = _native.Steps()
    for line in lines:
        _add_line(made, line, area)
    for keyword, value in (settings or {}).items():
        if value is not None:
            name = keyword.replace("_", "-")
            made.set(0, name, text_of(value, name))
    for floating in objects or ():
        _add_object(made, floating)
    return made


def _add_object(made, floating):
    try:
        picture, x, y = floating
    except (TypeError, ValueError):
        raise ValueError(f"objects are (picture, x, y) each, not {type(floating).__name__}") from None
    farthest = 2**31 - 1
    made.add_object(0, native_of(picture), whole(x, "object", -farthest, farthest), whole(y, "object", -farthest, farthest))


# The area stands before a step's own words: what a step says itself counts.
def _add_line(made, line, area):
    words = line.split(None, 1)
    if not words:
        raise ValueError("a step is empty")
    name = words[0] if "-" in words[0] else words[0].replace("_", "-")
    if area is not None:
        name += " --area " + shlex.quote(area_of(area))
    made.add_line(" ".join([name] + words[1:]))


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
    notices = _native.run(steps, native, seed_of(seed), told, threading.current_thread() is _MAIN())
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
        give_mask(native, mask)
    tell(run(made, native, seed, progress))
    return give(native, out)
