// Cutting areas out of pictures. A free outline is a polygon through the middles of pixels: it holds those pixels whose
// middle lies inside (by the odd number of edges to the left) or on an edge. So a rectangle, given by its outermost
// pixels, holds all of them.

#include "host/misc/pictures/crop.h"

#include "host/misc/misc.h"
#include "host/misc/pictures/image_copy.h"
#include "host/misc/pictures/rows.h"

#include <algorithm>
#include <cstring>
#include <vector>

bool HasSelectedArea(const ImageRecord &image) { return image.selection.pointCount > 0; }

Area WorkingArea(const ImageRecord &image)
{
    if (!HasSelectedArea(image)) return {0, 0, image.width, image.height};
    const Selection &selection = image.selection;
    const int32_t left = std::max(selection.left, 0), top = std::max(selection.top, 0);
    const int32_t right = std::min(selection.right, image.width - 1);
    const int32_t bottom = std::min(selection.bottom, image.height - 1);
    return {left, top, right - left + 1, bottom - top + 1};
}

void CopyArea(uint8_t *to, const uint8_t *plane, int32_t width, int32_t bitsPerPixel, const Area &area)
{
    const uint32_t fromStride = RowStride(bitsPerPixel, width), stride = RowStride(bitsPerPixel, area.width);
    for (int32_t y = 0; y < area.height; ++y) {
        uint8_t *row = to + size_t(y) * stride;
        memset(row + stride - 4, 0, 4);   // the padding
        CopyRun(plane + size_t(area.top + y) * fromStride, area.left, row, 0, area.width, bitsPerPixel);
    }
}

uint8_t *CutArea(const uint8_t *plane, int32_t width, int32_t bitsPerPixel, const Area &area)
{
    if (!plane) return nullptr;
    uint8_t *cut = AllocateBytes(uint64_t(RowStride(bitsPerPixel, area.width)) * uint64_t(area.height));
    CopyArea(cut, plane, width, bitsPerPixel, area);
    return cut;
}

void PasteArea(uint8_t *plane, int32_t width, const uint8_t *cut, int32_t bitsPerPixel, const Area &area)
{
    if (!plane) return;
    const uint32_t toStride = RowStride(bitsPerPixel, width), stride = RowStride(bitsPerPixel, area.width);
    for (int32_t y = 0; y < area.height; ++y) {
        CopyRun(cut + size_t(y) * stride, 0, plane + size_t(area.top + y) * toStride, area.left, area.width,
                bitsPerPixel);
    }
}

//---- Free outlines

// Its four points are the bounds' corners, one after the other.
static bool IsRectangle(const Selection &selection)
{
    if (selection.pointCount != 4) return false;
    for (int32_t i = 0; i < 4; ++i) {
        const POINT &point = selection.points[i], &next = selection.points[(i + 1) % 4];
        const bool corner = (point.x == selection.left || point.x == selection.right) &&
                            (point.y == selection.top || point.y == selection.bottom);
        if (!corner || (point.x != next.x && point.y != next.y)) return false;
        const POINT &opposite = selection.points[(i + 2) % 4];
        if (point.x + opposite.x != selection.left + selection.right) return false;
        if (point.y + opposite.y != selection.top + selection.bottom) return false;
    }
    return true;
}

// A place on a row: a whole number and a fraction below 1.
struct Crossing {
    int64_t whole;
    uint64_t numerator, denominator;
    int64_t Ceiling() const { return whole + (numerator > 0); }
    bool operator<(const Crossing &other) const
    {
        if (whole != other.whole) return whole < other.whole;
        return numerator * other.denominator < other.numerator * denominator;
    }
};

struct Edge {
    POINT upper, lower;
};   // upper.y <= lower.y

static std::vector<Edge> EdgesOf(const Selection &selection)
{
    std::vector<Edge> edges;
    for (int32_t i = 0; i < selection.pointCount; ++i) {
        const POINT &point = selection.points[i], &next = selection.points[(i + 1) % selection.pointCount];
        edges.push_back(point.y <= next.y ? Edge{point, next} : Edge{next, point});
    }
    return edges;
}

static Crossing CrossingOf(const Edge &edge, int32_t y)
{
    const int64_t height = int64_t(edge.lower.y) - edge.upper.y;
    const int64_t way = (int64_t(y) - edge.upper.y) * (int64_t(edge.lower.x) - edge.upper.x);
    const int64_t rest = (way % height + height) % height;
    return {edge.upper.x + (way - rest) / height, uint64_t(rest), uint64_t(height)};
}

// Sets the pixels from..to of image coordinates that lie in the area.
static void SetSpan(uint8_t *row, const Area &area, int64_t from, int64_t to)
{
    from = std::max<int64_t>(from - area.left, 0);
    to = std::min<int64_t>(to - area.left, area.width - 1);
    if (from <= to) FillPixels(row, int32_t(from), int32_t(to - from + 1), 1, 1);
}

// An edge counts for the rows from its upper end to before its lower end, so that a row through a corner meets one of
// two edges that go on, and both or none of two that turn back.
static void SetInside(uint8_t *row, const Area &area, const std::vector<Edge> &edges, int32_t y,
                      std::vector<Crossing> &crossings)
{
    crossings.clear();
    for (const Edge &edge : edges)
        if (edge.upper.y <= y && y < edge.lower.y) crossings.push_back(CrossingOf(edge, y));
    std::sort(crossings.begin(), crossings.end());
    for (size_t i = 0; i + 1 < crossings.size(); i += 2)
        SetSpan(row, area, crossings[i].Ceiling(), crossings[i + 1].whole);
}

static void SetEdges(uint8_t *row, const Area &area, const std::vector<Edge> &edges, int32_t y)
{
    for (const Edge &edge : edges) {
        if (y < edge.upper.y || y > edge.lower.y) continue;
        if (edge.upper.y == edge.lower.y) {
            SetSpan(row, area, std::min(edge.upper.x, edge.lower.x), std::max(edge.upper.x, edge.lower.x));
            continue;
        }
        const Crossing crossing = CrossingOf(edge, y);
        if (crossing.numerator == 0) SetSpan(row, area, crossing.whole, crossing.whole);
    }
}

uint8_t *OutlineMask(const Selection &selection, const Area &area)
{
    if (selection.pointCount == 0 || IsRectangle(selection)) return nullptr;
    const uint32_t stride = RowStride(1, area.width);
    uint8_t *mask = AllocateBytes(uint64_t(stride) * uint64_t(area.height));
    memset(mask, 0, size_t(stride) * size_t(area.height));
    const std::vector<Edge> edges = EdgesOf(selection);
    std::vector<Crossing> crossings;
    for (int32_t y = 0; y < area.height; ++y) {
        uint8_t *row = mask + size_t(y) * stride;
        SetInside(row, area, edges, area.top + y, crossings);
        SetEdges(row, area, edges, area.top + y);
    }
    return mask;
}

//---- For the module

int32_t KPZAPI Cropping(const CropArea *crop, CropRequest *request)
{
    LogCall("Cropping", nullptr, crop, request);
    *request = {};
    const ImageRecord &image = *crop->image;
    const Area area = WorkingArea(image);
    if (!HasSelectedArea(image) || area.width < 1 || area.height < 1) return 0;
    *request = {area.left,
                area.top,
                area.left + area.width - 1,
                area.top + area.height - 1,
                CutArea(PictureBeneath(image), image.width, image.bitsPerPixel, area),
                OutlineMask(image.selection, area)};
    return 1;
}
