"""What counts as a picture: how numpy arrays, Pillow images and buffers come into the library and go back.

numpy and Pillow are looked for among what the program has imported, never imported here: who hands in an array has it.
"""

import sys

from . import _native

BITS, BOOLS, INDEX, INDEX_ALPHA, GREY, GREY_ALPHA, RGB, _BGR, RGBA = range(9)
TYPES = ("1-bit", "palette", "grey", "RGB")
ONE_BIT, PALETTE, GREY_TYPE, RGB_TYPE = range(4)

# Pillow's modes: layout here, and what Pillow's own raw coder calls it.
PILLOW = {"1": BITS, "L": GREY, "P": INDEX, "LA": GREY_ALPHA, "RGB": RGB, "RGBA": RGBA}
CHANNELS = {BOOLS: 1, INDEX: 1, INDEX_ALPHA: 2, GREY: 1, GREY_ALPHA: 2, RGB: 3, RGBA: 4}


def pillow():
    return sys.modules.get("PIL.Image")


def is_array(thing):
    numpy = sys.modules.get("numpy")
    return numpy is not None and isinstance(thing, numpy.ndarray)


def is_image(thing):
    return pillow() is not None and isinstance(thing, pillow().Image)


#---- Arrays and buffers

def view_of(thing):
    """A memoryview of pixels, with a shape that pictures have."""
    try:
        view = memoryview(thing)
    except (TypeError, ValueError, BufferError):
        if is_array(thing):
            raise TypeError(f"pixels are uint8 or bool, not {thing.dtype}") from None
        raise TypeError("a picture is an array, a Pillow image, a velmorant.Picture or a buffer of bytes, not "
                        f"{type(thing).__name__}") from None
    if view.itemsize != 1 or view.format not in ("B", "?", "<B", "@B", "=B", ">B"):
        kind = thing.dtype if is_array(thing) else f"items of format '{view.format}'"
        raise TypeError(f"pixels are uint8 or bool, not {kind}")
    if view.ndim not in (2, 3):
        raise ValueError(f"a picture has 2 or 3 dimensions (height, width, channels), not {view.ndim}")
    if 0 in view.shape:
        raise ValueError(f"a picture has at least one pixel, not the shape {view.shape}")
    return view


def layout_of(view):
    if view.format == "?":
        if view.ndim == 2 or view.shape[2] == 1:
            return BOOLS
        raise ValueError(f"a bool picture is 1 bit deep and has no channels, not the shape {view.shape}")
    channels = view.shape[2] if view.ndim == 3 else 1
    layout = {1: GREY, 2: GREY_ALPHA, 3: RGB, 4: RGBA}.get(channels)
    if layout is None:
        raise ValueError(f"a picture has 1, 2, 3 or 4 channels, not {channels}, in the shape {view.shape}")
    return layout


def _lies_in_rows(view):
    """True where the library can work on the memory as it is: pixels side by side, rows not over each other."""
    height, width = view.shape[:2]
    channels = view.shape[2] if view.ndim == 3 else 1
    if channels > 1 and view.strides[2] != 1:
        return False
    if width > 1 and view.strides[1] != channels:
        return False
    return height == 1 or abs(view.strides[0]) >= width * channels


def from_view(view, layout, palette=None):
    if _lies_in_rows(view):
        return _native.from_buffer(view, layout, None, palette)
    # A view of many pixels may stand on few bytes: whether there can be such a picture is asked before they are spread.
    height, width = view.shape[:2]
    _native.blank(RGB_TYPE if layout in (RGB, RGBA) else GREY_TYPE, min(width, 2**31 - 1), min(height, 2**31 - 1))
    return _native.from_buffer(view.tobytes(), layout if layout != BOOLS else BOOLS, (width, height), palette)


def _fill_view(native, target, layout, own):
    """Copies the picture into memory of the caller's."""
    if target.readonly:
        raise ValueError("out is read-only")
    if (native.height, native.width) != tuple(target.shape[:2]):
        raise ValueError(f"out is {target.shape[1]} x {target.shape[0]} pixels, the result "
                         f"{native.width} x {native.height}")
    if _lies_in_rows(target):
        native.to_buffer(target, layout)
    elif is_array(own) and 0 not in target.strides:
        own[...] = _new_array(native, layout, target.ndim)
    else:
        raise ValueError("the pixels of out do not lie side by side in rows")


def _shape(native, layout, dimensions):
    return (native.height, native.width) + ((CHANNELS[layout],) if dimensions == 3 else ())


def _new_array(native, layout, dimensions):
    numpy = sys.modules["numpy"]
    made = numpy.empty(_shape(native, layout, dimensions), numpy.bool_ if layout == BOOLS else numpy.uint8)
    native.to_buffer(made, layout)
    return made


def _new_view(native, layout, dimensions):
    shape = _shape(native, layout, dimensions)
    memory = bytearray(native.height * native.width * CHANNELS[layout])
    native.to_buffer(memory, layout, (native.width, native.height))
    return memoryview(memory).cast("?" if layout == BOOLS else "B", shape)


def array_of(native, layout):
    import numpy   # noqa: F401: the array asks for it
    return _new_array(native, layout, 3 if CHANNELS[layout] > 1 else 2)


def take_view(thing):
    view = view_of(thing)
    layout = layout_of(view)
    dimensions = view.ndim

    def give(native, out):
        if out is None:
            return (_new_array if is_array(thing) else _new_view)(native, layout, dimensions)
        target = view_of(out)
        if layout_of(target) != layout:
            raise ValueError(f"out has the shape {target.shape} of another kind than the picture's {view.shape}")
        _fill_view(native, target, layout, out)
        return out

    return from_view(view, layout), give


#---- Pillow

def _bytes_per_row(layout, width):
    return (width + 7) // 8 if layout == BITS else CHANNELS[layout] * width


def _palette_of(image):
    """As many colours as there are, and as the pixels name."""
    colours = bytes(image.getpalette("RGB"))
    needed = 3 * (image.getextrema()[1] + 1)
    return colours[:768] if len(colours) >= needed else colours + bytes(needed - len(colours))


def from_image(image):
    layout = PILLOW.get(image.mode)
    if layout is None:
        raise ValueError(f"a Pillow image of mode {image.mode} is none of {', '.join(PILLOW)}; convert() it first")
    if 0 in image.size:
        raise ValueError(f"a picture has at least one pixel, not {image.width} x {image.height}")
    image.load()
    pixels = image.tobytes("raw", image.mode)
    return _native.from_buffer(pixels, layout, image.size, _palette_of(image) if image.mode == "P" else None)


def image_of(native, mode):
    """A Pillow image of its own memory."""
    layout, size = PILLOW[mode], (native.width, native.height)
    memory = bytearray(_bytes_per_row(layout, native.width) * native.height)
    native.to_buffer(memory, layout, size)
    image = pillow().frombytes(mode, size, bytes(memory), "raw", mode)
    if mode == "P":
        image.putpalette(native.palette(), "RGB")
    return image


def take_image(image):
    def give(native, out):
        made = image_of(native, image.mode)
        if out is None:
            made.info = dict(image.info)
            return made
        if not is_image(out) or out.mode != image.mode:
            raise ValueError(f"out is no Pillow image of mode {image.mode}")
        if out.size != made.size:
            raise ValueError(f"out is {out.width} x {out.height} pixels, the result {made.width} x {made.height}")
        out.paste(made)
        if out.mode == "P":
            out.putpalette(native.palette(), "RGB")
        return out

    return from_image(image), give
