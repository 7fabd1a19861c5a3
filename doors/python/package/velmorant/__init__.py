"""The effects, for Python.

    import velmorant
    velmorant.apply(picture, "wave", amplitude=20, orientation="columns")
    velmorant.wave(picture, amplitude=20)                                    # the same
    velmorant.apply(picture, ["wave --amplitude 20", "noise --amount 5"], seed=7)

A picture is a numpy array, a Pillow image, a velmorant.Picture or anything with the buffer protocol, and the same kind
comes back. velmorant.effects() lists the effects; help(velmorant.wave) tells of one.
"""

import atexit as _atexit
import os as _os

from . import _native
from ._apply import Notice, apply
from ._catalogue import Choice, Effect, Kernel, Setting, effect, effects, kernel, kernels
from ._compare import Comparison, compare
from ._native import Aborted, Forked, NoThread
from ._pictures import Picture
from ._recipes import (Preset, delete_preset, parse_recipe, preset, presets, read_recipe, recipe_text, rename_preset,
                       save_preset, write_recipe)

__version__ = _native.version()
_own = ["Aborted", "Choice", "Comparison", "Effect", "Forked", "Kernel", "NoThread", "Notice", "Picture", "Preset", "Setting",
        "apply", "compare", "delete_preset", "effect", "effects", "kernel", "kernels", "parse_recipe", "preset", "presets",
        "read_recipe", "recipe_text", "rename_preset", "save_preset", "write_recipe"]

_atexit.register(_native.end_calls)
_os.register_at_fork(after_in_child=_native.forget_parent)


# An effect's function is made when it is asked for, so that an import alone starts nothing.
def __getattr__(name):
    if name == "__all__":
        from ._functions import names
        return _own + names()
    if not name.startswith("_"):
        from ._functions import function_named
        function = function_named(name)
        if function:
            globals()[name] = function
            return function
    raise AttributeError(f"module 'velmorant' has no attribute '{name}'")


def __dir__():
    from ._functions import names
    return sorted(set(globals()) | set(names()))
