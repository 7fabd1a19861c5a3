"""Many pictures: on this machine's threads, by the shell's command, and on a Dask cluster of three worker processes, of
which one is killed in the middle and one has no memory left. What comes out is always the same.
"""

import json
import os
import signal
import socket
import subprocess
import sys
import warnings
from pathlib import Path

import numpy as np
import pytest

import velmorant
import velmorant.batch
import velmorant.dask
from conftest import command_line, random_array

STEPS = ["wave --amplitude 9", "noise --amount 30"]
COUNT = 24


def draw(folder, count=COUNT, side=64):
    folder.mkdir()
    for i in range(count):
        velmorant.Picture(random_array(3, side + i, side, seed=i)).save(folder / f"{i:03}.png")
    return folder


def contents(folder):
    """What people see: a worker that is killed in mid-writing leaves a hidden file behind."""
    return {file.name: file.read_bytes() for file in Path(folder).iterdir() if not file.name.startswith(".")}


@pytest.fixture(scope="module")
def inputs(tmp_path_factory):
    return draw(tmp_path_factory.mktemp("many") / "in")


@pytest.fixture(scope="module")
def expected(inputs, tmp_path_factory):
    """What the local batch makes of them with seed 7."""
    folder = tmp_path_factory.mktemp("expected") / "out"
    results = list(velmorant.dask.batch(f"{inputs}/*.png", STEPS, folder, seed=7))
    assert [result.status for result in results] == ["done"] * COUNT
    return contents(folder)


#---- On this machine

def test_picture_i_has_the_seed_n_plus_i(inputs, expected, tmp_path):
    for i in (0, 5):
        name = f"{i:03}.png"
        command_line("apply", "wave", inputs / name, tmp_path / "a.png", "--amplitude", 9)
        command_line("apply", "noise", tmp_path / "a.png", tmp_path / "b.png", "--amount", 30, "--seed", 7 + i)
        assert (tmp_path / "b.png").read_bytes() == expected[name]


@pytest.mark.parametrize("threads", [1, 5])
def test_threads_do_not_matter(inputs, expected, tmp_path, threads):
    shares = []
    list(velmorant.dask.batch([f"{inputs}/*.png"], STEPS, tmp_path / "out", seed=7, threads=threads,
                              progress=lambda done, count: shares.append((done, count))))
    assert contents(tmp_path / "out") == expected
    assert shares == [(i + 1, COUNT) for i in range(COUNT)]


def test_notices_go_with_their_pictures_and_the_programs_own_warnings_stay_its_own(inputs, tmp_path):
    with warnings.catch_warnings(record=True) as heard:
        warnings.simplefilter("always")
        before = warnings.filters[:], warnings.showwarning
        steps = ["filters --iterations 14"]   # without the mode that counts them
        results = list(velmorant.dask.batch(f"{inputs}/*.png", steps, tmp_path / "out", threads=5))
        assert (warnings.filters, warnings.showwarning) == before
        assert not heard
        warnings.warn("the program's own")
        assert len(heard) == 1
    assert all(any("iterations" in notice for notice in result.notices) for result in results)


def test_what_is_whole_is_skipped_and_what_is_not_is_made(inputs, expected, tmp_path):
    out = tmp_path / "out"
    list(velmorant.dask.batch([inputs / f"{i:03}.png" for i in range(10)], STEPS, out, seed=7))
    (out / "004.png").write_bytes(expected["004.png"][:-40])
    (out / "005.png").write_bytes(b"")
    results = list(velmorant.dask.batch(f"{inputs}/*.png", STEPS, out, seed=7))
    assert sorted(r.index for r in results if r.status == "skipped") == [0, 1, 2, 3, 6, 7, 8, 9]
    assert contents(out) == expected
    again = list(velmorant.dask.batch(f"{inputs}/*.png", "solarize", out, resume=False))
    assert [r.status for r in again] == ["done"] * COUNT and contents(out) != expected


