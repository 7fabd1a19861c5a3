"""GIMP in a window on a screen of its own, worked by keys and spoken to in Script-Fu while it runs."""

import os
import pathlib
import socket
import subprocess
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(__file__), ".."))

import gimp_session   # noqa: E402
from gimp_session import quoted   # noqa: E402


class Screen:
    def __init__(self):
        read, write = os.pipe()
        self.server = subprocess.Popen(["Xvfb", "-displayfd", str(write), "-screen", "0", "1280x900x24"],
                                       pass_fds=[write], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(write)
        with os.fdopen(read) as told:
            self.environment = {**os.environ, "DISPLAY": ":" + told.readline().strip()}
        self.manager = subprocess.Popen(["openbox"], env=self.environment, stdout=subprocess.DEVNULL,
                                        stderr=subprocess.DEVNULL)

    def close(self):
        self.manager.kill()
        self.server.kill()

    def tool(self, *words):
        return subprocess.run(["xdotool", *map(str, words)], env=self.environment, capture_output=True, text=True,
                              check=False, timeout=20).stdout.split()

    def windows(self, name):
        return self.tool("search", "--onlyvisible", "--name", name)

    def window(self, name, seconds=60):
        """The window of that name, once it is there, in front."""
        for _ in range(seconds * 4):
            found = self.windows(name)
            if found and self.tool("getactivewindow") == found[-1:]:
                return found[-1]
            if found:
                self.tool("windowactivate", found[-1])
            time.sleep(0.25)
        raise AssertionError(f"no window {name}")

    def gone(self, name, seconds=60):
        for _ in range(seconds * 4):
            if not self.windows(name):
                return
            time.sleep(0.25)
        raise AssertionError(f"the window {name} stays")

    def click(self, window, right, bottom, times=1):
        """So many pixels from the window's lower right corner."""
        size = dict(line.split("=") for line in self.tool("getwindowgeometry", "--shell", window))
        self.tool("mousemove", "--window", window, int(size["WIDTH"]) - right, int(size["HEIGHT"]) - bottom,
                  "click", "--repeat", times, 1)
        time.sleep(0.3)

    def keys(self, *keys):
        for key in keys:
            self.tool("key", key)
            time.sleep(0.15)

    def type(self, text):
        self.tool("type", "--delay", "60", text)
        time.sleep(0.15)

    def picture(self, file):
        subprocess.run(["import", "-window", "root", str(file)], env=self.environment, check=True, timeout=60)


# Keys for menu items, which GIMP remembers as the filter that it repeats; what scripts run it does not.
KEYS = {"wave": ("w", "ctrl+alt+w"), "noise": ("n", "ctrl+alt+n"), "oil-painting": ("y", "ctrl+alt+y")}


class Gimp:
    """One GIMP; `ask` waits for the answer, `begin` and `end` leave time between for a dialog."""

    def __init__(self, folder, screen, **settings):
        self.screen = screen
        gimp_session.profile(folder / "profile", **settings)
        (folder / "profile" / "menurc").write_text("".join(
            f'(gtk_accel_path "<Actions>/plug-in/plug-in-velmorant-{name}" "<Primary><Alt>{letter}")\n'
            for name, (letter, _) in KEYS.items()))
        with socket.socket() as free:
            free.bind(("127.0.0.1", 0))
            port = free.getsockname()[1]
        self.log = open(folder / "log", "wb")
        self.program = subprocess.Popen(
            ["gimp", "--new-instance", "--no-splash", "--no-data", "--no-fonts", "--batch",
             f'(plug-in-script-fu-server RUN-NONINTERACTIVE "127.0.0.1" {port} "")'],
            env={**screen.environment, "GIMP2_DIRECTORY": str(folder / "profile")}, stdin=subprocess.DEVNULL,
            stdout=self.log, stderr=self.log)
        for _ in range(400):
            try:
                self.line = socket.create_connection(("127.0.0.1", port), timeout=40)
                return
            except OSError:
                time.sleep(0.25)
        raise AssertionError("GIMP does not answer")

    def close(self):
        self.line.close()
        self.program.kill()
        self.program.wait()
        self.log.close()

    def begin(self, command):
        words = command.encode()
        self.line.sendall(b"G" + len(words).to_bytes(2, "big") + words)

    def _take(self, count):
        taken = b""
        while len(taken) < count:
            part = self.line.recv(count - len(taken))
            assert part, "GIMP is gone"
            taken += part
        return taken

    def end(self):
        """(whether it went well, what was answered)"""
        head = self._take(4)
        return head[1] == 0, self._take(int.from_bytes(head[2:], "big")).decode(errors="replace")

    def ask(self, command):
        self.begin(command)
        well, answer = self.end()
        assert well, answer
        return answer

    def open(self, file):
        """Opens a picture in a window; it is `image` from then on."""
        self.ask(f"(define image (car (gimp-file-load RUN-NONINTERACTIVE {quoted(file)} {quoted(file)})))")
        self.ask("(gimp-display-new image)")

    def runs_under_way(self):
        """How many processes of the plug-in GIMP has."""
        count = 0
        for file in pathlib.Path("/proc").glob("[0-9]*/stat"):
            try:
                name, rest = file.read_text().split("(", 1)[1].rsplit(")", 1)
            except OSError:   # it has ended meanwhile
                continue
            count += name == "velmorant-gimp" and int(rest.split()[1]) == self.program.pid
        return count

    def thumbnail(self):
        """The layer made small, for layers that are too large for `samples`."""
        return self.ask("(let* ((seen (gimp-drawable-thumbnail (car (gimp-image-get-active-drawable image)) 16 16)) (i 0)"
                        " (told '())) (while (< i (list-ref seen 3)) (set! told (cons (aref (list-ref seen 4) i) told))"
                        " (set! i (+ i 1))) told)")

    def samples(self):
        """Size and samples of the layer that is worked on."""
        self.ask("(define seen (let* ((l (car (gimp-image-get-active-drawable image)))) (gimp-drawable-thumbnail l"
                 " (car (gimp-drawable-width l)) (car (gimp-drawable-height l)))))")
        width, height, count = (int(self.ask(f"(list-ref seen {place})")) for place in (0, 1, 3))
        row = count // height
        told = bytearray()
        for start in range(0, count, row):
            line = self.ask(f"(let loop ((i {start + row - 1}) (l '())) (if (< i {start}) l (loop (- i 1)"
                            " (cons (aref (list-ref seen 4) i) l))))")
            told += bytes(map(int, line.strip("()").split()))
        return (width, height), bytes(told)
