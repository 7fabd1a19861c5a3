#!/usr/bin/python3
# Plants the faults of docs/checking.md, one after the other, into copies of the module's sources, or of the minimal host's,
# builds what they belong to and has velmorant check find it. Fails when a host's fault, or more than two of the module's, are
# not found by a finding that names the right call.
#
#     tests/host/check/plant_faults.py [NUMBER...]    all of the module's, or those with these numbers, from 1
#     tests/host/check/plant_faults.py --host [NUMBER...]    the host's
#     tests/host/check/plant_faults.py --list    only whether there are as many as there should be, and each has its place
#
# The release preset is to be built before: velmorant, and VLMEFF or VLMWATCH and minimal_host.
"""Plants faults into the module or a host and has velmorant check find them."""
import json
import os
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent.parent
BUILD = ROOT / "build/release"
LEAST, THERE, HOST_THERE = 38, 40, 25
QUICK = ["noise", "shear", "wave", "mirror", "polar-coordinates", "melt"]
TARGETS = ["vlmeff_objects.dir", "vlmeff_strings.dir", "minimal_host_vlmapi.dir", "minimal_host_vlmmisc.dir", "check_driver.dir"]
ROW = re.compile(r"^\| (\S+\.cpp) \| `(.+?)` \| `(.+?)` \| (.+?) \|$")


def faults(of_host):
    """The rows of one of the two tables: file, old text, new text, what the finding is about."""
    lines = (ROOT / "docs/checking.md").read_text().splitlines()
    rows = [[word.replace("\\|", "|") for word in match.groups()] for match in map(ROW.match, lines) if match]
    return [row for row in rows if row[0].startswith("examples/") == of_host]


def commands():
    """How each source of the module and of the minimal host is compiled: file -> words, object."""
    database = json.loads((BUILD / "compile_commands.json").read_text())
    found = {}
    for entry in database:
        words = shlex.split(entry["command"])
        output = words[words.index("-o") + 1]
        if any(target in output for target in TARGETS):
            found[str(Path(entry["file"]).resolve().relative_to(ROOT))] = (words, Path(entry["directory"]) / output)
    return found


def run(words):
    """The last line of complaint of a compiler; empty when there is none."""
    done = subprocess.run(words, cwd=BUILD, capture_output=True, text=True)
    return (done.stderr.strip().splitlines() or ["failed"])[-1] if done.returncode else ""


def compile_fault(folder, fault, sources):
    """The object of a source with a fault, and a line of complaint where there is none."""
    file, old, new, _ = fault
    text = (ROOT / file).read_text()
    if text.count(old) != 1:
        return None, f"{file} has {text.count(old)} times: {old}"
    copy, output = folder / Path(file).name, folder / "changed.o"
    copy.write_text(text.replace(old, new))
    words = [word for word in sources[file][0] if word != "ccache" and not word.endswith("/ccache")]
    words[words.index("-o") + 1] = str(output)
    words[words.index("-c") + 1] = str(copy)
    return output, run(words + ["-w"])


def build_module(folder, fault, sources):
    """The module with a fault; a line of complaint where it cannot be built."""
    output, complaint = compile_fault(folder, fault, sources)
    if complaint:
        return None, complaint
    objects = [str(output if name == fault[0] else path) for name, (_, path) in sources.items() if "vlmeff" in str(path)]
    module = folder / "VLMEFF.so"
    link = ["g++", "-shared", "-o", str(module), *objects, f"-L{BUILD}/bin", "-lVLMMISC", "-lVLMAPI", "-pthread"]
    complaint = run(link)
    return (None if complaint else module), complaint


