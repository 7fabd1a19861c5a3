// Letters as strokes on a grid 4 wide, with capitals from 0 to 6, small letters from 2 to 6 and tails down to 8. Draws what
// fits the plane; knows nothing of lines, paragraphs or languages.

#include "host/library/lettering.h"

#include <algorithm>
#include <cmath>
#include <cstring>

// From the blank on, a letter each. A stroke is a row of points, two digits each (x, y); blanks separate strokes, and a
// stroke of one point twice is a dot.
static constexpr const char *strokes[] = {
    "",                                         // blank
    "0004 0606",                                // !
    "0002 2022",                                // "
    "1016 3036 0242 0444",                      // #
    "413010010213334445361605 2027",            // $
    "4006 0000 4646",                           // %
    "4602011021320405163644",                   // &
    "0002",                                     // '
    "10020416",                                 // (
    "00121406",                                 // )
    "2125 0244 4204",                           // *
    "2125 0343",                                // +
    "0607",                                     // ,
    "0333",                                     // -
    "0606",                                     // .
    "4006",                                     // /
    "103041453616050110 0541",                  // 0
    "112026 1636",                              // 1
    "01103041420646",                           // 2
    "01103041423313 334445361605",              // 3
    "300444 3036",                              // 4
    "400003334445361605",                       // 5
    "4130100105163645443303",                   // 6
    "004016",                                   // 7
    "103041423313020110 13040516364544 4433",   // 8
    "0516364541301001021343",                   // 9
    "0303 0606",                                // :
    "0303 0607",                                // ;
    "410345",                                   // <
    "0242 0444",                                // =
    "014305",                                   // >
    "01103041422324 2626",                      // ?
    "41301001051645 4432232434",                // @
    "062046 1434",                              // A
    "060030414233033344453606",                 // B
    "4130100105163645",                         // C
    "06003041453606",                           // D
    "40000646 0333",                            // E
    "400006 0333",                              // F
    "41301001051636454323",                     // G
    "0006 4046 0343",                           // H
    "0020 1016 0626",                           // I
    "4045361605",                               // J
    "0006 400346",                              // K
    "000646",                                   // L
    "0600234046",                               // M
    "06004640",                                 // N
    "103041453616050110",                       // O
    "06003041423303",                           // P
    "103041453616050110 3446",                  // Q
    "06003041423303 2346",                      // R
    "413010010213334445361605",                 // S
    "0040 2026",                                // T
    "000516364540",                             // U
    "002640",                                   // V
    "0016233640",                               // W
    "0046 4006",                                // X
    "002340 2326",                              // Y
    "00400646",                                 // Z
    "10000616",                                 // [
    "0046",                                     // backslash
    "00101606",                                 // ]
    "022042",                                   // ^
    "0747",                                     // _
    "0011",                                     // `
    "12324346 441405163645",                    // a
    "0006 0312324345361605",                    // b
    "4332120305163645",                         // c
    "4046 4332120305163645",                    // d
    "04444332120305163645",                     // e
    "30201116 0232",                            // f
    "4247381807 4332120305163645",              // g
    "0006 0312324346",                          // h
    "0206 0000",                                // i
    "121708 1010",                              // j
    "0006 3204 1436",                           // k
    "000516",                                   // l
    "0206 03122326 23324346",                   // m
    "0206 0312324346",                          // n
    "123243453616050312",                       // o
    "0208 0312324345361605",                    // p
    "4248 4332120305163645",                    // q
    "0206 04122232",                            // r
    "43321203143445361605",                     // s
    "10152636 0232",                            // t
    "0205163645 4246",                          // u
    "022642",                                   // v
    "0216243642",                               // w
    "0246 4206",                                // x
    "0226 421808",                              // y
    "02420646",                                 // z
    "20111203131526",                           // {
    "0007",                                     // |
    "00111223131506",                           // }
    "04132433",                                 // ~
};
static constexpr char OTHER[] = "0040460600";   // what is no ASCII
static constexpr double CAPITAL = 6, GAP = 2, BLANK = 3, PEN = 0.42;

