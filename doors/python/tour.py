"""Runs the notebook tour.ipynb from its first cell to its last in this interpreter, which has the package, and keeps what it
shows in it, for people who look at it on a web page. A test runs it too and holds what is kept against that.

    build/python/bin/python3 doors/python/tour.py --store
"""

import json
import os
import subprocess
import sys
import tempfile
from pathlib import Path

NOTEBOOK = Path(__file__).resolve().parent / "tour.ipynb"


def executed(folder):
    """The notebook as a record, with the outputs of this run; `folder` is for what Jupyter keeps beside it."""
    subprocess.run([sys.executable, "-m", "ipykernel", "install", "--prefix", folder, "--name", "python3"], check=True,
                   capture_output=True)
    environment = dict(os.environ, JUPYTER_PATH=f"{folder}/share/jupyter", JUPYTER_PREFER_ENV_PATH="0",
                       IPYTHONDIR=f"{folder}/ipython", JUPYTER_RUNTIME_DIR=f"{folder}/runtime")
    told = subprocess.run([sys.executable, "-m", "nbconvert", "--to", "notebook", "--execute", "--output-dir", folder,
                           "--ExecutePreprocessor.timeout=300", NOTEBOOK], capture_output=True, text=True, env=environment)
    if told.returncode:
        raise RuntimeError(told.stderr)
    return json.loads((Path(folder) / NOTEBOOK.name).read_text())


def stored(made):
    """Without what differs from run to run: times, and what this machine's interpreter is."""
    notebook = json.loads(NOTEBOOK.read_text())
    for cell, run in zip(notebook["cells"], made["cells"]):
        if cell["cell_type"] == "code":
            cell["outputs"], cell["execution_count"] = run["outputs"], run["execution_count"]
    return json.dumps(notebook, indent=1, ensure_ascii=False) + "\n"


if __name__ == "__main__":
    if sys.argv[1:] != ["--store"]:
        sys.exit(__doc__.strip())
    with tempfile.TemporaryDirectory() as place:
        NOTEBOOK.write_text(stored(executed(place)))
