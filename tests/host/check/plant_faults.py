#!/usr/bin/python3
# Plants the faults of docs/checking.md, one after the other, into copies of the module's sources, builds each module and has
# velmorant check find it. Fails when fewer than 38 are found by a finding that names the right call.
#
#     tests/host/check/plant_faults.py [NUMBER...]    all of them, or those with these numbers, from 1
#
# The release preset is to be built before: velmorant, VLMEFF.
"""Plants faults into the module and has velmorant check find them."""
import json
import os
import re
import shlex
import subprocess
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent.parent
BUILD = ROOT / "build/release"
LEAST = 38
QUICK = ["noise", "shear", "wave", "mirror", "polar-coordinates", "melt"]
ROW = re.compile(r"^\| (\S+\.cpp) \| `(.+?)` \| `(.+?)` \| (.+?) \|$")


def faults():
    """The rows of the table: file, old text, new text, what the finding is about."""
    lines = (ROOT / "docs/checking.md").read_text().splitlines()
    return [match.groups() for match in map(ROW.match, lines) if match]


def commands():
    """How each source of the module is compiled: file -> words, object."""
    database = json.loads((BUILD / "compile_commands.json").read_text())
    found = {}
    for entry in database:
        words = shlex.split(entry["command"])
        output = words[words.index("-o") + 1]
        if "vlmeff_objects.dir" in output or "vlmeff_strings.dir" in output:
            found[str(Path(entry["file"]).resolve().relative_to(ROOT))] = (words, Path(entry["directory"]) / output)
    return found


def build(folder, fault, sources):
    """The module with a fault; a line of complaint where it cannot be built."""
    file, old, new, _ = fault
    text = (ROOT / file).read_text()
    if text.count(old) != 1:
        return None, f"{file} has {text.count(old)} times: {old}"
    copy, output = folder / Path(file).name, folder / "changed.o"
    copy.write_text(text.replace(old, new))
    words, _ = sources[file]
    words = [word for word in words if word != "ccache" and not word.endswith("/ccache")]
    words[words.index("-o") + 1] = str(output)
    words[words.index("-c") + 1] = str(copy)
    done = subprocess.run(words + ["-w"], cwd=BUILD, capture_output=True, text=True)
    if done.returncode:
        return None, done.stderr.strip().splitlines()[0]
    objects = [str(output if name == file else path) for name, (_, path) in sources.items()]
    module = folder / "VLMEFF.so"
    link = ["g++", "-shared", "-o", str(module), *objects, f"-L{BUILD}/bin", "-lVLMMISC", "-lVLMAPI", "-pthread"]
    done = subprocess.run(link, capture_output=True, text=True)
    return (module, "") if done.returncode == 0 else (None, done.stderr.strip().splitlines()[-1])


def check(module, effect):
    """What is found in one effect, or in all."""
    words = [str(BUILD / "bin/velmorant"), "check", str(module), "--json", "-"] + (["--effect", effect] if effect else [])
    done = subprocess.run(words, capture_output=True, text=True, env=dict(os.environ, VELMORANT_CHECK_PATIENCE="20"))
    if done.returncode not in (0, 1):
        return [{"check": "", "call": "", "happened": done.stderr.strip()}]
    return json.loads(done.stdout)["findings"]


def look(number, fault, sources):
    """Whether the fault is found, and a line about it."""
    with tempfile.TemporaryDirectory() as folder:
        module, complaint = build(Path(folder), fault, sources)
        if not module:
            return False, f"{number}. cannot be built: {complaint}"
        named, findings = [], []
        for effect in QUICK + [None]:   # most are found in any effect; all of them are looked at in the end
            findings = check(module, effect)
            named = [f for f in findings if fault[3] == f["call"] or fault[3] in f["happened"]]
            if named:
                break
    wanted = fault[3]
    shown = (named or findings or [{"check": "", "call": "", "happened": "nothing was found"}])[0]
    mark = "found" if named else "MISSED"
    return bool(named), f"{number}. {mark}: {fault[0]}: {wanted}: {shown['check']} {shown['call']}: {shown['happened']}"


def main():
    """Looks at all faults, or at those whose numbers are given."""
    if len(sys.argv) > 1 and sys.argv[1] in ("-h", "--help"):
        lines = Path(__file__).read_text().splitlines()[1:9]
        print("\n".join(line[2:] for line in lines if line.startswith("#")))
        return 0
    rows, sources = faults(), commands()
    chosen = [int(word) for word in sys.argv[1:]] or list(range(1, len(rows) + 1))
    with ThreadPoolExecutor(2) as pool:
        results = []
        for result in pool.map(lambda number: look(number, rows[number - 1], sources), chosen):
            print(result[1], flush=True)
            results.append(result)
    found = sum(good for good, _ in results)
    print(f"{found} of {len(chosen)} faults reached: found by a finding that names the right call")
    return 0 if found >= min(LEAST, len(chosen)) and (len(sys.argv) > 1 or len(rows) >= 40) else 1


sys.exit(main())
