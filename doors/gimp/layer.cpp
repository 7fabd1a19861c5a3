// Reads and writes layers; see the header. GIMP's pixel regions are used where an image has 8 bits a sample, though newer
// ways exist: they need no GEGL in the process, which takes a second to start. Other images are taken through GEGL, which
// brings them to 8 bits as files have them: so many of linear light would leave next to nothing of what is dark.

#include "doors/gimp/layer.h"

#include <gegl.h>
#include <string.h>

static int Taken(int length, int apart) { return (length + apart - 1) / apart; }
int ColumnsOf(const LayerPart &part) { return Taken(part.width, part.apart); }
int RowsOf(const LayerPart &part) { return Taken(part.height, part.apart); }

static bool IsIndexed(vlm_layout layout) { return layout == VLM_LAYOUT_INDEX || layout == VLM_LAYOUT_BOOLS; }

static int BytesPerPixel(vlm_layout layout)
{
    switch (layout) {
    case VLM_LAYOUT_GREY_ALPHA: return 2;
    case VLM_LAYOUT_RGB: return 3;
    case VLM_LAYOUT_RGBA: return 4;
    default: return 1;
    }
}

//---- More than 8 bits a sample, and linear light

// As most images are. What asks for an image's precision is handed more than 8 bits by pixel regions, where there are
// more: these are for such layers alone.
static bool IsPlain(gint32 drawable)
{
    return gimp_image_get_precision(gimp_item_get_image(drawable)) == GIMP_PRECISION_U8_GAMMA;
}

static int ChannelsOf(gint32 drawable)
{
    return (gimp_drawable_is_gray(drawable) ? 1 : 3) + (gimp_drawable_has_alpha(drawable) ? 1 : 0);
}

// Bytes as files have them, in the layer's own space; masks and channels are amounts, not light.
static const Babl *BytesOf(gint32 drawable, GeglBuffer *buffer)
{
    static constexpr const char *names[] = {"Y' u8", "Y'A u8", "R'G'B' u8", "R'G'B'A u8"};
    return babl_format_with_space(gimp_item_is_layer(drawable) ? names[ChannelsOf(drawable) - 1] : "Y u8",
                                  babl_format_get_space(gegl_buffer_get_format(buffer)));
}

static GeglBuffer *OpenBuffer(gint32 drawable, bool shadow)
{
    static const bool begun = (gegl_init(nullptr, nullptr), true);
    (void)begun;
    return shadow ? gimp_drawable_get_shadow_buffer(drawable) : gimp_drawable_get_buffer(drawable);
}

static void ReadThroughGegl(gint32 drawable, int x, int y, int width, int height, int apart,
                            std::vector<guchar> &pixels)
{
    GeglBuffer *buffer = OpenBuffer(drawable, false);
    const Babl *format = BytesOf(drawable, buffer);
    const size_t bytes = size_t(ChannelsOf(drawable)), columns = size_t(Taken(width, apart));
    pixels.resize(columns * size_t(Taken(height, apart)) * bytes);
    const auto get = [&](int top, int rows, guchar *to) {
        const GeglRectangle box = {x, top, width, rows};
        gegl_buffer_get(buffer, &box, 1, format, to, GEGL_AUTO_ROWSTRIDE, GEGL_ABYSS_NONE);
    };
    if (apart == 1) {
        get(y, height, pixels.data());
    } else {
        std::vector<guchar> row(size_t(width) * bytes);
        guchar *to = pixels.data();
        for (int down = 0; down < height; down += apart) {
            get(y + down, 1, row.data());
            for (size_t i = 0; i < columns; ++i, to += bytes) memcpy(to, row.data() + i * size_t(apart) * bytes, bytes);
        }
    }
    g_object_unref(buffer);
}

static void WriteThroughGegl(gint32 drawable, int x, int y, int width, int height, bool shadow, const guchar *pixels)
{
    GeglBuffer *buffer = OpenBuffer(drawable, shadow);
    const GeglRectangle box = {x, y, width, height};
    gegl_buffer_set(buffer, &box, 0, BytesOf(drawable, buffer), pixels, GEGL_AUTO_ROWSTRIDE);
    gegl_buffer_flush(buffer);
    g_object_unref(buffer);
}

//---- Reading