struct Point {
    double x, y;
};

static const char *StrokesOf(char letter)
{
    const int place = static_cast<unsigned char>(letter) - ' ';
    return place >= 0 && place < int(std::size(strokes)) ? strokes[place] : OTHER;
}

static std::vector<std::vector<Point>> LinesOf(const char *text)
{
    std::vector<std::vector<Point>> lines(1);
    for (; *text; ++text) {
        if (*text == ' ') lines.emplace_back();
        else lines.back().push_back({double(text[0] - '0'), double(text[1] - '0')}), ++text;
    }
    return lines;
}

static double WidthOf(char letter)
{
    double width = 0;
    if (letter == ' ') return BLANK;
    for (const auto &line : LinesOf(StrokesOf(letter)))
        for (const Point &point : line) width = std::max(width, point.x);
    return width;
}

// A letter of several bytes is one box.
static bool Continues(char byte) { return (byte & 0xC0) == 0x80; }

double WidthOfText(const std::string &text, double size)
{
    double width = 0;
    for (const char letter : text)
        if (!Continues(letter)) width += (width > 0 ? GAP : 0) + WidthOf(letter);
    return width * size / CAPITAL;
}

std::string FittingText(const std::string &text, double size, double width)
{
    if (WidthOfText(text, size) <= width) return text;
    std::string cut = text;
    while (!cut.empty() && WidthOfText(cut + "...", size) > width) cut.pop_back();
    while (!cut.empty() && Continues(text[cut.size()])) cut.pop_back();
    return cut + "...";
}

static double DistanceTo(const Point &a, const Point &b, double x, double y)
{
    const double dx = b.x - a.x, dy = b.y - a.y, length = dx * dx + dy * dy;
    const double t = length > 0 ? std::clamp(((x - a.x) * dx + (y - a.y) * dy) / length, 0.0, 1.0) : 0;
    return std::hypot(x - a.x - t * dx, y - a.y - t * dy);
}

static void DrawStroke(RgbPlane &plane, const Point &a, const Point &b, double pen, const uint8_t colour[3])
{
    const int32_t left = std::max(0, int32_t(std::min(a.x, b.x) - pen - 1));
    const int32_t right = std::min(plane.width - 1, int32_t(std::max(a.x, b.x) + pen + 1));
    const int32_t top = std::max(0, int32_t(std::min(a.y, b.y) - pen - 1));
    const int32_t bottom = std::min(plane.height - 1, int32_t(std::max(a.y, b.y) + pen + 1));
    for (int32_t y = top; y <= bottom; ++y) {
        for (int32_t x = left; x <= right; ++x) {
            const double cover = std::clamp(pen + 0.5 - DistanceTo(a, b, x + 0.5, y + 0.5), 0.0, 1.0);
            uint8_t *pixel = &plane.bytes[3 * (size_t(y) * size_t(plane.width) + size_t(x))];
            for (int c = 0; c < 3; ++c) pixel[c] = uint8_t(std::lround(pixel[c] + (colour[c] - pixel[c]) * cover));
        }
    }
}

void DrawText(RgbPlane &plane, const std::string &text, double x, double y, double size, const uint8_t colour[3])
{
    const double scale = size / CAPITAL;
    for (const char letter : text) {
        if (Continues(letter)) continue;
        if (letter != ' ') {
            for (const auto &line : LinesOf(StrokesOf(letter)))
                for (size_t i = 1; i < line.size(); ++i)
                    DrawStroke(plane, {x + line[i - 1].x * scale, y + line[i - 1].y * scale},
                               {x + line[i].x * scale, y + line[i].y * scale}, PEN * scale, colour);
        }
        x += (WidthOf(letter) + GAP) * scale;
    }
}
