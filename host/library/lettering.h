// Small lettering for sheets of pictures: letters made of strokes, smooth at every size, without a font of the system's.

#pragma once

#include <cstdint>
#include <string>
#include <vector>

// A plane of RGB bytes, rows without gaps.
struct RgbPlane {
    int32_t width = 0, height = 0;
    std::vector<uint8_t> bytes = {};
};

// How wide a text is, in pixels; letters are `size` pixels high, from the top of a capital to the line they stand on.
double WidthOfText(const std::string &text, double size);
// As much of the text from its start as fits into `width` pixels, with dots at its end where it is cut.
std::string FittingText(const std::string &text, double size, double width);
// Draws a text whose capitals' top left corner is at (x, y), in one colour. What is no ASCII is drawn as a box.
void DrawText(RgbPlane &plane, const std::string &text, double x, double y, double size, const uint8_t colour[3]);
