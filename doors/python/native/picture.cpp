// Pictures between Python's memory and the library's. Which layout an object has is found out in velmorant/_kinds.py;
// here it is held against the object's own size and strides, so that no wrong word there reaches beyond its memory.

#include "doors/python/native/calls.h"

using Native = std::shared_ptr<NativePicture>;

// Runs `call` without the interpreter's lock and fails as it does.
template <typename Call> static void Do(Call call)
{
    std::string line;
    vlm_code code;
    {
        const Unlocked others;
        code = call();
        if (code != VLM_OK) line = vlm_error_line();
    }
    if (code != VLM_OK) throw Failure{code, line};
}

static Native Own(vlm_picture *picture)
{
    auto native = std::make_shared<NativePicture>();
    native->handle.reset(picture);
    return native;
}

//---- Buffers

static int64_t RowBytes(vlm_layout layout, int64_t width)
{
    static constexpr int bytes[] = {0, 1, 1, 2, 1, 2, 3, 3, 4, 4, 4, 4};
    if (unsigned(layout) >= std::size(bytes)) throw py::value_error("no such layout");
    return layout == VLM_LAYOUT_BITS ? (width + 7) / 8 : bytes[layout] * width;
}

// A buffer of one dimension holds rows that follow each other, `size` pixels; another tells its size by its shape. Pixels
// of a row must lie side by side.
static vlm_planes PlanesOf(const py::buffer_info &buffer, vlm_layout layout,
                           const std::optional<std::pair<int, int>> &size)
{
    vlm_planes planes = {};
    planes.size = sizeof planes;
    planes.layout = layout;
    planes.pixels = buffer.ptr;
    if (buffer.itemsize != 1) throw py::value_error("pixels are bytes");
    if (buffer.ndim == 1) {
        if (!size || size->first < 1 || size->second < 1) throw py::value_error("rows of bytes need a size");
        planes.width = size->first;
        planes.height = size->second;
        const int64_t row = RowBytes(layout, planes.width);
        if (buffer.strides[0] != 1 || buffer.size != row * planes.height) {
            throw py::value_error("the bytes are not as many as the size needs");
        }
        planes.stride = ptrdiff_t(row);
        return planes;
    }
    if (buffer.ndim != 2 && buffer.ndim != 3) throw py::value_error("a picture has 2 or 3 dimensions");
    const py::ssize_t height = buffer.shape[0], width = buffer.shape[1];
    const py::ssize_t channels = buffer.ndim == 3 ? buffer.shape[2] : 1;
    if (height < 1 || width < 1) throw py::value_error("a picture has at least one pixel");
    if (height > INT32_MAX || width > INT32_MAX) throw py::value_error("the picture is too large");
    const int64_t row = RowBytes(layout, width);
    if (layout == VLM_LAYOUT_BITS || row != width * channels) throw py::value_error("the shape is not the layout's");
    const bool sideBySide =
        (channels == 1 || buffer.ndim == 2 || buffer.strides[2] == 1) && (width == 1 || buffer.strides[1] == channels);
    const py::ssize_t stride = height == 1 ? py::ssize_t(row) : buffer.strides[0];
    if (!sideBySide || (stride < 0 ? -stride : stride) < row)
        throw py::value_error("pixels must lie side by side in rows");
    planes.width = int32_t(width);
    planes.height = int32_t(height);
    planes.stride = stride;
    return planes;
}

static Native FromBuffer(const py::buffer &pixels, int layout, const std::optional<std::pair<int, int>> &size,
                         const std::optional<std::string> &palette)
{
    const py::buffer_info buffer = pixels.request();
    vlm_planes planes = PlanesOf(buffer, vlm_layout(layout), size);
    if (palette) {
        planes.palette = reinterpret_cast<const uint8_t *>(palette->data());
        planes.palette_entries = int(palette->size() / 3);
    }
    vlm_picture *picture = nullptr;
    Do([&] { return vlm_picture_from_planes(&planes, &picture); });
    return Own(picture);
}

static void ToBuffer(NativePicture &native, const py::buffer &pixels, int layout,
                     const std::optional<std::pair<int, int>> &size)
{
    const py::buffer_info buffer = pixels.request(true);
    const vlm_planes planes = PlanesOf(buffer, vlm_layout(layout), size);
    const InUse use(native);
    Do([&] { return vlm_picture_to_planes(native.handle.get(), &planes); });
}

