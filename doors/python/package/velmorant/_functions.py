"""One function per effect, made from the library's list: signature and docstring teach what the list says."""

import inspect
import keyword

from . import _apply, _catalogue

# After an effect's own settings every function takes what apply takes.
COMMON = ("seed", "area", "mask", "objects", "progress", "out")
_COMMON_DEFAULTS = {"objects": ()}


# What a step may say besides its settings, where its effect takes it; and the words for it.
BESIDES = {"edges": ("wrap", "mirror", "clamp"), "fringe": ("clean", "as-is")}
_BESIDES_MEAN = {"edges": "how the picture goes on beyond its border. Without it as in the effect's dialog",
                 "fringe": "how colours mix where a mask ends. Without it alpha is clean and a mask of its own as it is"}


def besides(effect):
    return [name for name in BESIDES if getattr(effect, "takes_" + name)]


def default_of(setting):
    """As a signature shows it; a kernel's 49 numbers are not worth showing."""
    return None if setting.kind in ("kernel", "file") else setting.default


def settings_of(effect):
    return [setting for setting in effect.settings
            if setting.keyword.isidentifier() and not keyword.iskeyword(setting.keyword)]


def _line(setting):
    facts = []
    if setting.range and setting.kind == "number":
        facts.append(f"{setting.range[0]} to {setting.range[1]}" + (f" {setting.unit}" if setting.unit else "")
                     + " or a share of the smaller edge as '2%'" * setting.in_pixels)
    if setting.kind == "kernel":
        facts.append(f"a ready-made one's name, or 49 numbers of {setting.range[0]} to {setting.range[1]}, row by row")
    if setting.kind == "colour":
        facts.append("'#RRGGBB' or (red, green, blue)")
    if setting.kind == "switch":
        facts.append("True or False")
    if setting.kind == "file":
        facts.append("a file's name")
    if default_of(setting) is not None:
        facts.append(f"default {default_of(setting)!r}")
    lines = [f"    {setting.keyword}: {', '.join(facts)}" + (f". {setting.meaning}" if setting.meaning else "")]
    lines += [f"        {choice.word!r}: {choice.meaning or choice.label}" for choice in setting.choices]
    return "\n".join(lines)


def docstring(effect):
    """What help() and editors show."""
    parts = [f"{effect.title}: {effect.summary}.", effect.about,
             f"Works on {', '.join(effect.types)} pictures." + (" May change the size." * effect.changes_size)
             + (" Draws random numbers: a seed matters." * effect.draws),
             "Settings:\n" + "\n".join([_line(setting) for setting in settings_of(effect)] + [
                 f"    {name}: {' or '.join(map(repr, BESIDES[name]))}. {_BESIDES_MEAN[name]}" for name in besides(effect)]),
             "picture, seed, area, mask, objects, progress and out are those of velmorant.apply.",
             f"On the command line: velmorant apply {effect.name} in.png out.png {effect.example}".rstrip()]
    return "\n\n".join(part for part in parts if part)


def _signature(effect):
    Parameter = inspect.Parameter
    own = [Parameter(setting.keyword, Parameter.KEYWORD_ONLY, default=default_of(setting))
           for setting in settings_of(effect)]
    own += [Parameter(name, Parameter.KEYWORD_ONLY, default=None) for name in besides(effect)]
    common = [Parameter(name, Parameter.KEYWORD_ONLY, default=_COMMON_DEFAULTS.get(name)) for name in COMMON]
    return inspect.Signature([Parameter("picture", Parameter.POSITIONAL_OR_KEYWORD)] + own + common)


def make(effect):
    def function(picture, **given):
        return _apply.apply(picture, effect.name, **given)
    function.__name__ = function.__qualname__ = effect.function
    function.__module__ = "velmorant"
    function.__doc__ = docstring(effect)
    function.__signature__ = _signature(effect)
    return function


def names():
    return [effect.function for effect in _catalogue.effects()]


def function_named(name):
    for effect in _catalogue.effects():
        if effect.function == name:
            return make(effect)
    return None