def test_results_of_other_settings_are_made_again(inputs, expected, tmp_path):
    files, out = [inputs / f"{i:03}.png" for i in range(6)], tmp_path / "out"

    def batch(steps=STEPS, names=files, **words):
        results = list(velmorant.dask.batch(names, steps, out, **{"seed": 7, **words}))
        return [r.index for r in sorted(results, key=lambda r: r.index) if r.again], {r.status for r in results}
    assert batch() == ([], {"done"}) and batch() == ([], {"skipped"})
    assert batch(["wave --amplitude 10", STEPS[1]]) == ([0, 1, 2, 3, 4, 5], {"done"})
    assert batch(names=files[:2]) == ([0, 1], {"done"})   # as of a batch that was stopped
    assert batch() == ([2, 3, 4, 5], {"done", "skipped"})
    assert contents(out) == {name: data for name, data in expected.items() if name < "006"}
    assert batch(["wave  --amplitude=9", STEPS[1]]) == ([], {"skipped"})   # the same in other words
    assert batch(seed=8) == ([0, 1, 2, 3, 4, 5], {"done"})
    assert batch(names=files[1:], seed=9) == ([0, 1, 2, 3, 4], {"done"})
    assert batch(names=files[1:], seed=9) == ([], {"skipped"})
    assert batch(names=files[2:], seed=9)[0] == [0, 1, 2, 3]   # other numbers in the list, so other seeds
    assert batch(seed=None) == ([0, 1, 2, 3, 4, 5], {"done"}) and batch(seed=None) == ([], {"skipped"})
    assert batch(quality=40)[0] == [0, 1, 2, 3, 4, 5]
    with open(out / ".velmorant-batch", "a") as record:
        record.write('{"output": "000.png", "set')   # a batch that was killed in mid-line
    assert batch(quality=40) == ([], {"skipped"})
    (out / ".velmorant-batch").unlink()
    assert batch() == ([], {"skipped"})   # nothing is known of them


def test_a_record_in_a_store_is_kept(inputs):
    words = [[inputs / "000.png", inputs / "001.png"], "wave", "memory://kept/out"]
    assert {r.status for r in velmorant.dask.batch(*words)} == {"done"}
    assert {r.status for r in velmorant.dask.batch(*words)} == {"skipped"}
    words[1] = "wave --amplitude 3"
    assert [(r.status, r.again) for r in velmorant.dask.batch(*words)] == [("done", True)] * 2


def test_a_record_that_grows_is_written_anew(tmp_path):
    from velmorant._record import Record
    for _ in range(600):
        record = Record(tmp_path, "wave\n")
        record.begin()
        record.note("a.png", 7)
        record.note("b.png", None)
        record.end()
    assert len((tmp_path / ".velmorant-batch").read_text().splitlines()) < 1100
    assert Record(tmp_path, "wave\n").known == {"a.png": (record.settings, 7), "b.png": (record.settings, None)}


def test_a_bad_picture_is_one_line_and_the_rest_go_on(tmp_path):
    folder = draw(tmp_path / "in", 4)
    (folder / "001.png").write_bytes(b"nothing")
    results = {r.index: r for r in velmorant.dask.batch(f"{folder}/*", STEPS, tmp_path / "out")}
    assert results[1].status == "failed" and "001.png" in results[1].error and "\n" not in results[1].error
    assert [results[i].status for i in (0, 2, 3)] == ["done"] * 3


def test_wrong_batches_are_refused_before_anything_is_read(inputs, tmp_path):
    for files, steps, output in ((f"{inputs}/*.png", "wav", tmp_path), (f"{inputs}/*.png", "wave --amplitude 999", tmp_path),
                                 (f"{inputs}/*.png", "wave", inputs), (f"{inputs}/*.xyz", "wave", tmp_path), ([], "wave", tmp_path),
                                 ([inputs / "000.png", inputs / "000.png"], "wave", tmp_path), (f"{inputs}/*.png", [], tmp_path)):
        with pytest.raises(ValueError):
            velmorant.dask.batch(files, steps, output)
    for words in ({"quality": 500}, {"format": "xyz"}, {"seed": -1}):
        with pytest.raises(ValueError):
            velmorant.dask.batch(f"{inputs}/*.png", "wave", tmp_path / "out", **words)
    assert not (tmp_path / "out").exists()


