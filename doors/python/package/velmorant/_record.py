"""What the pictures in a batch's output folder were made with, so that a batch that goes on tells its own results from those
of other settings. It stands in the folder, in the file .velmorant-batch, which `velmorant batch` reads and writes too: a line
of JSON for each picture that was written, and one for each way of making them.
"""

import contextlib
import json
import os
import time

from . import _native
from ._apply import make_steps

NAME = ".velmorant-batch"
_BETWEEN = 60.0   # seconds between two writings of an object in a store, which cannot be continued
_SUM_START, _SUM_FACTOR = 14695981039346656037, 1099511628211


def settings_text(lines, seed, format, quality):
    """For people, and to be told apart by: the recipe without seeds, the seeds that were given, and the file's options."""
    recipe = _native.recipe_text(make_steps(lines)).splitlines()
    text = "".join(line.partition(" --seed ")[0] + "\n" for line in recipe)
    if seed is not None:
        text += f"step 1: seed {seed}\n"
    for i, line in enumerate(lines, 1):
        if "--seed" in line:
            text += f"step {i}: {line}\n"   # which then counts for every picture
    if quality:
        text += f"--quality {quality}\n"
    return text + (f"--format {_native.format_named(format)}\n" if format else "")


def sum_of(text):
    value = _SUM_START
    for byte in text.encode("utf-8", "surrogateescape"):
        value = (value ^ byte) * _SUM_FACTOR % 2**64
    return f"{value:x}"


class Record:
    """What the folder's file says, and what is written to it. No file, or one that cannot be read, knows of no picture, and
    where it cannot be written the batch goes on without."""

    def __init__(self, folder, text, address_of=None):
        """`address_of` gives fsspec's file system and path of an address; None for a local folder."""
        self.text, self.settings = text, sum_of(text)
        self.place = address_of(f"{folder}/{NAME}") if address_of else os.path.join(folder, NAME)
        self.stored, self.file = address_of is not None, None
        self.lines, self.known, self.written = [], {}, time.monotonic()
        with contextlib.suppress(OSError):
            self._read()

    def _read(self):
        if self.stored:
            system, path = self.place
            data = system.cat_file(path)
        else:
            with open(self.place, "rb") as file:
                data = file.read()
        self.lines = data.decode("utf-8", "replace").splitlines()
        for line in self.lines:
            with contextlib.suppress(ValueError):   # a line that was cut off counts for nothing
                said = json.loads(line)
                if isinstance(said, dict) and isinstance(said.get("output"), str):
                    self.known[said["output"]] = said.get("settings"), said.get("seed")

    def made_otherwise(self, name, seed):
        """Whether that output is known to have been made otherwise than this batch would."""
        settings, drawn = self.known.get(name, (self.settings, None))
        return settings != self.settings or None not in (seed, drawn) and seed != drawn

    def begin(self):
        """Makes ready to write; a file that says the same again and again is written anew."""
        anew = len(self.lines) > 4 * len(self.known) + 1000
        if anew:
            self.lines = [_line(name, *made) for name, made in self.known.items()]
        head = json.dumps({"settings": self.settings, "made-with": self.text})
        if not self.stored:
            with contextlib.suppress(OSError):
                self.file = open(self.place, "w" if anew else "a", encoding="utf-8")
                self.file.writelines(line + "\n" for line in (self.lines if anew else []))
        self._put(head)

    def note(self, name, seed):
        self._put(_line(name, self.settings, seed))

    def _put(self, line):
        if self.file:
            with contextlib.suppress(OSError):
                self.file.write(line + "\n")
                self.file.flush()
        elif self.stored:
            self.lines.append(line)
            if time.monotonic() - self.written > _BETWEEN:
                self._store()

    def _store(self):
        system, path = self.place
        with contextlib.suppress(OSError):
            system.makedirs(system._parent(path), exist_ok=True)
            system.pipe_file(path, ("\n".join(self.lines) + "\n").encode())
        self.written = time.monotonic()

    def end(self):
        if self.file:
            self.file.close()
        elif self.stored:
            self._store()


def _line(name, settings, seed):
    return json.dumps({"output": name, "settings": settings} | ({} if seed is None else {"seed": seed}))
