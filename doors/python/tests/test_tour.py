"""The notebook runs from its first cell to its last, as people run it, and what it has stored is what it shows: the same
words and the same pixels."""

import base64
import io
import re
import sys

import numpy as np
import PIL.Image
import pytest
from conftest import ROOT

pytest.importorskip("nbconvert")
pytest.importorskip("ipykernel")
sys.path.insert(0, str(ROOT / "doors" / "python"))

import tour   # noqa: E402

EMBEDDED = re.compile(r"data:image/png;base64,([A-Za-z0-9+/=]+)")


def pixels(encoded):
    with PIL.Image.open(io.BytesIO(base64.b64decode(encoded))) as image:
        return np.asarray(image.convert("RGBA"))


def shown(notebook):
    """The words of every output, and the pixels of every picture."""
    words, pictures = [], []
    for cell in notebook["cells"]:
        for output in cell.get("outputs", []):
            data = {kind: "".join(text) for kind, text in output.get("data", {}).items()}
            page = data.get("text/html", "")
            pictures += [pixels(encoded) for encoded in EMBEDDED.findall(page)]
            pictures += [pixels(data["image/png"])] if "image/png" in data else []
            words += ["".join(output.get("text", "")), data.get("text/plain", ""), EMBEDDED.sub("", page)]
    return words, pictures


def test_the_notebook_runs_and_has_stored_what_it_shows(tmp_path):
    stored = tour.NOTEBOOK.read_text()
    words, pictures = shown(tour.executed(tmp_path))
    assert len(pictures) >= 12
    kept_words, kept_pictures = shown(tour.json.loads(stored))
    again = "doors/python/tour.py --store brings it up to date"
    assert kept_words == words, again
    assert len(kept_pictures) == len(pictures), again
    assert all(np.array_equal(kept, made) for kept, made in zip(kept_pictures, pictures)), again
    assert len(stored) < 600_000
    assert not re.search(r"/tmp/|/home/|/root/|" + re.escape(str(ROOT)), EMBEDDED.sub("", stored))
