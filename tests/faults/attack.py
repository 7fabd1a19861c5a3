#!/usr/bin/python3
"""Attacks velmorant as a process, in a folder of its own: what the system may refuse, and ends at any moment.

    attack.py points COUNT|all    the n-th allocation, thread or use of a file is refused, once and from then on: a fixed
                                  sample of all such points, or all
    attack.py kills COUNT         kills and signals at random moments while pictures are written over

With NIGHTLY_SECONDS either stops when they are over, and says how far it came; `all` begins at another point every day.
VELMORANT_BUILD names the build's folder of programs (build/release/bin).

Each run must end with exit code 0 and the right files, or with 1, one line, and nothing changed; a killed one leaves
each picture as it was or as it was to be, and what else it leaves is gone after the next run.
"""

import concurrent.futures
import datetime
import os
import random
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import time

BUILD = os.path.abspath(os.environ.get("VELMORANT_BUILD", "build/release/bin"))
PROGRAM = os.path.join(BUILD, "velmorant")
REFUSING = os.path.join(BUILD, "librefusing.so")
DEADLINE = time.monotonic() + float(os.environ.get("NIGHTLY_SECONDS", "86400")) - 30
WORKERS = os.cpu_count() or 1


def leaf():
    """A small picture with something everywhere: rows of a gradient, and a pattern."""
    width, height = 23, 17
    rows = bytes((x * 11 + y * 7 * c + (x ^ y) * 3) & 255 for y in range(height) for x in range(width) for c in range(3))
    return b"P6 %d %d 255\n" % (width, height) + rows


def run(arguments, folder, **more):
    return subprocess.run([PROGRAM] + arguments, cwd=folder, stdin=subprocess.DEVNULL, capture_output=True, timeout=60,
                          check=False, **more)


def contents(folder):
    """Every file's bytes by its path in the folder."""
    files = {}
    for place, _, names in os.walk(folder):
        for name in names:
            if name == ".velmorant-batch":   # whose lines are in the order in which pictures were done
                continue
            path = os.path.join(place, name)
            with open(path, "rb") as file:
                files[os.path.relpath(path, folder)] = file.read()
    return files


def prepare(folder):
    with open(os.path.join(folder, "in.ppm"), "wb") as file:
        file.write(leaf())
    for ending in ("png", "bmp", "tif", "jpg"):
        run(["apply", "solarize", "in.ppm", "in." + ending], folder).check_returncode()
    run(["apply", "filters", "in.ppm", "old.png", "--kernel", "Laplace #2", "--save", "kernel.flt"], folder)
    os.mkdir(os.path.join(folder, "made"))


def commands(folder):
    """What is tried, each with the files that it may change."""
    effects = [line.split()[0] for line in run(["effects"], folder).stdout.decode().splitlines() if line[:1].isalpha()]
    for effect in effects:
        yield ["apply", effect, "in.png", "out.png", "--seed", "1", "--quiet"], ["out.png"]
    for ending in ("png", "bmp", "tif", "jpg", "ppm"):
        yield ["apply", "wave", "in." + ending, "old." + ending, "--seed", "1"], ["old." + ending]
    yield ["batch", "noise", "--seed", "1", "--jobs", "2", "--output-folder", "made", "in.png", "in.bmp", "in.ppm"], \
        ["made/in.png", "made/in.bmp", "made/in.ppm"]
    yield ["apply", "filters", "in.png", "out.png", "--load", "kernel.flt", "--seed", "1"], ["out.png"]
    yield ["apply", "filters", "in.png", "out.png", "--save", "kernel.flt", "--kernel", "Laplace #3", "--seed", "1"], \
        ["out.png", "kernel.flt"]
    yield ["apply", "wave", "in.png", "old.png", "--seed", "1", "--then", "noise", "--seed", "2"], ["old.png"]


# ---- Points

KINDS = ("MEMORY", "THREAD", "FILE")


