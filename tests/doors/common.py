"""What the tests of the doors share: the build's programs, pictures drawn for the purpose, and the command line's result
for the same picture. The pictures are compared as samples, never by a program's exit code alone."""

import json
import os
import pathlib
import subprocess

from PIL import Image

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ.get("VELMORANT_DOORS", ROOT / "build" / "doors"))
VELMORANT = BUILD / "bin" / "velmorant"


def run(*command, environment=None, timeout=120):
    """A program's outcome with what it printed."""
    return subprocess.run([str(word) for word in command], capture_output=True, timeout=timeout,
                          env={**os.environ, **(environment or {})}, check=False)


def effects():
    """All effects that keep a picture's size, with their settings, as the library tells them."""
    listed = json.loads(run(VELMORANT, "effects", "--json").stdout)
    return [effect for effect in listed if effect["name"] not in ("mirror", "shear")]


def settings(effect):
    """The settings that doors offer: not those of files, nor the two that every effect has."""
    return [setting for setting in effect["parameters"]
            if setting["name"] not in ("scope", "priority") and setting["kind"] != "file"]


def draws(effect):
    return effect["name"] in ("noise", "tiles", "slices", "random-shear", "melt")


def picture(width, height, mode="RGB", seed=1):
    """A picture of smooth ramps with grain, the same for the same seed; alpha, where there is one, goes over to nothing."""
    state = seed * 2654435761 % 2**32
    samples = bytearray()
    for y in range(height):
        for x in range(width):
            state = (state * 1664525 + 1013904223) % 2**32
            grain = state >> 27
            colour = [(x * 200 // width + grain) % 256, (y * 200 // height + grain) % 256, (x * y + grain) % 256]
            samples += bytes([colour[0]] if mode in ("L", "LA") else colour)
            if mode in ("LA", "RGBA"):
                samples.append((x * 7 + y * 3) % 256)
    return Image.frombytes(mode, (width, height), bytes(samples))


def applied(folder, source, effect, *options):
    """The picture that `velmorant apply` makes of a picture."""
    before, after = folder / "before.png", folder / "after.png"
    source.save(before)
    outcome = run(VELMORANT, "apply", effect, before, after, "--quiet", *options)
    assert outcome.returncode == 0, outcome.stderr.decode()
    with Image.open(after) as result:
        result.load()
        return result
