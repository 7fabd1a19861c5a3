"""Many pictures: on the threads of this machine, or on the workers of a Dask cluster.

    import velmorant.dask
    for result in velmorant.dask.batch("in/*.png", "wave --amplitude 20", "out", client=client, seed=7):
        print(result.output, result.status, result.error)

A picture's seed is `seed` plus its number in the sorted list, so that results do not depend on who does what and when.
"""

import concurrent.futures
import glob
import os
import time
from collections.abc import Callable, Iterable, Iterator, Sequence
from typing import Any

from . import _kinds   # noqa: F401: the package is whole before a worker unpickles what is below
from ._apply import make_steps
from ._one import Result, _filesystem, check_writing, do_one, do_one_on_worker, is_address
from ._record import Record, settings_text
from ._words import lines_of, seed_of

__all__ = ["Result", "batch"]


#---- Before anything is read

def _inputs(files):
    patterns = [files] if isinstance(files, (str, os.PathLike)) else list(files)
    names = []
    for pattern in map(os.fspath, patterns):
        if is_address(pattern):
            system, path = _filesystem(pattern)
            names += sorted(map(system.unstrip_protocol, system.glob(path))) if glob.has_magic(path) else [pattern]
        else:
            names += sorted(glob.glob(pattern)) if glob.has_magic(pattern) and not os.path.exists(pattern) else [pattern]
    if not names:
        raise ValueError("there are no inputs")
    return [name if is_address(name) else os.path.abspath(name) for name in names]


def _outputs(names, output, format):
    """One output per input, in one folder, over no input."""
    folder = os.fspath(output)
    folder = folder.rstrip("/") if is_address(folder) else os.path.abspath(folder)
    taken, outputs = set(names), []
    for name in names:
        base = name.rsplit("/", 1)[-1] if is_address(name) else os.path.basename(name)
        if format:
            base = f"{os.path.splitext(base)[0]}.{format}"
        made = f"{folder}/{base}"
        if made in taken:
            raise ValueError(f"{name}: its output {made} is an input or another's output too")
        taken.add(made)
        outputs.append(made)
    if not is_address(folder):
        os.makedirs(folder, exist_ok=True)
    return outputs


#---- Doing it

def _locally(tasks, threads):
    """On threads of this process; twice as many pictures as threads wait their turn, no more."""
    with concurrent.futures.ThreadPoolExecutor(threads) as pool:
        waiting, left = set(), iter(tasks)
        try:
            while True:
                for task in left:
                    waiting.add(pool.submit(do_one, *task))
                    if len(waiting) >= 2 * threads:
                        break
                if not waiting:
                    return
                done, waiting = concurrent.futures.wait(waiting, return_when=concurrent.futures.FIRST_COMPLETED)
                for future in done:
                    yield future.result()
        finally:
            for future in waiting:
                future.cancel()


# Seconds that a worker may be paused for before what waits on it is given to others.
PATIENCE = 10.0


def _executing(dask_worker):
    return [task.key for task in dask_worker.state.executing]


class _Elsewhere:
    """Pictures that workers had no memory or no thread for, and the workers that are left for them to be tried on. Such a
    worker is idle at once and would take the same picture again, so they are kept off it.

    A worker whose memory is nearly used up is paused by Dask: it begins nothing until there is more, and keeps what it was
    given. What it may never come to is taken away from it."""

    def __init__(self, client):
        self.client, self.tries, self.refused, self.waiting = client, {}, {}, {}
        self.paused, self.looked = {}, time.monotonic()   # since when; when the workers were last looked at

    def workers(self, task, worker):
        """That it has not failed on; none where there are no others."""
        self.tries[task[0]] = self.tries.get(task[0], 0) + 1
        self.refused.setdefault(task[0], set()).add(worker)
        return [address for address in self.client.scheduler_info()["workers"] if address not in self.refused[task[0]]]

    def next(self, queue, known):
        """The next future that is over. One whose workers have all gone meanwhile ends as cancelled, as does one that waits
        on a worker that stays paused. `known` has (future, task) by key."""
        pause = 0.005
        while not queue.has_ready():
            time.sleep(pause)
            pause = min(2 * pause, 0.1)
            if time.monotonic() - self.looked > 0.5:
                self._look(known)
        future = next(queue)
        self.waiting.pop(future.key, None)
        return future

    def _look(self, known):
        workers, now = self.client.scheduler_info()["workers"], time.monotonic()
        self.looked = now
        for future, addresses in list(self.waiting.values()):
            if not set(workers).intersection(addresses):
                future.cancel()
        self.paused = {address: self.paused.get(address, now) for address, facts in workers.items()
                       if facts["status"] == "paused"}
        for address, since in self.paused.items():
            if now - since > PATIENCE and len(self.paused) < len(workers):
                for key in self._held(address):
                    if key in known:
                        future, task = known[key]
                        self.refused.setdefault(task[0], set()).add(address)
                        future.cancel()

    def _held(self, address):
        """What a worker was given and does not work on."""
        try:
            executing = self.client.run(_executing, workers=[address])[address]
        except (OSError, KeyError):   # it has gone, and what it had with it
            return []
        return [key for key in self.client.processing([address]).get(address, ()) if key not in executing]