static Native Blank(int type, int width, int height)
{
    vlm_picture *picture = nullptr;
    Do([&] { return vlm_picture_new(vlm_type(type), width, height, &picture); });
    return Own(picture);
}

static Native Copy(NativePicture &native)
{
    const InUse use(native);
    vlm_picture *picture = nullptr;
    Do([&] { return vlm_picture_copy(native.handle.get(), &picture); });
    return Own(picture);
}

//---- Files; what the library had to say is the second of what comes back

template <typename Call> static py::list DoAndHear(Call call)
{
    std::string line;
    vlm_code code;
    {
        const Unlocked others;
        code = call();
        if (code != VLM_OK) line = vlm_error_line();
    }
    if (code != VLM_OK) throw Failure{code, line};
    return Notices();
}

static vlm_reading Reading(int page, bool asStored, bool allowHuge)
{
    return {.size = sizeof(vlm_reading), .allow_huge = allowHuge, .as_stored = asStored, .page = page};
}

static py::tuple Read(const py::bytes &file, int page, bool asStored, bool allowHuge)
{
    const std::string name = file;
    Text(name);
    const vlm_reading reading = Reading(page, asStored, allowHuge);
    vlm_picture *picture = nullptr;
    const py::list notices = DoAndHear([&] { return vlm_picture_read_with(name.c_str(), &reading, &picture); });
    return py::make_tuple(Own(picture), notices);
}

static py::tuple Decode(const py::buffer &bytes, int page, bool asStored, bool allowHuge)
{
    const vlm_reading reading = Reading(page, asStored, allowHuge);
    const py::buffer_info buffer = bytes.request();
    if (buffer.ndim != 1 || buffer.itemsize != 1 || (buffer.size > 0 && buffer.strides[0] != 1)) {
        throw py::value_error("a file's bytes are one row of bytes");
    }
    vlm_picture *picture = nullptr;
    const py::list notices =
        DoAndHear([&] { return vlm_picture_decode_with(buffer.ptr, size_t(buffer.size), &reading, &picture); });
    return py::make_tuple(Own(picture), notices);
}

// The record's fields, of which the text is Python's.
struct NativeWriting {
    std::optional<std::string> format = {};
    int quality = 0, subsampling = 0, progressive = 0, strip = 0;
    bool reduceDepth = false;
    int compression = 0;
};

static vlm_writing Writing(const NativeWriting &given)
{
    return {.size = sizeof(vlm_writing),
            .format = given.format ? Text(*given.format) : nullptr,
            .quality = given.quality,
            .subsampling = given.subsampling,
            .progressive = given.progressive,
            .strip = given.strip,
            .reduce_depth = given.reduceDepth,
            .compression = given.compression};
}

static py::list Write(NativePicture &native, const py::bytes &file, const NativeWriting &given)
{
    const std::string name = file;
    Text(name);
    const vlm_writing writing = Writing(given);
    const InUse use(native);
    return DoAndHear([&] { return vlm_picture_write(native.handle.get(), name.c_str(), &writing); });
}

static py::tuple Encode(NativePicture &native, const NativeWriting &given)
{
    const vlm_writing writing = Writing(given);
    const InUse use(native);
    void *bytes = nullptr;
    size_t count = 0;
    const py::list notices =
        DoAndHear([&] { return vlm_picture_encode(native.handle.get(), &writing, &bytes, &count); });
    const std::unique_ptr<void, void (*)(void *)> owner(bytes, vlm_free);
    return py::make_tuple(py::bytes(static_cast<const char *>(bytes), count), notices);
}

static py::object Format(NativePicture &native)
{
    const InUse use(native);
    const vlm_format *format = vlm_picture_format(native.handle.get());
    return format ? py::object(py::str(format->name)) : py::object(py::none());
}

//---- What a picture has besides pixels

static py::bytes Palette(NativePicture &native)
{
    const InUse use(native);
    const uint8_t *palette = vlm_picture_palette(native.handle.get());
    const int entries = palette ? vlm_picture_palette_entries(native.handle.get()) : 0;
    return py::bytes(reinterpret_cast<const char *>(palette), 3 * size_t(entries));
}

static void SetPalette(NativePicture &native, const std::string &palette)
{
    const InUse use(native);
    const auto *bytes = reinterpret_cast<const uint8_t *>(palette.data());
    Hold(vlm_picture_set_palette(native.handle.get(), bytes, int(palette.size() / 3)));
}

