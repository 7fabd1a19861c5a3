"""One picture of a batch, from reading to writing, on whatever machine it comes to.

A result is a plain record, errors included, so that it travels; only what ends the process is for others to notice.
Names may be addresses that fsspec knows (s3://..., sftp://...); local files never ask for fsspec.
"""

import ctypes
import errno
import os
import time
from dataclasses import dataclass, field

from . import _native
from ._apply import make_steps, run
from ._pictures import Picture, hearing, tell, writing_of


@dataclass
class Result:
    """What came of one picture."""
    index: int
    input: str
    output: str
    status: str            # "done", "skipped" (it was there and whole) or "failed"
    error: str = ""        # one line
    seconds: float = 0.0
    seed: int | None = None
    notices: list[str] = field(default_factory=list)
    transient: bool = False   # the machine refused memory, a thread or the like: it may succeed elsewhere
    again: bool = False   # it was there, but made with other settings
    worker: str = ""       # that did it; empty on this machine's threads
    tries: int = 1


def is_address(name):
    return "://" in name


def _filesystem(name):
    import fsspec
    return fsspec.core.url_to_fs(name)


def read(name):
    if not is_address(name):
        return Picture.open(name)
    system, path = _filesystem(name)
    try:
        return Picture.from_bytes(system.cat_file(path))
    except OSError as error:
        raise type(error)(f"{name}: {error}") from None


def write(picture, name, format, quality):
    """A local file is written beside its place and renamed; an object of a store is there when it is whole, by itself."""
    if not is_address(name):
        return picture.save(name, format=format, quality=quality)
    data = picture.to_bytes(format or _native.format_of_file(name), quality=quality)
    system, path = _filesystem(name)
    system.makedirs(system._parent(path), exist_ok=True)
    if "file" not in system.protocol and "local" not in system.protocol:
        return system.pipe_file(path, data)
    beside = f"{path}.{os.getpid()}.part"
    system.pipe_file(beside, data)
    system.mv(beside, path)


def check_writing(format, quality):
    """Refuses at once what would be refused of every picture."""
    writing_of(format, quality=quality)
    if format is not None:
        _native.format_named(format)


def is_whole(name):
    """Whether a result is there that can be read to its end."""
    try:
        read(name)
        return True
    except (OSError, MemoryError):
        return False


# What a system says that is short of memory, threads or open files.
_SHORT = (errno.ENOMEM, errno.EAGAIN, errno.EMFILE, errno.ENFILE)
_SHORT_WORDS = tuple(map(os.strerror, _SHORT)) + ("can't start new thread",)


def is_transient(error):
    """Whether an error is the machine's at the moment, not the picture's. The library's lines end in the system's words."""
    if isinstance(error, (MemoryError, _native.NoThread)):
        return True
    return isinstance(error, (OSError, RuntimeError)) and any(words in str(error) for words in _SHORT_WORDS)


def do_one(index, input, output, steps, seed, options):
    """Reads, runs, writes; never throws but for the end of the process."""
    begun = time.monotonic()
    result = Result(index=index, input=input, output=output, status="done", seed=seed)
    try:
        with hearing() as heard:
            result.again = bool(options.get("again"))
            if options.get("resume") and is_whole(output):
                result.status = "skipped"
            else:
                _work(input, output, steps, seed, options)
                result.notices = heard
    except Exception as error:   # noqa: BLE001: one picture's fault is one line of the batch
        result.status, result.transient = "failed", is_transient(error)
        text = " ".join(str(error).split()) or type(error).__name__
        result.error = text if input in text else f"{input}: {text}"
    result.seconds = time.monotonic() - begun
    return result


def _work(input, output, steps, seed, options):
    picture = read(input)
    tell(run(make_steps(steps), picture._native, seed))
    write(picture, output, options.get("format"), options.get("quality", 0))


def _give_memory_back():
    """What a picture has left of freed memory: Dask counts it as the worker's, and pauses one that has much of it."""
    trim = getattr(ctypes.CDLL(None), "malloc_trim", None)   # of glibc alone
    if trim:
        trim(0)


def do_one_on_worker(*words):
    """As do_one, on a Dask worker, whose name goes along."""
    from distributed import get_worker
    result = do_one(*words)
    _give_memory_back()
    result.worker = get_worker().address
    return result
