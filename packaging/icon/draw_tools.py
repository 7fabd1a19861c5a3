#!/usr/bin/python3
"""Draws the tools of the editor's toolbar: how much of each pixel a tool covers, as a grey picture, tool beside tool.

    packaging/icon/draw_tools.py FOLDER      writes FOLDER/tools-SIZE.png

The editor gives them the colour that the system has for texts, so that they suit dark and contrasting looks too. Their order
is that of the table in host/editor/toolbar.cpp. The results stand beside this script, so that no build needs Python; they
are made by sums, products and square roots, so that they are the same wherever it runs.
"""
import pathlib
import struct
import sys
import zlib

SIZES = (16, 20, 24, 32, 48)
SAMPLES = 4    # along each edge of a pixel
LINE = 0.105   # half a line's width; a tool reaches from -1 to 1, y downwards

# ---- What a point lies in


def segment(x, y, ax, ay, bx, by, half=LINE):
    dx, dy = bx - ax, by - ay
    length = dx * dx + dy * dy
    along = ((x - ax) * dx + (y - ay) * dy) / length if length else 0.0
    along = min(1.0, max(0.0, along))
    return (x - ax - along * dx) ** 2 + (y - ay - along * dy) ** 2 <= half * half


def path(x, y, *points):
    return any(segment(x, y, *points[i], *points[i + 1]) for i in range(len(points) - 1))


def ring(x, y, cx, cy, radius, half=LINE):
    distance = ((x - cx) ** 2 + (y - cy) ** 2) ** 0.5
    return abs(distance - radius) <= half


def disc(x, y, cx, cy, radius):
    return (x - cx) ** 2 + (y - cy) ** 2 <= radius * radius


def polygon(x, y, *points):
    """Within the corners of a polygon, by counting edges to the right."""
    inside = False
    for i, (ax, ay) in enumerate(points):
        bx, by = points[i - 1]
        if (ay > y) != (by > y) and x < (bx - ax) * (y - ay) / (by - ay) + ax:
            inside = not inside
    return inside


def box(x, y, left, top, right, bottom):
    return path(x, y, (left, top), (right, top), (right, bottom), (left, bottom), (left, top))


# ---- The tools


def open_file(x, y):
    return path(x, y, (-0.85, 0.65), (-0.85, -0.6), (-0.3, -0.6), (-0.1, -0.35), (0.6, -0.35), (0.6, -0.05)) or path(
        x, y, (-0.85, 0.65), (-0.5, -0.05), (0.9, -0.05), (0.55, 0.65), (-0.85, 0.65))


def save_file(x, y):
    return (path(x, y, (-0.75, -0.75), (0.5, -0.75), (0.75, -0.5), (0.75, 0.75), (-0.75, 0.75), (-0.75, -0.75))
            or box(x, y, -0.4, 0.1, 0.4, 0.75) or path(x, y, (-0.35, -0.7), (-0.35, -0.3), (0.3, -0.3), (0.3, -0.7)))


def undo(x, y):
    arc = y <= 0.75 and (x >= 0.1 and ring(x, y, 0.1, 0.2, 0.55))
    return (arc or segment(x, y, -0.75, -0.35, 0.1, -0.35) or segment(x, y, -0.3, 0.75, 0.1, 0.75)
            or path(x, y, (-0.35, -0.75), (-0.78, -0.35), (-0.35, 0.05)))


def redo(x, y):
    return undo(-x, y)


def history(x, y):
    return ring(x, y, 0, 0, 0.78) or path(x, y, (0, -0.45), (0, 0.05), (0.35, 0.3))


def repeat(x, y):
    upper = ring(x, y, 0, 0, 0.65) and not (x > 0.15 and -0.5 < y < 0.12)
    return upper or path(x, y, (0.2, -0.15), (0.62, -0.12), (0.75, -0.55))


def glass(x, y):
    return ring(x, y, -0.2, -0.2, 0.55) or segment(x, y, 0.22, 0.22, 0.8, 0.8, 0.15)


def zoom_in(x, y):
    return glass(x, y) or segment(x, y, -0.45, -0.2, 0.05, -0.2, 0.08) or segment(x, y, -0.2, -0.45, -0.2, 0.05, 0.08)


def zoom_out(x, y):
    return glass(x, y) or segment(x, y, -0.45, -0.2, 0.05, -0.2, 0.08)


def fit(x, y):
    x, y = abs(x), abs(y)
    return path(x, y, (0.35, 0.8), (0.8, 0.8), (0.8, 0.35)) or segment(x, y, 0.25, 0.25, 0.75, 0.75)


def find(x, y):
    """A star, which stands for effects, under a glass."""
    star = (segment(x, y, -0.2, -0.5, -0.2, 0.1, 0.06) or segment(x, y, -0.45, -0.35, 0.05, -0.05, 0.06)
            or segment(x, y, -0.45, -0.05, 0.05, -0.35, 0.06))
    return glass(x, y) or star


def split(x, y):
    frame = box(x, y, -0.8, -0.6, 0.8, 0.6)
    return frame or segment(x, y, 0, -0.9, 0, 0.9) or (0 <= x <= 0.8 and -0.6 <= y <= 0.6 and (int((x + y + 4) * 6) % 2))


def mask(x, y):
    """A picture of which a half is seen through."""
    squares = x <= 0 and -0.7 <= y <= 0.7 and x >= -0.7 and (int((x + 4) * 3.2) + int((y + 4) * 3.2)) % 2 == 0
    return box(x, y, -0.75, -0.75, 0.75, 0.75) or squares


def protect(x, y):
    """A shield."""
    outline = path(x, y, (0, -0.85), (0.65, -0.6), (0.6, 0.1), (0.35, 0.55), (0, 0.85), (-0.35, 0.55), (-0.6, 0.1),
                   (-0.65, -0.6), (0, -0.85))
    half = x <= 0 and polygon(x, y, (0, -0.85), (0, 0.85), (-0.35, 0.55), (-0.6, 0.1), (-0.65, -0.6))
    return outline or half


TOOLS = (open_file, save_file, undo, redo, history, repeat, find, zoom_in, zoom_out, fit, split, mask, protect)

# ---- Files


def draw(size):
    rows = []
    for row in range(size):
        line = bytearray()
        for tool in TOOLS:
            for column in range(size):
                count = 0
                for sample in range(SAMPLES * SAMPLES):
                    x = (column + (sample % SAMPLES + 0.5) / SAMPLES) / size * 2 - 1
                    y = (row + (sample // SAMPLES + 0.5) / SAMPLES) / size * 2 - 1
                    count += bool(tool(x, y))
                line.append((count * 255 + SAMPLES * SAMPLES // 2) // (SAMPLES * SAMPLES))
        rows.append(bytes(line))
    return rows


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def png(rows, width, height):
    header = struct.pack(">IIBBBBB", width, height, 8, 0, 0, 0, 0)
    data = zlib.compress(b"".join(b"\0" + row for row in rows), 9)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", data) + chunk(b"IEND", b"")


def main():
    if len(sys.argv) != 2 or sys.argv[1] in ("-h", "--help"):
        print(__doc__.strip())
        sys.exit(len(sys.argv) != 2)
    folder = pathlib.Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    for size in SIZES:
        (folder / f"tools-{size}.png").write_bytes(png(draw(size), size * len(TOOLS), size))


if __name__ == "__main__":
    main()