static py::object Mask(NativePicture &native)
{
    const InUse use(native);
    if (!vlm_picture_mask_bits(native.handle.get())) return py::none();
    vlm_picture *mask = nullptr;
    Do([&] { return vlm_picture_get_mask(native.handle.get(), &mask); });
    return py::cast(Own(mask));
}

static void SetMask(NativePicture &native, const Native &mask)
{
    const InUse use(native);
    if (!mask) return Hold(vlm_picture_set_mask(native.handle.get(), nullptr));
    if (mask.get() == &native) throw py::value_error("a picture is not its own mask");
    const InUse both(*mask);
    Do([&] { return vlm_picture_set_mask(native.handle.get(), mask->handle.get()); });
}

static py::object Metadata(NativePicture &native, int kind)
{
    const InUse use(native);
    size_t count = 0;
    const uint8_t *bytes = vlm_picture_metadata(native.handle.get(), vlm_metadata(kind), &count);
    if (!bytes) return py::none();
    return py::bytes(reinterpret_cast<const char *>(bytes), count);
}

static void SetMetadata(NativePicture &native, int kind, const std::optional<std::string> &bytes)
{
    const InUse use(native);
    const auto *data = bytes ? reinterpret_cast<const uint8_t *>(bytes->data()) : nullptr;
    Hold(vlm_picture_set_metadata(native.handle.get(), vlm_metadata(kind), data, bytes ? bytes->size() : 0));
}

static std::pair<double, double> Resolution(NativePicture &native)
{
    const InUse use(native);
    double x = 0, y = 0;
    vlm_picture_resolution(native.handle.get(), &x, &y);
    return {x, y};
}

static void SetResolution(NativePicture &native, double x, double y)
{
    const InUse use(native);
    Hold(vlm_picture_set_resolution(native.handle.get(), x, y));
}

// A number that the library reads off a picture.
template <typename Number> static auto Ask(Number (*question)(const vlm_picture *))
{
    return [question](NativePicture &native) {
        const InUse use(native);
        return int(question(native.handle.get()));
    };
}

void DefinePictures(py::module_ &module)
{
    py::class_<NativeWriting>(module, "Writing")
        .def(py::init([](std::optional<std::string> format, int quality, int subsampling, int progressive, int strip,
                         bool reduceDepth, int compression) {
                 return NativeWriting{std::move(format), quality,    subsampling, progressive, strip,
                                      reduceDepth,       compression};
             }),
             py::arg("format") = py::none(), py::arg("quality") = 0, py::arg("subsampling") = 0,
             py::arg("progressive") = 0, py::arg("strip") = 0, py::arg("reduce_depth") = false,
             py::arg("compression") = 0);
    py::class_<NativePicture, Native>(module, "Picture")
        .def_property_readonly("type", Ask(vlm_picture_type))
        .def_property_readonly("width", Ask(vlm_picture_width))
        .def_property_readonly("height", Ask(vlm_picture_height))
        .def_property_readonly("mask_bits", Ask(vlm_picture_mask_bits))
        .def_property_readonly("pages", Ask(vlm_picture_pages))
        .def_property_readonly("file_bits", Ask(vlm_picture_file_bits))
        .def_property_readonly("format", Format)
        .def("to_buffer", ToBuffer, py::arg("pixels"), py::arg("layout"), py::arg("size") = py::none())
        .def("copy", Copy)
        .def("write", Write)
        .def("encode", Encode)
        .def("palette", Palette)
        .def("set_palette", SetPalette)
        .def("mask", Mask)
        .def("set_mask", SetMask)
        .def("metadata", Metadata)
        .def("set_metadata", SetMetadata)
        .def("resolution", Resolution)
        .def("set_resolution", SetResolution);
    module.def("from_buffer", FromBuffer, py::arg("pixels"), py::arg("layout"), py::arg("size") = py::none(),
               py::arg("palette") = py::none());
    module.def("blank", Blank);
    module.def("read", Read, py::arg("file"), py::arg("page") = 0, py::arg("as_stored") = false,
               py::arg("allow_huge") = false);
    module.def("decode", Decode, py::arg("bytes"), py::arg("page") = 0, py::arg("as_stored") = false,
               py::arg("allow_huge") = false);
}
