"""Values in Python's types as the command line's words, and what is wrong with them in its own words. Whether an effect
takes a word is for the library to say.
"""

import operator
import os


def _numbers(value):
    """Numbers, rows of numbers or an array of them, apart by commas."""
    parts = []
    for part in value:
        parts.append(_numbers(part) if hasattr(part, "__iter__") and not isinstance(part, str) else text_of(part))
    return ",".join(parts)


def _whole(value):
    """The number, or None where it is none."""
    try:
        return operator.index(value)
    except TypeError:
        return None


def text_of(value, name=""):
    """A value as the command line writes it; `name` is the setting's."""
    if isinstance(value, str):
        return value
    if isinstance(value, bool) or type(value).__name__ == "bool_":
        return "on" if value else "off"
    if isinstance(value, os.PathLike):
        return os.fspath(value)
    if hasattr(value, "__iter__"):
        parts = list(value)
        if name.endswith(("colour", "background")) and len(parts) == 3:
            bytes_ = [_whole(part) for part in parts]
            if all(part is not None and 0 <= part <= 255 for part in bytes_):
                return "#%02X%02X%02X" % tuple(bytes_)
        return _numbers(parts)
    number = _whole(value)
    return str(value if number is None else number)


def whole(value, name, low, high):
    """A whole number of a range; ValueError for everything else."""
    number = None if isinstance(value, bool) else _whole(value)
    if number is None or not low <= number <= high:
        raise ValueError(f"--{name}: '{value}' is not a whole number of {low}..{high}")
    return number


def one_of(value, name, words):
    if isinstance(value, bool) or value not in words:
        raise ValueError(f"--{name}: '{value}' is none of {', '.join(map(str, words))}")
    return value


def area_of(area):
    """(x, y, width, height) as the command line's X,Y,WIDTHxHEIGHT; what has another form is left for it to refuse."""
    if isinstance(area, str) or not hasattr(area, "__iter__"):
        return str(area)
    parts = [text_of(part) for part in area]
    return ",".join(parts[:3]) + "x" + parts[3] if len(parts) == 4 else ",".join(parts)


def seed_of(seed):
    return None if seed is None else whole(seed, "seed", 0, 2**32 - 1)


def lines_of(steps):
    """A step, or several, as a list of lines."""
    lines = [steps] if isinstance(steps, str) else steps
    if isinstance(lines, (bytes, dict)) or not hasattr(lines, "__iter__"):
        raise ValueError(f"steps are a text such as 'wave --amplitude 20', or a list of such texts, not {steps!r}")
    lines = list(lines)
    if not lines:
        raise ValueError("there are no steps")
    for line in lines:
        if not isinstance(line, str):
            raise ValueError(f"a step is a text such as 'wave --amplitude 20', not {line!r}")
    return lines