def points_of(command, template):
    """All points of a command, and what it makes undisturbed."""
    with tempfile.TemporaryDirectory() as folder:
        shutil.copytree(template, folder, dirs_exist_ok=True)
        counts = os.path.join(folder, "counts")
        result = run(command, folder, env=dict(os.environ, LD_PRELOAD=REFUSING, COUNT_TO=counts))
        assert result.returncode == 0, (command, result.stderr)
        numbers = [int(number) for number in open(counts, encoding="ascii").read().split()]
        os.remove(counts)
        after = contents(folder)
    return [(kind, at, every) for kind, number in zip(KINDS, numbers) for at in range(1, number + 1)
            for every in (False, True)], after


def fault_at(command, changed, before, after, template, point):
    """What went wrong there; None when nothing did."""
    kind, at, every = point
    settings = {"LD_PRELOAD": REFUSING, "REFUSE_" + kind: str(at)}
    if every:
        settings["REFUSE_ALL"] = "1"
    folder = tempfile.mkdtemp()
    try:
        shutil.copytree(template, folder, dirs_exist_ok=True)
        try:
            result = run(command, folder, env=dict(os.environ, **settings))
        except subprocess.TimeoutExpired:
            return "it hangs"
        lines = result.stderr.decode(errors="replace").splitlines()
        now = contents(folder)
        if result.returncode not in (0, 1):
            return "exit code %d: %s" % (result.returncode, lines)
        if result.returncode == 0 and now != after:
            return "exit code 0, but the files are not right: %s" % lines
        if result.returncode == 1:
            batch = command[0] == "batch"
            if not lines or (len(lines) > 1 and not batch) or not all(line.startswith("velmorant: ") for line in lines):
                return "not one line: %s" % lines
            for name in set(now) | set(before):
                old, new = before.get(name), after.get(name)
                whole = name in changed and now.get(name) == new and len(changed) > 1
                if now.get(name) != old and not whole:
                    return "%s is neither as it was nor as it was to be: %s" % (name, lines)
        return None
    finally:
        shutil.rmtree(folder)


def attack_points(wanted):
    template = tempfile.mkdtemp()
    prepare(template)
    before, cases = contents(template), []
    for command, changed in commands(template):
        points, after = points_of(command, template)
        cases += [(command, changed, after, point) for point in points]
    random.Random(20).shuffle(cases)
    everything = len(cases)
    if wanted is None:
        first = datetime.date.today().toordinal() * 7919 % everything
        cases = cases[first:] + cases[:first]
    else:
        cases = cases[:wanted]

    def look(case):
        command, changed, after, point = case
        if time.monotonic() > DEADLINE:
            return "", None
        fault = fault_at(command, changed, before, after, template, point)
        return None if fault is None else (" ".join(command), (point, fault))

    done = bad = 0
    with concurrent.futures.ThreadPoolExecutor(WORKERS) as pool:
        for answer in pool.map(look, cases):
            if answer and not answer[0]:
                continue
            done += 1
            if answer:
                bad += 1
                print("velmorant %s: %s" % (answer[0], answer[1]), flush=True)
    shutil.rmtree(template)
    print("faults: reached %d of %d points, %d with faults" % (done, everything, bad))
    return bad == 0 and done > 0


# ---- Kills

SIGNALS = (signal.SIGKILL, signal.SIGKILL, signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGQUIT)


def limit_files(size):
    """As a disk that is full after so many bytes."""
    resource.setrlimit(resource.RLIMIT_FSIZE, (size, size))


