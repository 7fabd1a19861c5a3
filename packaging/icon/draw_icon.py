#!/usr/bin/python3
"""Draws the icon: coloured bands that a swirl has turned, on a square with round corners.

    packaging/icon/draw_icon.py FOLDER      writes FOLDER/velmorant-SIZE.png and FOLDER/velmorant.ico

Its results stand beside it, so that no build needs Python. Every size is drawn for itself, with 16 samples a pixel, by
sums and products, square roots and a short series: the bytes are the same wherever it runs.
"""
import pathlib
import struct
import sys
import zlib

SIZES = (16, 24, 32, 48, 64, 128, 256)
IN_ICO = (16, 24, 32, 48, 64, 256)
SAMPLES = 4        # along each edge of a pixel
CORNER = 0.4       # radius of the square's corners; the picture reaches from -1 to 1
EDGE = 0.94        # half the square's width
TURN = 2.6         # radians in the middle, less and less towards the rim
BANDS = ((0x14, 0x2C, 0x54), (0x1F, 0x6F, 0x8B), (0x4F, 0xB4, 0x9C), (0xF2, 0xC1, 0x4E), (0xE8, 0x6A, 0x3C), (0x8C, 0x2F, 0x58))


def sine(angle):
    """By its series, for -3 to 3: the C library's differs from machine to machine in the last bit."""
    term = total = angle
    for n in range(1, 12):
        term *= -angle * angle / ((2 * n) * (2 * n + 1))
        total += term
    return total


def cosine(angle):
    half = sine(angle / 2)
    return 1 - 2 * half * half


def covered(x, y):
    """Whether a point lies within the square with round corners."""
    x, y = abs(x), abs(y)
    if x > EDGE or y > EDGE:
        return False
    inner = EDGE - CORNER
    return x <= inner or y <= inner or (x - inner) ** 2 + (y - inner) ** 2 <= CORNER ** 2


def colour(x, y):
    distance = (x * x + y * y) ** 0.5
    rest = max(0.0, 1 - distance / 1.05)
    turn = TURN * rest * rest
    turned = y * cosine(turn) - x * sine(turn)
    return BANDS[min(len(BANDS) - 1, max(0, int((turned / EDGE + 1) / 2 * len(BANDS))))]


def draw(size):
    """Rows of red, green, blue and alpha, top row first."""
    rows = []
    for row in range(size):
        line = bytearray()
        for column in range(size):
            total, count = [0, 0, 0], 0
            for part in range(SAMPLES * SAMPLES):
                x = 2 * (column + (part % SAMPLES + 0.5) / SAMPLES) / size - 1
                y = 2 * (row + (part // SAMPLES + 0.5) / SAMPLES) / size - 1
                if covered(x, y):
                    count += 1
                    total = [a + b for a, b in zip(total, colour(x, y))]
            line += bytes([(t + count // 2) // count for t in total] if count else [0, 0, 0])
            line.append((255 * count + SAMPLES * SAMPLES // 2) // (SAMPLES * SAMPLES))
        rows.append(bytes(line))
    return rows


def png(rows):
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))
    size = len(rows)
    packed = zlib.compress(b"".join(b"\0" + row for row in rows), 9)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", size, size, 8, 6, 0, 0, 0)) +
            chunk(b"IDAT", packed) + chunk(b"IEND", b""))


def bitmap(rows):
    """As icons hold the smaller sizes: bottom row first, blue before red, then a mask of bits that alpha makes needless."""
    size = len(rows)
    pixels = b"".join(bytes(row[i + order] for i in range(0, 4 * size, 4) for order in (2, 1, 0, 3)) for row in reversed(rows))
    mask = bytes((size + 31) // 32 * 4 * size)
    return struct.pack("<IiiHHIIiiII", 40, size, 2 * size, 1, 32, 0, len(pixels) + len(mask), 0, 0, 0, 0) + pixels + mask


def ico(drawn):
    entries, images = b"", b""
    for size in IN_ICO:
        image = png(drawn[size]) if size == 256 else bitmap(drawn[size])
        place = 6 + 16 * len(IN_ICO) + len(images)
        entries += struct.pack("<BBBBHHII", size % 256, size % 256, 0, 0, 1, 32, len(image), place)
        images += image
    return struct.pack("<HHH", 0, 1, len(IN_ICO)) + entries + images


def main():
    if len(sys.argv) != 2 or sys.argv[1] in ("-h", "--help"):
        print(__doc__.strip())
        return 0 if len(sys.argv) == 2 else 2
    folder = pathlib.Path(sys.argv[1])
    drawn = {size: draw(size) for size in SIZES}
    for size, rows in drawn.items():
        (folder / f"velmorant-{size}.png").write_bytes(png(rows))
    (folder / "velmorant.ico").write_bytes(ico(drawn))
    return 0


sys.exit(main())
