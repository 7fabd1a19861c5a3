"""GIMP for tests: a folder of its own with the plug-ins that are needed and no more, so that it starts quickly, and
Script-Fu for it. What GIMP itself would read of a person's is left alone."""

import os
import subprocess

from common import BUILD

LIBRARY = subprocess.run(["pkg-config", "--variable=gimplibdir", "gimp-2.0"], capture_output=True, text=True,
                         check=True).stdout.strip()


def profile(folder, **settings):
    """A folder for GIMP's settings, as GIMP2_DIRECTORY names it."""
    plugins = folder / "plug-ins"
    plugins.mkdir(parents=True)
    for name in ("file-png", "file-tiff", "script-fu"):
        (plugins / name).symlink_to(f"{LIBRARY}/plug-ins/{name}")
    (plugins / "velmorant-gimp").symlink_to(BUILD / "gimp" / "velmorant-gimp")
    lines = [f'(plug-in-path "{plugins}")', f'(swap-path "{folder}")', f'(temp-path "{folder}")',
             *(f"({name.replace('_', '-')} {value})" for name, value in settings.items())]
    (folder / "gimprc").write_text("\n".join(lines) + "\n")
    return folder


def quoted(text):
    return '"' + str(text).replace("\\", "\\\\").replace('"', '\\"') + '"'


def argument(setting, word):
    """A setting's value in the command line's words as Script-Fu has it for a procedure."""
    if setting["kind"] == "choice":
        return str([choice["word"] for choice in setting["choices"]].index(word))
    if setting["kind"] == "switch":
        return "TRUE" if word == "on" else "FALSE"
    if setting["kind"] == "colour":
        return "'(" + " ".join(str(int(word[place:place + 2], 16)) for place in (1, 3, 5)) + ")"
    return quoted(word) if setting["kind"] == "kernel" else str(word)


def standard(setting):
    default = setting["default"]
    return " ".join(map(str, default)) if isinstance(default, list) else default


def batch(folder, script, environment=None, timeout=600):
    """Lets GIMP run a script without a window; what it printed."""
    file = folder / "batch.scm"
    file.write_text(script)
    outcome = subprocess.run(
        ["gimp", "--no-interface", "--no-data", "--no-fonts", "--no-splash",
         "--batch", f"(load {quoted(file)})", "--batch", "(gimp-quit 1)"],
        capture_output=True, text=True, timeout=timeout, check=False, stdin=subprocess.DEVNULL,
        env={**os.environ, "GIMP2_DIRECTORY": str(folder / "profile"), **(environment or {})})
    return outcome.stdout + outcome.stderr
