"""Measures the package, and writes the table of docs/python.md.

    python3 doors/python/speed.py            prints the table
    python3 doors/python/speed.py --write    puts it into docs/python.md

Each figure is the quickest of several runs, in one thread, on a picture of 12 megapixels drawn from a seed.
"""

import os
import re
import sys
import time
from pathlib import Path

import numpy as np
import PIL.Image
import PIL.ImageFilter

os.environ["VELMORANT_THREADS"] = "1"   # read when the library first runs an effect
import velmorant  # noqa: E402

PAGE = Path(__file__).resolve().parents[2] / "docs" / "python.md"
WIDTH, HEIGHT = 4000, 3000
MEGAPIXELS = WIDTH * HEIGHT / 1e6


def quickest(call, seconds=1.0, least=3):
    """Milliseconds per megapixel."""
    best, end, runs = float("inf"), time.monotonic() + seconds, 0
    while runs < least or time.monotonic() < end:
        begun = time.perf_counter()
        call()
        best = min(best, time.perf_counter() - begun)
        runs += 1
    return 1000 * best / MEGAPIXELS


def overhead(array):
    """In and out alone: both passes over the picture."""
    from velmorant import _kinds
    out = np.empty_like(array)

    def both():
        native, give = _kinds.take_view(array)
        give(native, out)
    return quickest(both)


def beside_each_other(array, line, out):
    """apply on the array, and the same steps on a picture that is the library's already: by turns, and always on the
    same pixels, since what an effect has smoothed it works on in less time."""
    from velmorant._apply import make_steps, run
    steps, picture = make_steps(line), velmorant.Picture(array)._native
    best, end, runs = [float("inf")] * 2, time.monotonic() + 3, 0
    while runs < 4 or time.monotonic() < end:
        native = picture.copy()
        for i, call in enumerate((lambda: velmorant.apply(array, line, out=out), lambda: run(steps, native))):
            begun = time.perf_counter()
            call()
            best[i] = min(best[i], time.perf_counter() - begun)
        runs += 1
    return [1000 * seconds / MEGAPIXELS for seconds in best]


def skimage_rows(array):
    try:
        import skimage.filters
        import skimage.transform
    except ImportError:
        return {}
    centre = {"center": (WIDTH / 2, HEIGHT / 2), "rotation": 0, "strength": 3, "radius": 1500, "preserve_range": True}
    return {"swirl": ("transform.swirl, order 1", lambda: skimage.transform.swirl(array, order=1, **centre)),
            "filters --kernel 'Gaussian 5 by 5'": ("filters.gaussian, sigma 1", lambda: skimage.filters.gaussian(
                array, 1, channel_axis=2, preserve_range=True)),
            "solarize": ("util.invert", lambda: skimage.util.invert(array))}


def table():
    random = np.random.default_rng(1)
    y, x = np.mgrid[0:HEIGHT, 0:WIDTH]
    array = np.dstack([128 + 90 * np.sin(x / 50 + c) * np.cos(y / 70) for c in range(3)])
    array = np.clip(array + random.integers(-15, 15, array.shape), 0, 255).astype(np.uint8)
    image = PIL.Image.fromarray(array)
    pillow = {"median": ("MedianFilter(3)", lambda: image.filter(PIL.ImageFilter.MedianFilter(3))),
              "filters --kernel 'Gaussian 5 by 5'": ("GaussianBlur(1)", lambda: image.filter(
                  PIL.ImageFilter.GaussianBlur(1))),
              "solarize": ("ImageOps.solarize", lambda: __import__("PIL.ImageOps").ImageOps.solarize(image)),
              "oil-painting": ("ModeFilter(7)", lambda: image.filter(PIL.ImageFilter.ModeFilter(7)))}
    scikit = skimage_rows(array)
    lines = [f"Milliseconds per megapixel, RGB, {WIDTH} x {HEIGHT}, one thread, the quickest of several runs; numpy "
             f"{np.__version__}, Pillow {PIL.__version__}; {os.cpu_count()} processors with a load of "
             f"{os.getloadavg()[0]:.0f} while measuring. In and out alone, into an array that is there: "
             f"{overhead(array):.2f}.", "",
             "| steps | `apply` on an array | the run alone | Pillow's nearest | scikit-image's nearest |",
             "|---|---|---|---|---|"]
    out = np.empty_like(array)
    for line in ("solarize", "wave", "swirl", "filters --kernel 'Gaussian 5 by 5'", "median", "oil-painting", "noise"):
        cells = [f"`{line}`"] + [f"{cost:.1f}" for cost in beside_each_other(array, line, out)]
        for others in (pillow, scikit):
            name, call = others.get(line, ("", None))
            cells.append(f"{quickest(call, least=2):.1f} ({name})" if call else "")
        lines.append("| " + " | ".join(cells) + " |")
    return "\n".join(lines) + "\n"


def main():
    made = table()
    print(made, end="")
    if "--write" in sys.argv[1:]:
        text = PAGE.read_text()
        begun, end = "<!-- speed.py writes from here -->\n", "<!-- to here -->\n"
        PAGE.write_text(re.sub(re.escape(begun) + ".*?" + re.escape(end), lambda _: begun + made + end, text, flags=re.S))


if __name__ == "__main__":
    main()