static void ReadBox(gint32 drawable, int x, int y, int width, int height, int apart, std::vector<guchar> &pixels)
{
    if (!IsPlain(drawable)) return ReadThroughGegl(drawable, x, y, width, height, apart, pixels);
    GimpDrawable *handle = gimp_drawable_get(drawable);
    const size_t bytes = handle->bpp;
    GimpPixelRgn region;
    gimp_pixel_rgn_init(&region, handle, x, y, width, height, FALSE, FALSE);
    if (apart == 1) {
        pixels.resize(size_t(width) * size_t(height) * bytes);
        gimp_tile_cache_ntiles(gulong(width) / gimp_tile_width() + 2);
        gimp_pixel_rgn_get_rect(&region, pixels.data(), x, y, width, height);
    } else {
        std::vector<guchar> row(size_t(width) * bytes);
        pixels.reserve(size_t(Taken(width, apart)) * size_t(Taken(height, apart)) * bytes);
        for (int down = 0; down < height; down += apart) {
            gimp_pixel_rgn_get_row(&region, row.data(), x, y + down, width);
            for (size_t i = 0; i < row.size(); i += size_t(apart) * bytes)
                pixels.insert(pixels.end(), row.begin() + ptrdiff_t(i), row.begin() + ptrdiff_t(i + bytes));
        }
    }
    gimp_drawable_detach(handle);
}

static void ReadPalette(LayerPart &part)
{
    static const guchar blackWhite[] = {0, 0, 0, 255, 255, 255}, whiteBlack[] = {255, 255, 255, 0, 0, 0};
    gint entries = 0;
    guchar *colours = gimp_image_get_colormap(gimp_item_get_image(part.drawable), &entries);
    part.palette.assign(colours, colours + 3 * entries);
    g_free(colours);
    part.blackFirst = part.palette.size() == 6 && memcmp(part.palette.data(), blackWhite, 6) == 0;
    const bool oneBit =
        part.blackFirst || (part.palette.size() == 6 && memcmp(part.palette.data(), whiteBlack, 6) == 0);
    part.layout = oneBit ? VLM_LAYOUT_BOOLS : VLM_LAYOUT_INDEX;
}

// Index, alpha, index, alpha ... taken apart.
static void TakeAlphaOut(LayerPart &part)
{
    const size_t count = part.pixels.size() / 2;
    part.transparency.resize(count);
    for (size_t i = 0; i < count; ++i) {
        part.transparency[i] = part.pixels[2 * i + 1];
        part.pixels[i] = part.pixels[2 * i];
    }
    part.pixels.resize(count);
}

bool ReadLayer(gint32 drawable, bool whole, int apart, LayerPart &part, std::string &error)
{
    part = {};
    part.drawable = drawable;
    part.apart = apart;
    if (gimp_item_is_group(drawable)) error = "a layer group has no pixels of its own";
    else if (gimp_item_get_lock_content(drawable)) error = "the layer's pixels are locked";
    else if (whole && !gimp_item_is_layer(drawable)) error = "only layers can change their size";
    else if (whole && gimp_layer_is_floating_sel(drawable)) error = "a floating selection cannot change its size";
    if (!error.empty()) return false;

    if (whole) {
        part.width = gimp_drawable_width(drawable);
        part.height = gimp_drawable_height(drawable);
    } else if (!gimp_drawable_mask_intersect(drawable, &part.x, &part.y, &part.width, &part.height)) {
        error = "nothing of the layer is selected";
        return false;
    }
    ReadBox(drawable, part.x, part.y, part.width, part.height, apart, part.pixels);

    const bool alpha = gimp_drawable_has_alpha(drawable);
    if (gimp_drawable_is_indexed(drawable)) {
        ReadPalette(part);
        if (alpha) TakeAlphaOut(part);
        if (part.layout == VLM_LAYOUT_BOOLS)
            for (guchar &pixel : part.pixels) pixel = (pixel == 0) != part.blackFirst;
    } else if (gimp_drawable_is_gray(drawable)) {
        part.layout = alpha ? VLM_LAYOUT_GREY_ALPHA : VLM_LAYOUT_GREY;
    } else {
        part.layout = alpha ? VLM_LAYOUT_RGBA : VLM_LAYOUT_RGB;
    }
    return true;
}

//---- The library's pictures

static vlm_planes PlanesOf(const LayerPart &part, int width, int height, guchar *pixels, guchar *transparency)
{
    vlm_planes planes = {};
    planes.size = sizeof planes;
    planes.width = width;
    planes.height = height;
    planes.layout = part.layout;
    planes.pixels = pixels;
    planes.mask = transparency;
    planes.mask_bits = transparency ? 8 : 0;
    planes.flags = VLM_PLANES_DROP_OPAQUE;
    if (part.layout == VLM_LAYOUT_INDEX) {
        planes.palette = part.palette.data();
        planes.palette_entries = int(part.palette.size() / 3);
    }
    return planes;
}

vlm_code PictureOf(LayerPart &part, bool keep, vlm_picture **picture)
{
    const vlm_planes planes = PlanesOf(part, ColumnsOf(part), RowsOf(part), part.pixels.data(),
                                       part.transparency.empty() ? nullptr : part.transparency.data());
    const vlm_code code = vlm_picture_from_planes(&planes, picture);
    if (!keep) std::vector<guchar>().swap(part.pixels);
    return code;
}

