"""What a type checker, and with it an editor, knows of the package: right programs pass its strict rules, and a wrong word
is told with its line.
"""

import os
import subprocess
import sys
from pathlib import Path

import velmorant

PROGRAM = """
from collections.abc import Iterator
import velmorant
import velmorant.dask

def tell() -> Iterator[str]:
    for effect in velmorant.effects():
        yield from (f"{setting.name} {setting.range} {setting.meaning}" for setting in effect.settings)
    yield velmorant.effect("wave")["amplitude"].unit
    yield from (kernel.name for kernel in velmorant.kernels())
    yield from (preset.line for preset in velmorant.presets())

before = velmorant.Picture.open("in.png", page=1)
after: velmorant.Picture = velmorant.wave(before, amplitude=20, orientation="columns", background=(1, 2, 3), seed=7)
after = velmorant.apply(after, velmorant.read_recipe("grain.txt"), progress=lambda share: share < 1)
after.save("out.jpg", quality=80, subsampling=420)
changed: int | None = velmorant.compare(before, after).changed
for result in velmorant.dask.batch(["in/*.png"], "wave", "out", seed=7, progress=lambda done, count: None):
    print(result.output, result.error, *result.notices)
"""


def errors(folder, program):
    (folder / "program.py").write_text(program)
    told = subprocess.run([sys.executable, "-m", "mypy", "--strict", "--no-site-packages", "--follow-imports=silent",
                           "--cache-dir", folder / "cache", "program.py"], cwd=folder, capture_output=True, text=True,
                          env=dict(os.environ, MYPYPATH=str(Path(velmorant.__file__).parents[1])))
    assert told.stderr == ""
    return [line for line in told.stdout.splitlines() if ": error: " in line]


def test_a_type_checker_knows_what_the_package_takes_and_gives(tmp_path):
    assert errors(tmp_path, PROGRAM) == []
    wrong = errors(tmp_path, PROGRAM + """
velmorant.wave(before, orientation="colums")
velmorant.wave(before, amplitud=20)
velmorant.effects()[0].nam
velmorant.dask.batch(5, "wave", "out")
""")
    lines = PROGRAM.count("\n")
    assert [int(line.split(":")[1]) - lines for line in wrong] == [2, 3, 4, 5], wrong