def test_addresses_are_read_and_written(inputs, expected, tmp_path):
    import fsspec
    store = fsspec.filesystem("memory")
    for file in inputs.iterdir():
        store.pipe_file(f"/many/in/{file.name}", file.read_bytes())
    list(velmorant.dask.batch("memory://many/in/*.png", STEPS, "memory://many/out", seed=7))
    assert {Path(name).name: store.cat_file(name) for name in store.ls("/many/out", detail=False)
            if "/." not in name} == expected
    list(velmorant.dask.batch(f"file://{inputs}/*.png", STEPS, f"file://{tmp_path}/out", seed=7))
    assert contents(tmp_path / "out") == expected


#---- From the shell

def shell(*words):
    return subprocess.run([sys.executable, "-m", "velmorant.batch", *map(str, words)], capture_output=True, text=True)


def test_the_command_takes_a_recipe_and_reports(inputs, expected, tmp_path):
    recipe = tmp_path / "grainy.txt"
    recipe.write_text("velmorant recipe 1\n# grain on waves\n\n" + "\n".join(STEPS) + "\n")
    told = shell(recipe, f"{inputs}/*.png", "--output", tmp_path / "out", "--seed", 7, "--report", tmp_path / "report")
    assert told.returncode == 0 and told.stdout.endswith(f"{COUNT} done, 0 skipped, 0 failed\n")
    assert contents(tmp_path / "out") == expected
    lines = [json.loads(line) for line in (tmp_path / "report").read_text().splitlines()]
    assert sorted(line["seed"] for line in lines) == list(range(7, 7 + COUNT))
    recipe.write_text("velmorant recipe 1\nwave --amplitude 999\n")
    told = shell(recipe, f"{inputs}/*.png", "--output", tmp_path / "out")
    assert told.returncode == 1 and f"{recipe}: line 2: --amplitude: 999" in told.stderr, told.stderr
    (tmp_path / "bad.png").write_bytes(b"")
    told = shell("wave", tmp_path / "bad.png", "--output", tmp_path / "out")
    assert told.returncode == 1 and "bad.png" in told.stderr and told.stderr.count("\n") == 1
    assert shell("wav", tmp_path / "bad.png", "--output", tmp_path / "out").returncode == 1
    assert shell("wave").returncode == 2


#---- On a cluster

class Cluster:
    """A scheduler and workers as processes of their own, as they are on many machines."""

    def __init__(self, folder):
        with socket.socket() as free:
            free.bind(("127.0.0.1", 0))
            port = free.getsockname()[1]
        self.address, self.folder, self.processes = f"tcp://127.0.0.1:{port}", folder, []
        self.start("dask_scheduler", "--host", "127.0.0.1", "--port", port, "--no-dashboard")

    def start(self, program, *words):
        log = open(self.folder / f"{len(self.processes)}.log", "w")
        environment = dict(os.environ, PYTHONPATH=os.pathsep.join(filter(None, [str(Path(__file__).parent),
                                                                               os.environ.get("PYTHONPATH")])),
                           DASK_DISTRIBUTED__WORKER__MEMORY__PAUSE="False")
        self.processes.append(subprocess.Popen([sys.executable, "-m", f"distributed.cli.{program}", *map(str, words)],
                                               stdout=log, stderr=log, cwd=self.folder, env=environment))

    def worker(self, *words):
        self.start("dask_worker", self.address, "--nthreads", 1, "--no-dashboard", "--memory-limit", 0,
                   "--local-directory", self.folder, *words)

    def stop(self):
        """Workers see that the process that started them has ended, and end too."""
        for process in self.processes:
            process.kill()
            process.wait()


@pytest.fixture
def cluster(tmp_path):
    made = Cluster(tmp_path)
    yield made
    made.stop()


def client_of(cluster, workers):
    distributed = pytest.importorskip("distributed")
    client = distributed.Client(cluster.address, timeout=60)
    client.wait_for_workers(workers, timeout=90)
    return client


