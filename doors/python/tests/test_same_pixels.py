"""Every effect makes of every type the pixels that the command line makes, with 20 draws of its settings.

An array and a Pillow image are held against the Picture of the same pixels; VELMORANT_ROUNDS makes more draws.
"""

import os

import numpy as np
import pytest

import velmorant
from conftest import TYPES, command_line, picture_of, random_words, same

ROUNDS = int(os.environ.get("VELMORANT_ROUNDS", "20"))
EFFECTS = [effect.name for effect in velmorant.effects()]


@pytest.mark.parametrize("kind", TYPES)
@pytest.mark.parametrize("name", EFFECTS)
def test_same_pixels_as_the_command_line(name, kind, tmp_path):
    effect = velmorant.effect(name)
    picture = picture_of(kind, seed=len(name))
    picture.save(tmp_path / "in.png")
    random = np.random.default_rng([EFFECTS.index(name), TYPES.index(kind)])
    for round_ in range(ROUNDS):
        words = random_words(effect, random)
        line = " ".join([name] + [f"'{word}'" for word in words])
        seed = int(random.integers(2**32))
        told = command_line("apply", name, tmp_path / "in.png", tmp_path / "out.png", "--seed", seed, "--quiet", *words)
        try:
            result = velmorant.apply(velmorant.Picture.open(tmp_path / "in.png"), line, seed=seed)
        except ValueError as refused:
            assert told.returncode != 0 and str(refused) in told.stderr, line
            continue
        assert told.returncode == 0, (line, told.stderr)
        # A file has a palette entry for every number in it.
        assert same(velmorant.Picture.from_bytes(result.to_bytes("png")), velmorant.Picture.open(tmp_path / "out.png")), line
        if round_ == 0:
            alike(picture, line, seed, result)


def alike(picture, line, seed, result):
    """The same by way of the other kinds of pictures."""
    if picture.type != "palette":
        assert np.array_equal(velmorant.apply(picture.array(), line, seed=seed), result.array())
    image = velmorant.apply(picture.image(), line, seed=seed)
    assert np.array_equal(velmorant.Picture(image).array(), result.array())