def kill_once(generator, template, case):
    """What went wrong with one run that is ended at a random moment, or by a full disk; None when nothing did."""
    command, changed, before, after, seconds = case
    folder = tempfile.mkdtemp()
    try:
        shutil.copytree(template, folder, symlinks=True, dirs_exist_ok=True)
        full = generator.random() < 0.2
        size = generator.randrange(1, max(len(after[name]) for name in changed))
        with subprocess.Popen([PROGRAM] + command, cwd=folder, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                              stderr=subprocess.PIPE, preexec_fn=(lambda: limit_files(size)) if full else None) as process:
            number = None
            if not full:
                time.sleep(generator.uniform(0, 1.2 * seconds))
                number = generator.choice(SIGNALS)
                process.send_signal(number)
            errors = process.stderr.read().decode(errors="replace").splitlines()
            code = process.wait()
        left = [name for name in os.listdir(folder) if name.startswith(".velmorant-")]
        now = contents(folder)
        allowed = {0, 1} if full else {0, -9 if number == signal.SIGKILL else 130}
        # A signal before main has begun ends it as it ends any program.
        if not full and number != signal.SIGKILL:
            allowed.add(-number)
        if code not in allowed:
            return "exit code %d after %s: %s" % (code, number, errors)
        for name, old in before.items():
            new = after.get(name) if name in changed else old
            if now.get(name) not in (old, new):
                return "%s is neither as it was nor as it was to be after %s" % (name, number)
        if left and number != signal.SIGKILL:
            return "left behind after %s: %s" % (number, left)
        if run(["apply", "solarize", "small.ppm", "other.ppm"], folder).returncode != 0:
            return "nothing can be written afterwards"
        left = [name for name in os.listdir(folder) if name.startswith(".velmorant-")]
        return "still there after the next run: %s" % left if left else None
    finally:
        shutil.rmtree(folder)


def prepare_kills(folder):
    width, height = 400, 300
    with open(os.path.join(folder, "pic.ppm"), "wb") as file:
        file.write(b"P6 %d %d 255\n" % (width, height) + random.Random(1).randbytes(3 * width * height))
    with open(os.path.join(folder, "small.ppm"), "wb") as file:
        file.write(leaf())
    for ending in ("png", "bmp", "tif", "jpg"):
        run(["apply", "solarize", "pic.ppm", "pic." + ending], folder).check_returncode()
    os.symlink("pic.png", os.path.join(folder, "link.png"))
    shutil.copy(os.path.join(folder, "pic.png"), os.path.join(folder, "odd \u00fc\n name.png"))
    shutil.copy(os.path.join(folder, "pic.bmp"), os.path.join(folder, "n" * 251 + ".bmp"))


def attack_kills(count):
    template = tempfile.mkdtemp()
    prepare_kills(template)
    cases = []
    for name, file in [("pic." + ending, "pic." + ending) for ending in ("png", "bmp", "tif", "jpg", "ppm")] + \
            [("link.png", "pic.png"), ("odd \u00fc\n name.png", "odd \u00fc\n name.png"), ("n" * 251 + ".bmp",) * 2]:
        command = ["apply", "noise", name, name, "--seed", "1", "--quiet"]
        with tempfile.TemporaryDirectory() as folder:
            shutil.copytree(template, folder, symlinks=True, dirs_exist_ok=True)
            before, start = contents(folder), time.monotonic()
            run(command, folder).check_returncode()
            changed = {file, name} | ({"link.png"} if file == "pic.png" else set())
            cases.append((command, changed, before, contents(folder), time.monotonic() - start))
    seed = random.randrange(1 << 32)
    print("kills: seed %d" % seed)

    def look(i):
        if time.monotonic() > DEADLINE:
            return ""
        generator = random.Random(seed + i)
        fault = kill_once(generator, template, generator.choice(cases))
        return fault and "run %d: %s" % (i, fault)

    done = bad = 0
    with concurrent.futures.ThreadPoolExecutor(WORKERS) as pool:
        for answer in pool.map(look, range(count)):
            done += answer != ""
            if answer:
                bad += 1
                print(answer, flush=True)
    shutil.rmtree(template)
    print("kills: reached %d of %d runs, %d with faults" % (done, count, bad))
    return bad == 0 and done > 0


def main():
    if len(sys.argv) == 3 and sys.argv[1] == "points" and (sys.argv[2] == "all" or sys.argv[2].isdigit()):
        good = attack_points(None if sys.argv[2] == "all" else int(sys.argv[2]))
    elif len(sys.argv) == 3 and sys.argv[1] == "kills" and sys.argv[2].isdigit():
        good = attack_kills(int(sys.argv[2]))
    else:
        print(__doc__, file=sys.stderr)
        return 2
    return 0 if good else 1


sys.exit(main())