def test_a_killed_worker_loses_nothing(cluster, inputs, expected, tmp_path):
    distributed = pytest.importorskip("distributed")
    for _ in range(3):
        cluster.worker()
    with client_of(cluster, 3) as client:
        elsewhere = velmorant.dask._Elsewhere(client)
        assert len(elsewhere.workers((0,), "tcp://127.0.0.1:1")) == 3
        lonely = client.submit(os.getpid, workers=["tcp://127.0.0.1:1"])   # a worker that is not there
        elsewhere.waiting[lonely.key] = lonely, ["tcp://127.0.0.1:1"]
        assert elsewhere.next(distributed.as_completed([lonely]), {}).status == "cancelled"

        victim = list(client.run(os.getpid).values())[0]
        results = []
        for result in velmorant.dask.batch(f"{inputs}/*.png", STEPS, tmp_path / "out", client, seed=7):
            results.append(result)
            if len(results) == 3:
                os.kill(victim, signal.SIGKILL)
    assert sorted(result.index for result in results) == list(range(COUNT))
    assert {result.status for result in results} <= {"done", "skipped"}, results
    assert contents(tmp_path / "out") == expected
    assert len({result.worker for result in results}) > 1


def pause(dask_worker):
    """As Dask does where a worker's memory is nearly used up; these have no limit, at which it would go on again."""
    dask_worker.status = type(dask_worker.status).paused


def test_what_a_paused_worker_was_given_is_done_by_others(cluster, tmp_path, monkeypatch):
    monkeypatch.setattr(velmorant.dask, "PATIENCE", 1.0)
    files, slow = draw(tmp_path / "in", 12, 800), ["oil-painting", "oil-painting"]
    local = {result.status for result in velmorant.dask.batch(f"{files}/*.png", slow, tmp_path / "local")}
    cluster.worker()
    cluster.worker()
    with client_of(cluster, 2) as client:
        results, paused = [], None
        for result in velmorant.dask.batch(f"{files}/*.png", slow, tmp_path / "out", client):
            results.append(result)
            if not paused:
                paused = result.worker
                client.run(pause, workers=[paused])
    assert local == {result.status for result in results} == {"done"}
    assert contents(tmp_path / "out") == contents(tmp_path / "local")
    moved = [result for result in results if result.tries > 1]
    assert moved and all(result.worker != paused for result in moved)


def draw_large(folder, count, side=5000):
    folder.mkdir()
    for i in range(count):
        rows = np.arange(side, dtype=np.uint32)[:, None, None] // 20 + np.array([i, 60 * i, 9], np.uint32)
        velmorant.Picture(np.broadcast_to(rows.astype(np.uint8), (side, side, 3))).save(folder / f"{i}.ppm")


def test_a_worker_that_is_ended_for_the_memory_it_takes_loses_nothing(cluster, tmp_path):
    """Its nanny ends it at its limit and starts another, which is given pictures that it has no room for either. It is not
    paused before, so that it comes to that."""
    draw_large(tmp_path / "in", 2)
    steps = ["swirl", "wave", "swirl"]
    local = list(velmorant.dask.batch(f"{tmp_path}/in/*.ppm", steps, tmp_path / "local", threads=2))
    assert {result.status for result in local} == {"done"}
    cluster.worker()
    cluster.worker("--memory-limit", "180MB")
    with client_of(cluster, 2) as client:
        results = list(velmorant.dask.batch(f"{tmp_path}/in/*.ppm", steps, tmp_path / "out", client))
    assert {result.status for result in results} == {"done"}, results
    assert contents(tmp_path / "out") == contents(tmp_path / "local")
    assert "memory budget. Restarting" in (tmp_path / "2.log").read_text()


# Room for the worker's own needs, and for no picture of a single piece of memory larger than what its threads' heaps,
# of 64 MiB each, may have left.
POOR = """
import resource
import numpy, velmorant._one, velmorant.dask

def dask_setup(worker):
    velmorant.wave(numpy.zeros((8, 8, 3), numpy.uint8))
    used = int(open("/proc/self/statm").read().split()[0]) * resource.getpagesize()
    resource.setrlimit(resource.RLIMIT_AS, (used + 48 * 2**20, used + 48 * 2**20))
"""