bool PixelsOf(const vlm_picture *picture, const LayerPart &like, std::vector<guchar> &pixels,
              std::vector<guchar> &transparency)
{
    const int width = vlm_picture_width(picture), height = vlm_picture_height(picture);
    const size_t count = size_t(width) * size_t(height);
    pixels.resize(count * size_t(BytesPerPixel(like.layout)));
    transparency.resize(like.transparency.empty() ? 0 : count);
    const vlm_planes planes =
        PlanesOf(like, width, height, pixels.data(), transparency.empty() ? nullptr : transparency.data());
    return vlm_picture_to_planes(picture, &planes) == VLM_OK;
}

//---- Writing

void BackToGimp(const LayerPart &part, std::vector<guchar> &pixels, const std::vector<guchar> &transparency)
{
    if (part.layout == VLM_LAYOUT_BOOLS)
        for (guchar &pixel : pixels) pixel = (pixel == 0) != part.blackFirst;
    if (transparency.empty()) return;
    std::vector<guchar> both(2 * pixels.size());
    for (size_t i = 0; i < pixels.size(); ++i) {
        both[2 * i] = pixels[i];
        both[2 * i + 1] = transparency[i];
    }
    pixels.swap(both);
}

static void WriteBox(gint32 drawable, int x, int y, int width, int height, bool shadow, const guchar *pixels)
{
    if (!IsPlain(drawable)) return WriteThroughGegl(drawable, x, y, width, height, shadow, pixels);
    GimpDrawable *handle = gimp_drawable_get(drawable);
    GimpPixelRgn region;
    gimp_pixel_rgn_init(&region, handle, x, y, width, height, TRUE, shadow);
    gimp_tile_cache_ntiles(gulong(width) / gimp_tile_width() + 2);
    gimp_pixel_rgn_set_rect(&region, pixels, x, y, width, height);
    gimp_drawable_flush(handle);
    gimp_drawable_detach(handle);
}

// There is nothing between two colours of a palette: a pixel is changed where at least half of it is selected.
static void KeepUnselected(const LayerPart &part, std::vector<guchar> &pixels)
{
    const gint32 image = gimp_item_get_image(part.drawable);
    if (gimp_selection_is_empty(image)) return;
    std::vector<guchar> before, selection;
    ReadBox(part.drawable, part.x, part.y, part.width, part.height, 1, before);
    gint left = 0, top = 0;
    gimp_drawable_offsets(part.drawable, &left, &top);
    ReadBox(gimp_image_get_selection(image), part.x + left, part.y + top, part.width, part.height, 1, selection);
    const size_t bytes = pixels.size() / selection.size();
    for (size_t i = 0; i < selection.size(); ++i)
        if (selection[i] < 128) memcpy(pixels.data() + i * bytes, before.data() + i * bytes, bytes);
}

static void WriteWithin(const LayerPart &part, std::vector<guchar> &pixels)
{
    const bool indexed = IsIndexed(part.layout);
    if (indexed) KeepUnselected(part, pixels);
    WriteBox(part.drawable, part.x, part.y, part.width, part.height, true, pixels.data());
    gimp_drawable_merge_shadow(part.drawable, TRUE);
    // GIMP looks colours up again on that way and may find another index of the same colour. What is undone is known
    // by now, so that the layer can be written to as it is.
    if (indexed) WriteBox(part.drawable, part.x, part.y, part.width, part.height, false, pixels.data());
    gimp_drawable_update(part.drawable, part.x, part.y, part.width, part.height);
}

bool WriteLayer(const LayerPart &part, const vlm_picture *picture, const char *title, std::string &error)
{
    std::vector<guchar> pixels, transparency;
    if (!PixelsOf(picture, part, pixels, transparency)) {
        error = vlm_error_line();
        return false;
    }
    BackToGimp(part, pixels, transparency);
    const int width = vlm_picture_width(picture), height = vlm_picture_height(picture);
    const gint32 image = gimp_item_get_image(part.drawable);
    const bool resized = width != part.width || height != part.height;
    gimp_image_undo_group_start(image);
    if (!resized) {
        WriteWithin(part, pixels);
    } else if (gimp_layer_resize(part.drawable, width, height, 0, 0)) {
        // The resizing keeps all of the layer for undoing, whatever is selected.
        WriteBox(part.drawable, 0, 0, width, height, false, pixels.data());
        gimp_drawable_update(part.drawable, 0, 0, width, height);
    } else {
        error = std::string(title) + ": the layer could not be made larger";
    }
    gimp_image_undo_group_end(image);
    return error.empty();
}