def build_host(folder, fault, sources):
    """A folder with the minimal host's libraries and driver, one of them with a fault."""
    output, complaint = compile_fault(folder, fault, sources)
    if complaint:
        return None, complaint
    host = folder / "host"
    host.mkdir()
    for name in ("libVLMAPI.so", "libVLMMISC.so", "check_driver"):
        shutil.copy(BUILD / "bin/minimal_host" / name, host)
    target = re.search(r"([^/]+)\.dir", str(sources[fault[0]][1]))[1]
    objects = [str(output if name == fault[0] else path) for name, (_, path) in sources.items()
               if f"/{target}.dir/" in str(path)]
    place, needs, kind = {
        "minimal_host_vlmapi": ("libVLMAPI.so", [], ["-shared", "-Wl,-soname,libVLMAPI.so"]),
        "minimal_host_vlmmisc": ("libVLMMISC.so", ["-lVLMAPI"], ["-shared", "-Wl,-soname,libVLMMISC.so"]),
        "check_driver": ("check_driver", ["-lVLMMISC", "-lVLMAPI", "-ldl"], ["-Wl,-rpath,$ORIGIN"]),
    }[target]
    complaint = run(["g++", *kind, "-o", str(host / place), *objects, f"-L{host}", *needs, "-pthread"])
    return (None if complaint else host), complaint


def check(words):
    """What is found."""
    words = [str(BUILD / "bin/velmorant"), "check", *words, "--json", "-"]
    done = subprocess.run(words, capture_output=True, text=True, env=dict(os.environ, VELMORANT_CHECK_PATIENCE="20"))
    if done.returncode not in (0, 1):
        return [{"check": "", "call": "", "happened": done.stderr.strip()}]
    return json.loads(done.stdout)["findings"]


def look(number, fault, sources):
    """Whether the fault is found, and a line about it."""
    of_host = fault[0].startswith("examples/")
    with tempfile.TemporaryDirectory() as folder:
        built, complaint = (build_host if of_host else build_module)(Path(folder), fault, sources)
        if not built:
            return False, f"{number}. cannot be built: {complaint}"
        # Most faults of the module are found in any effect; all of them are looked at in the end.
        tries = [["--host", built]] if of_host else [[built, "--effect", effect] for effect in QUICK] + [[built]]
        named, findings = [], []
        for words in tries:
            findings = check([str(word) for word in words])
            named = [f for f in findings if fault[3] == f["call"] or fault[3] in f["happened"]]
            if named:
                break
    wanted = fault[3]
    shown = (named or findings or [{"check": "", "call": "", "happened": "nothing was found"}])[0]
    mark = "found" if named else "MISSED"
    return bool(named), f"{number}. {mark}: {fault[0]}: {wanted}: {shown['check']} {shown['call']}: {shown['happened']}"


def look_at_list():
    """Whether the list is of this tree: sources change, and a fault without its place would be found no more."""
    bad = 0
    for of_host, there in ((False, THERE), (True, HOST_THERE)):
        rows = faults(of_host)
        if len(rows) < there:
            print(f"docs/checking.md has {len(rows)} faults of {'hosts' if of_host else 'modules'}, not {there}")
            bad += 1
        for file, old, new, _ in rows:
            count = (ROOT / file).read_text().count(old)
            if count != 1 or old == new:
                print(f"{file} has {count} times: {old}")
                bad += 1
    return 1 if bad else 0


def main():
    """Looks at all faults, or at those whose numbers are given."""
    words = sys.argv[1:]
    if words and words[0] in ("-h", "--help"):
        lines = Path(__file__).read_text().splitlines()[1:11]
        print("\n".join(line[2:] for line in lines if line.startswith("#")))
        return 0
    if words == ["--list"]:
        return look_at_list()
    of_host = words[:1] == ["--host"]
    numbers = [int(word) for word in words[of_host:]]
    rows, sources = faults(of_host), commands()
    chosen = numbers or list(range(1, len(rows) + 1))
    with ThreadPoolExecutor(2) as pool:
        results = []
        for result in pool.map(lambda number: look(number, rows[number - 1], sources), chosen):
            print(result[1], flush=True)
            results.append(result)
    found = sum(good for good, _ in results)
    print(f"{found} of {len(chosen)} faults reached: found by a finding that names the right call")
    least, there = (len(chosen), HOST_THERE) if of_host else (min(LEAST, len(chosen)), THERE)
    return 0 if found >= least and (numbers or len(rows) >= there) else 1


sys.exit(main())
