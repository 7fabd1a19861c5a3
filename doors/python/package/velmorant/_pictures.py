"""velmorant.Picture: a picture in the library's memory, of every type, with palette, mask and what its file said."""

import contextlib
import os
import threading
import warnings

from . import _kinds, _native
from ._words import one_of, whole


class Notice(UserWarning):
    """What could not be kept, or what an effect points out, though all went well."""


_thread = threading.local()


@contextlib.contextmanager
def hearing():
    """Collects this thread's notices in a list, where the warnings module would change the whole program's settings."""
    before, _thread.heard = getattr(_thread, "heard", None), []
    try:
        yield _thread.heard
    finally:
        _thread.heard = before


def tell(notices, level=3):
    heard = getattr(_thread, "heard", None)
    if heard is not None:
        heard += notices
        return
    for line in notices:
        warnings.warn(line, Notice, stacklevel=level)


def native_of(thing):
    """A picture of any kind as one that the library owns; of a Picture its own."""
    if isinstance(thing, Picture):
        return thing._native
    return (_kinds.from_image(thing) if _kinds.is_image(thing) else _kinds.take_view(thing)[0])


def _colours(palette):
    """Bytes, or rows of red, green and blue, as bytes."""
    if isinstance(palette, (bytes, bytearray, memoryview)):
        flat = bytes(palette)
    else:
        flat = bytes(int(part) for colour in palette for part in colour)
    if not flat or len(flat) % 3 or len(flat) > 768:
        raise ValueError("a palette has 1 to 256 colours of red, green and blue")
    return flat


def give_mask(native, mask):
    try:
        native.set_mask(None if mask is None else native_of(mask))
    except ValueError as error:
        raise ValueError(f"the mask {error}" if str(error).startswith("is ") else str(error)) from None


def _reading(page, as_stored, allow_huge):
    number = 0 if page is None else whole(page, "page", 1, 1000000)
    return {"page": number, "as_stored": bool(as_stored), "allow_huge": bool(allow_huge)}


def _bytes_of(data):
    try:
        return memoryview(data)
    except TypeError:
        raise TypeError(f"a file's bytes are bytes, not {type(data).__name__}") from None


def _unless_untold(value, check, *words):
    return 0 if value is None or value == 0 else check(value, *words)


def writing_of(format=None, quality=0, subsampling=0, progressive=None, strip=None, reduce_depth=False, compression=0):
    """How a file is written, in the command line's words; 0 and None are what it does untold."""
    strips = {None: 0, False: 0, True: 1, "metadata": 1, "all": 2}
    if strip not in strips:
        raise ValueError(f"--strip: '{strip}' is none of metadata, all")
    if format is not None and not isinstance(format, str):
        raise ValueError(f"--format: {format!r} is not a format's name")
    ways = {None: 0, True: 1, False: -1}
    if progressive not in ways:
        raise ValueError(f"--progressive: '{progressive}' is neither True nor False")
    return _native.Writing(format, _unless_untold(quality, whole, "quality", 1, 100),
                           _unless_untold(subsampling, one_of, "subsampling", (444, 440, 422, 420, 411)),
                           ways[progressive], strips[strip], bool(reduce_depth),
                           _unless_untold(compression, whole, "compression", 1, 9))


