"""What the tests share: pictures of every kind from a seed, the command line, and settings drawn from the list."""

import os
import subprocess
from pathlib import Path

import numpy as np
import pytest

import velmorant

ROOT = Path(__file__).resolve().parents[3]
PROGRAM = Path(os.environ.get("VELMORANT_PROGRAM", ROOT / "build" / "release" / "bin" / "velmorant"))
TYPES = ("1-bit", "palette", "grey", "RGB")


def random_array(channels, height=37, width=53, seed=1):
    """Smooth colours with some grain, so that moving, mixing and sorting pixels all show."""
    random = np.random.default_rng(seed)
    y, x = np.mgrid[0:height, 0:width]
    planes = [(128 + 80 * np.sin(x / (3 + c) + seed) + 40 * np.cos(y / (2 + c))) for c in range(channels)]
    noisy = np.stack(planes, axis=2) + random.integers(-20, 20, (height, width, channels))
    made = np.clip(noisy, 0, 255).astype(np.uint8)
    return made[:, :, 0].copy() if channels == 1 else made


def picture_of(kind, seed=1, **size):
    """A velmorant.Picture of a type's name."""
    if kind == "1-bit":
        return velmorant.Picture(random_array(1, seed=seed, **size) > 128)
    if kind == "palette":
        colours = np.random.default_rng(seed).integers(0, 256, (200, 3))
        return velmorant.Picture(random_array(1, seed=seed, **size) % 200, palette=colours)
    return velmorant.Picture(random_array(1 if kind == "grey" else 3, seed=seed, **size))


def same(first, second):
    """Every pixel, the palette and the mask."""
    assert (first.type, first.size, first.palette) == (second.type, second.size, second.palette)
    assert np.array_equal(first.array(), second.array())
    assert (first.mask is None) == (second.mask is None)
    if first.mask is not None:
        assert np.array_equal(first.mask.array(), second.mask.array())
    return True


def random_words(effect, random):
    """Settings of an effect as the command line's words, drawn from its list."""
    words = []
    for setting in effect.settings:
        if setting.kind == "file" or setting.name in ("scope", "priority") or random.random() < 0.3:
            continue
        if setting.kind == "number":
            value = random.integers(setting.range[0], setting.range[1] + 1)
        elif setting.kind == "choice":
            value = random.choice([choice.word for choice in setting.choices])
        elif setting.kind == "switch":
            value = random.choice(["on", "off"])
        elif setting.kind == "colour":
            value = "#%02X%02X%02X" % tuple(random.integers(0, 256, 3))
        elif setting.kind == "kernel":
            value = random.choice([kernel.name for kernel in velmorant.kernels()])
        else:
            continue
        words += [f"--{setting.name}", str(value)]
    return words


def command_line(*words, cwd=None):
    return subprocess.run([str(PROGRAM), *map(str, words)], capture_output=True, text=True, cwd=cwd)


@pytest.fixture
def rgb():
    return random_array(3)
