"""The notebook runs from its first cell to its last, as people run it, and shows pictures."""

import json
import os
import subprocess
import sys

import pytest
from conftest import ROOT

pytest.importorskip("nbconvert")
pytest.importorskip("ipykernel")


def test_the_notebook_runs_and_shows_pictures(tmp_path):
    # A kernel of this very interpreter, which has the package.
    subprocess.run([sys.executable, "-m", "ipykernel", "install", "--prefix", tmp_path, "--name", "python3"], check=True,
                   capture_output=True)
    environment = dict(os.environ, JUPYTER_PATH=str(tmp_path / "share" / "jupyter"), JUPYTER_PREFER_ENV_PATH="0",
                       IPYTHONDIR=str(tmp_path / "ipython"), JUPYTER_RUNTIME_DIR=str(tmp_path / "runtime"))
    told = subprocess.run([sys.executable, "-m", "nbconvert", "--to", "notebook", "--execute", "--output-dir", tmp_path,
                           "--ExecutePreprocessor.timeout=300", str(ROOT / "doors" / "python" / "tour.ipynb")],
                          capture_output=True, text=True, env=environment)
    assert told.returncode == 0, told.stderr
    cells = json.loads((tmp_path / "tour.ipynb").read_text())["cells"]
    outputs = [output.get("data", {}) for cell in cells for output in cell.get("outputs", [])]
    assert sum("image/png" in data for data in outputs) >= 2
    assert sum("data:image/png" in "".join(data.get("text/html", "")) for data in outputs) >= 5