def test_what_a_worker_runs_out_of_memory_for_is_done_by_others(cluster, tmp_path):
    draw_large(tmp_path / "in", 4)
    local = list(velmorant.dask.batch(f"{tmp_path}/in/*.ppm", "solarize", tmp_path / "local", threads=2))
    assert {result.status for result in local} == {"done"}
    (tmp_path / "poor.py").write_text(POOR)
    cluster.worker()
    cluster.worker()
    cluster.worker("--preload", tmp_path / "poor.py", "--no-nanny", "--name", "poor")
    with client_of(cluster, 3) as client:
        poor, = [address for address, facts in client.scheduler_info()["workers"].items() if facts["name"] == "poor"]
        results = list(velmorant.dask.batch(f"{tmp_path}/in/*.ppm", "solarize", tmp_path / "out", client))
    assert {result.status for result in results} == {"done"}, results
    assert contents(tmp_path / "out") == contents(tmp_path / "local")
    assert [result for result in results if result.tries > 1], "the poor worker was given none"
    assert poor not in {result.worker for result in results}


# Refuses every thread while the file is there that is named.
REFUSING = """
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <pthread.h>
#include <stdlib.h>
#include <unistd.h>
int pthread_create(pthread_t *thread, const pthread_attr_t *how, void *(*work)(void *), void *with)
{
    int (*create)(pthread_t *, const pthread_attr_t *, void *(*)(void *), void *) = dlsym(RTLD_NEXT, "pthread_create");
    return access(getenv("REFUSED"), F_OK) == 0 ? EAGAIN : create(thread, how, work, with);
}
"""

WITHOUT_THREADS = """
import os, sys, threading, numpy, velmorant, velmorant.dask
from velmorant._one import do_one
picture = numpy.zeros((300, 300, 3), numpy.uint8)
velmorant.wave(picture)
velmorant.Picture(picture).save(sys.argv[1] + "/in.png")
def one():
    result = do_one(0, sys.argv[1] + "/in.png", sys.argv[1] + "/out.png", ["wave"], None, {})
    print(result.status, result.transient, result.error, flush=True)
def refused():
    while not go.wait(): pass
    one()
    over.set()
go, over = threading.Event(), threading.Event()
threading.Thread(target=refused).start()
open(os.environ["REFUSED"], "w").close()
try:
    velmorant.wave(picture)
except velmorant.NoThread as error:
    print(error, flush=True)
go.set()
over.wait()
os.unlink(os.environ["REFUSED"])
one()
"""


def test_a_refused_thread_is_the_machines_fault_and_not_the_pictures(tmp_path):
    (tmp_path / "refusing.c").write_text(REFUSING)
    subprocess.run(["gcc", "-shared", "-fPIC", "refusing.c", "-o", "refusing.so"], cwd=tmp_path, check=True)
    environment = dict(os.environ, LD_PRELOAD=str(tmp_path / "refusing.so"), REFUSED=str(tmp_path / "refused"))
    told = subprocess.run([sys.executable, "-c", WITHOUT_THREADS, tmp_path], capture_output=True, text=True, env=environment)
    words = "the system refuses a thread to run on"
    assert told.stdout.splitlines() == [words, f"failed True {tmp_path}/in.png: {words}", "done False "], told


@pytest.mark.parametrize("error, transient", [
    (MemoryError(), True), (OSError(24, os.strerror(24)), True), (OSError("in.png: cannot be opened: Cannot allocate memory"), True),
    (RuntimeError("can't start new thread"), True), (OSError(2, os.strerror(2)), False), (ValueError("--amplitude"), False)])
def test_what_may_go_well_elsewhere(error, transient):
    assert velmorant._one.is_transient(error) == transient


def test_the_command_works_on_a_cluster(cluster, inputs, expected, tmp_path):
    cluster.worker()
    client_of(cluster, 1).close()
    told = shell("--scheduler", cluster.address, "--quiet", "--seed", 7, "wave --amplitude 9", inputs / "000.png",
                 "--output", tmp_path / "out")
    assert told.returncode == 0 and "velmorant.batch" not in told.stderr, told.stderr
    assert velmorant.Picture.open(tmp_path / "out" / "000.png").size == (64, 64)
    assert np.array_equal(velmorant.Picture.open(tmp_path / "out" / "000.png").array(),
                          velmorant.wave(velmorant.Picture.open(inputs / "000.png"), amplitude=9).array())
