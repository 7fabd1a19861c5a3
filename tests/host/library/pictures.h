// Pictures through the door alone, for its tests.

#pragma once

#include "host/library/velmorant.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct Free {
    void operator()(vlm_picture *picture) const { vlm_picture_free(picture); }
    void operator()(vlm_steps *steps) const { vlm_steps_free(steps); }
    void operator()(vlm_run *run) const { vlm_run_free(run); }
};
typedef std::unique_ptr<vlm_picture, Free> PicturePointer;
typedef std::unique_ptr<vlm_steps, Free> StepsPointer;
typedef std::unique_ptr<vlm_run, Free> RunPointer;

// Bytes that tell places apart.
inline uint8_t ByteAt(size_t place, unsigned seed) { return uint8_t((place * 2654435761u + seed * 40503u) >> 13); }

inline vlm_planes PlanesOf(vlm_layout layout, int32_t width, int32_t height, void *pixels)
{
    vlm_planes planes = {};
    planes.size = sizeof planes;
    planes.layout = layout;
    planes.width = width;
    planes.height = height;
    planes.pixels = pixels;
    return planes;
}

inline PicturePointer Sample(vlm_layout layout, int32_t width, int32_t height, unsigned seed = 1)
{
    const int bytes = layout == VLM_LAYOUT_RGBA || layout == VLM_LAYOUT_BGRA ? 4 : 3;
    std::vector<uint8_t> pixels(size_t(width) * size_t(height) * size_t(bytes)), palette(768);
    for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = ByteAt(i, seed);
    for (size_t i = 0; i < palette.size(); ++i) palette[i] = ByteAt(i, seed + 1);
    vlm_planes planes = PlanesOf(layout, width, height, pixels.data());
    planes.palette = palette.data();
    planes.palette_entries = 256;
    vlm_picture *picture = nullptr;
    EXPECT_EQ(vlm_picture_from_planes(&planes, &picture), VLM_OK) << vlm_error_line();
    return PicturePointer(picture);
}

// As red, green, blue, alpha.
inline std::vector<uint8_t> PixelsOf(const vlm_picture *picture)
{
    const int32_t width = vlm_picture_width(picture), height = vlm_picture_height(picture);
    std::vector<uint8_t> pixels(4 * size_t(width) * size_t(height));
    const vlm_planes planes = PlanesOf(VLM_LAYOUT_RGBA, width, height, pixels.data());
    EXPECT_EQ(vlm_picture_to_planes(picture, &planes), VLM_OK) << vlm_error_line();
    return pixels;
}
inline std::vector<uint8_t> PixelsOf(const PicturePointer &picture) { return PixelsOf(picture.get()); }

inline PicturePointer CopyOf(const PicturePointer &picture)
{
    vlm_picture *copy = nullptr;
    EXPECT_EQ(vlm_picture_copy(picture.get(), &copy), VLM_OK);
    return PicturePointer(copy);
}

inline StepsPointer StepsOf(const std::vector<std::string> &lines)
{
    StepsPointer steps(vlm_steps_new());
    for (const std::string &line : lines)
        EXPECT_EQ(vlm_steps_add_line(steps.get(), line.c_str()), VLM_OK) << vlm_error_line();
    return steps;
}

inline PicturePointer Applied(const PicturePointer &picture, const std::vector<std::string> &lines)
{
    PicturePointer copy = CopyOf(picture);
    EXPECT_EQ(vlm_apply(StepsOf(lines).get(), copy.get(), nullptr), VLM_OK) << vlm_error_line();
    return copy;
}

// That the call failed with this code and a line that holds `part`.
#define EXPECT_FAILS(call, code, part)                                                              \
    do {                                                                                            \
        EXPECT_EQ(call, code) << vlm_error_line();                                                  \
        EXPECT_EQ(vlm_error_code(), code);                                                          \
        EXPECT_NE(std::string(vlm_error_line()).find(part), std::string::npos) << vlm_error_line(); \
    } while (false)