def _on_cluster(tasks, client, retries, ahead):
    """One task a picture; `ahead` of them are with the scheduler at a time, however many there are."""
    from distributed import as_completed
    left, known, elsewhere = iter(tasks), {}, _Elsewhere(client)

    def submit(task, **where):
        future = client.submit(do_one_on_worker, *task, pure=False, retries=retries, **where)
        known[future.key] = future, task
        return future

    def first(count):
        return [submit(task) for _, task in zip(range(count), left)]

    def again(task, worker):
        workers = elsewhere.workers(task, worker)
        if not workers:
            return submit(task)
        future = submit(task, workers=workers)
        elsewhere.waiting[future.key] = future, workers
        return future

    queue = as_completed(first(ahead))
    try:
        while known:
            future = elsewhere.next(queue, known)
            _, task = known.pop(future.key)
            result = _result_of(future, task)
            future.release()
            tries = elsewhere.tries.get(task[0], 0)
            if result.status == "failed" and result.transient and tries < retries:
                queue.add(again(task, result.worker))
                continue
            result.tries += tries
            for following in first(1):
                queue.add(following)
            yield result
    finally:
        client.cancel([future for future in queue.futures])


def _result_of(future, task):
    """A worker that ended in mid-picture has the scheduler try others; after the third it is the picture's fault."""
    if future.status == "finished":
        return future.result()
    text = f"{task[1]}: the workers that it was given to have gone, or have no memory left"
    if future.status == "error":
        error = future.exception()
        text = f"{task[1]}: {type(error).__name__}: {error}"
    return Result(index=task[0], input=task[1], output=task[2], status="failed", error=" ".join(text.split()), seed=task[4],
                  transient=True)   # the worker's fault: do_one tells a picture's own


def batch(files: str | os.PathLike[str] | Iterable[str | os.PathLike[str]], steps: str | Sequence[str],
          output: str | os.PathLike[str], client: Any = None, *, seed: int | None = None, resume: bool = True,
          format: str | None = None, quality: int = 0, retries: int = 3, threads: int | None = None,
          progress: Callable[[int, int], object] | None = None) -> Iterator[Result]:
    """Applies steps to many pictures and yields a Result for each as it comes.

    files     a pattern ("in/*.png"), a name, or several of either; local ones as all workers see them, or any address
              that fsspec knows
    steps     as in velmorant.apply
    output    a folder, which is made, or such an address; every output has its input's name
    client    a distributed.Client; without one the threads of this process
    seed      picture i is drawn with seed + i; without one every run draws anew
    resume    an output that is there and can be read to its end is skipped, unless .velmorant-batch in the output folder
              knows that it was made with other settings; False makes all anew
    format    "png", "jpg", ... for all outputs; without one as the inputs
    retries   how often a picture is tried elsewhere when memory or a thread was refused, or a task failed in the cluster
    threads   without a client: how many pictures at once; as many as there are processors without it
    progress  called with (how many are done, how many there are)

    Wrong steps, and outputs that would be written over each other or over inputs, are ValueError at once.
    """
    lines = lines_of(steps)
    make_steps(lines).check()
    seed = seed_of(seed)
    check_writing(format, quality)
    names = _inputs(files)
    outputs = _outputs(names, output, format)
    folder = outputs[0].rpartition("/")[0]
    record = Record(folder, settings_text(lines, seed, format, quality), _filesystem if is_address(folder) else None)
    tasks = []
    for i, name in enumerate(names):
        drawn = None if seed is None else (seed + i) % 2**32
        otherwise = record.made_otherwise(_name_of(outputs[i]), drawn)
        options = {"resume": resume and not otherwise, "again": resume and otherwise, "format": format, "quality": quality}
        tasks.append((i, name, outputs[i], lines, drawn, options))
    return _counted(tasks, client, retries, threads or os.cpu_count() or 1, progress, record)


def _name_of(output):
    return output.rpartition("/")[2]


def _counted(tasks, client, retries, threads, progress, record):
    record.begin()
    try:
        if client is None:
            results = _locally(tasks, threads)
        else:
            results = _on_cluster(tasks, client, retries, ahead=max(64, 4 * len(client.scheduler_info()["workers"])))
        for done, result in enumerate(results, 1):
            if result.status == "done":
                record.note(_name_of(result.output), result.seed)
            if progress:
                progress(done, len(tasks))
            yield result
    finally:
        record.end()