class Picture:
    """A picture in memory of its own: Picture.open("in.png"), or made of an array or a Pillow image.

    type is "1-bit", "palette", "grey" or "RGB"; an alpha channel is the mask. With `palette` the numbers of an array
    count in its colours. Threads may share one; they take turns.
    """

    __slots__ = ("_native", "__weakref__")

    def __init__(self, picture, *, palette=None, mask=None):
        if isinstance(picture, _native.Picture):
            self._native = picture
        elif isinstance(picture, Picture):
            self._native = picture._native.copy()
        elif palette is not None and not _kinds.is_image(picture):
            view = _kinds.view_of(picture)
            layout = {_kinds.GREY: _kinds.INDEX, _kinds.GREY_ALPHA: _kinds.INDEX_ALPHA}.get(_kinds.layout_of(view))
            if layout is None:
                raise ValueError("the pixels of a palette picture are one number each")
            self._native = _kinds.from_view(view, layout, _colours(palette))
            palette = None
        else:
            self._native = native_of(picture)
        if palette is not None:
            self.palette = palette
        if mask is not None:
            self.mask = mask

    #---- Files

    @classmethod
    def open(cls, file, *, page=None, as_stored=False, allow_huge=False):
        """Reads a picture file by its name, or from an object with read(). OSError when that fails.

        page        which of a file's pages or frames, from 1; without it all of them
        as_stored   does not turn the picture upright; its orientation mark stays
        allow_huge  opens pictures beyond 32767 pixels an edge or 512 megapixels, too
        """
        reading = _reading(page, as_stored, allow_huge)
        if hasattr(file, "read"):
            return cls._heard(_native.decode(_bytes_of(file.read()), **reading))
        name = os.fsencode(file)
        try:
            return cls._heard(_native.read(name, **reading))
        except OSError as error:
            if not os.path.lexists(name):
                raise FileNotFoundError(str(error)) from None
            raise

    @classmethod
    def from_bytes(cls, data, *, page=None, as_stored=False, allow_huge=False):
        """Reads a picture from the bytes of a file, as open does."""
        return cls._heard(_native.decode(_bytes_of(data), **_reading(page, as_stored, allow_huge)))

    @classmethod
    def _heard(cls, read):
        native, notices = read
        tell(notices, 4)
        return cls(native)

    def save(self, file, *, format=None, **options):
        """Writes a file by its name or into an object with write(). What stood there stays when it fails.

        format        without it the name's ending tells it
        quality       of JPEG, 1 to 100; 0: as the picture's own file, else 90
        subsampling   of JPEG, 444, 440, 422, 420 or 411; 0: as the picture's own file, else by the quality
        progressive   of JPEG, True or False; None: as the picture's own file
        strip         "metadata" leaves out all but colour profile and resolution, "all" those too
        reduce_depth  True lets a file with more than 8 bits a sample be replaced by one with 8
        compression   of PNG, 1, quick, to 9, small; 0: the usual 2
        """
        writing = writing_of(format, **options)
        if hasattr(file, "write"):
            data, notices = self._native.encode(writing)
            tell(notices)
            file.write(data)
        else:
            name = os.fsencode(file)
            if format is None:
                _native.format_of_file(name)   # refuses an ending that is none of a picture's
            tell(self._native.write(name, writing))

    def to_bytes(self, format=None, **options):
        """The bytes of a file, with the options of save; without a format of the one that the picture was read from, else
        PNG.
        """
        data, notices = self._native.encode(writing_of(format, **options))
        tell(notices)
        return data

    @property
    def pages(self):
        """How many pages or frames it has; effects work on all of them, and what is asked of it is told of the first."""
        return self._native.pages

    @property
    def file_bits(self):
        """Bits per sample that its file had: more than 8 have become 8."""
        return self._native.file_bits

    @property
    def format(self):
        """The format that the picture was read from, or None."""
        return self._native.format

    #---- Pixels

    @property
    def type(self):
        return _kinds.TYPES[self._native.type]

    @property
    def width(self):
        return self._native.width

    @property
    def height(self):
        return self._native.height

    @property
    def size(self):
        """(width, height)"""
        return (self.width, self.height)

    def copy(self):
        return Picture(self._native.copy())

    def array(self, *, colours=False):
        """The pixels as a numpy array of its own: bool for 1 bit, H x W for palette and grey, H x W x 3 for RGB; with an
        8-bit mask H x W x 2 or x 4. With `colours` every type becomes H x W x 3, or x 4 with a mask.
        """
        native, masked = self._native, self._native.mask_bits > 0
        if colours or native.type == _kinds.RGB_TYPE:
            return _kinds.array_of(native, _kinds.RGBA if masked else _kinds.RGB)
        if native.type == _kinds.GREY_TYPE:
            return _kinds.array_of(native, _kinds.GREY_ALPHA if masked else _kinds.GREY)
        return _kinds.array_of(native, _kinds.BOOLS if native.type == _kinds.ONE_BIT else _kinds.INDEX)

    def __array__(self, dtype=None):
        made = self.array()
        return made if dtype is None else made.astype(dtype)

    def image(self):
        """A Pillow image of its own memory: mode 1, P, L, LA, RGB or RGBA. A 1-bit mask is left out."""
        import PIL.Image   # noqa: F401: the image asks for it
        masked = self._native.mask_bits == 8
        mode = ("1", "P", "LA" if masked else "L", "RGBA" if masked else "RGB")[self._native.type]
        return _kinds.image_of(self._native, mode)

    #---- What belongs to it

    @property
    def palette(self):
        """Colours as (red, green, blue); of a 1-bit and a grey picture those that it always has; empty for RGB."""
        flat = self._native.palette()
        return [tuple(flat[i:i + 3]) for i in range(0, len(flat), 3)]

    @palette.setter
    def palette(self, colours):
        self._native.set_palette(_colours(colours))

    @property
    def mask(self):
        """What effects may change, as a Picture of its own, 8 bits or 1 bit deep; None without."""
        mask = self._native.mask()
        return None if mask is None else Picture(mask)

    @mask.setter
    def mask(self, mask):
        give_mask(self._native, mask)

    @mask.deleter
    def mask(self):
        self._native.set_mask(None)

    @property
    def icc_profile(self):
        """The colour profile's bytes, or None."""
        return self._native.metadata(0)

    @icc_profile.setter
    def icc_profile(self, data):
        self._native.set_metadata(0, data)

    @property
    def exif(self):
        """The Exif bytes, a TIFF structure, or None."""
        return self._native.metadata(1)

    @exif.setter
    def exif(self, data):
        self._native.set_metadata(1, data)

    @property
    def dpi(self):
        """Dots per inch as (x, y); (0, 0) when they are not known."""
        return self._native.resolution()

    @dpi.setter
    def dpi(self, dots):
        try:
            x, y = map(float, dots)
        except (TypeError, ValueError):
            raise ValueError(f"dpi: {dots!r} is not (x, y)") from None
        self._native.set_resolution(x, y)

    #---- As Python has it

    def __repr__(self):
        masked = f", mask of {self._native.mask_bits} bits" if self._native.mask_bits else ""
        return f"<velmorant.Picture {self.type} {self.width} x {self.height}{masked}>"

    def _repr_png_(self):
        return self._native.encode(writing_of("png"))[0]

    def __reduce__(self):
        native = self._native
        layout = (_kinds.BITS, _kinds.INDEX, _kinds.GREY, _kinds.RGB)[native.type]
        pixels = bytearray(_kinds._bytes_per_row(layout, native.width) * native.height)
        native.to_buffer(pixels, layout, self.size)
        palette = native.palette() if native.type == _kinds.PALETTE else None
        extras = (native.metadata(0), native.metadata(1), native.resolution())
        return _restore, (bytes(pixels), layout, self.size, palette, self.mask, extras)


def _restore(pixels, layout, size, palette, mask, extras):
    picture = Picture(_native.from_buffer(pixels, layout, size, palette))
    if mask is not None:
        picture.mask = mask
    profile, exif, dpi = extras
    if profile:
        picture.icc_profile = profile
    if exif:
        picture.exif = exif
    if all(dpi):
        picture.dpi = dpi
    return picture


def take(thing):
    """The picture in the library's memory, for a run to change, and what makes the same kind of it again."""
    if isinstance(thing, Picture):
        def give(native, out):
            if out is None:
                return Picture(native)
            if not isinstance(out, Picture):
                raise ValueError("out is no velmorant.Picture, as the picture is")
            out._native = native
            return out
        return thing._native.copy(), give
    return _kinds.take_image(thing) if _kinds.is_image(thing) else _kinds.take_view(thing)
