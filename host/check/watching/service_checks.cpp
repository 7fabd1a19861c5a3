// What only some effects need, one service in each check: a host that does not serve one ends the program and says so,
// which is told as a note.

#include "host/check/watching/watch.h"

#include <algorithm>
#include <cstring>
#include <numeric>

static void Strings()
{
    if (!watch.host) InCommand({});   // which brings the host's record
    Try("KPZ_LoadString");
    const char *module = watch.host ? watch.host->resourceModule : nullptr;
    if (!module) return;
    Doing("called KPZ_LoadString for string 5101 with a buffer of 100 bytes, and with one of 4");
    char whole[100], cut[8];
    memset(whole, 'x', sizeof whole);
    memset(cut, 'x', sizeof cut);
    const int32_t length = KPZ_LoadString(nullptr, module, 5101, whole, sizeof whole);
    const bool ended = memchr(whole, 0, sizeof whole) != nullptr;
    if (!Expect(ended && length == int32_t(strlen(whole)), Rule::HOST_STRINGS,
                "the result is " + std::to_string(length) + ", which is not the text's length"))
        return;
    const int32_t cutLength = KPZ_LoadString(nullptr, module, 5101, cut, 4);
    Expect(cutLength == std::min(length, 3) && !cut[cutLength], Rule::HOST_STRINGS,
           "cut to 4 bytes its length is " + std::to_string(cutLength));
    for (int i = 4; i < 8; ++i) Expect(cut[i] == 'x', Rule::HOST_STRINGS, "a byte behind the buffer was written");
    Doing("called KPZ_LoadString for a string that there is not");
    const int32_t none = KPZ_LoadString(nullptr, module, 30000, whole, sizeof whole);
    Expect(none == 0 && !whole[0], Rule::HOST_STRINGS, "the result is " + std::to_string(none));
}

static void Closest()
{
    Try("FindClosestColor");
    Doing("called FindClosestColor for a palette of black, red, red and white");
    uint8_t red[256] = {0, 255, 255, 255}, green[256] = {0, 0, 0, 255}, blue[256] = {0, 0, 0, 255};
    const auto closest = [&](uint32_t colour) { return FindClosestColor(colour, red, green, blue, 4); };
    Expect(closest(0x00FFFFFF) == 3, Rule::HOST_CLOSEST, "white is entry " + std::to_string(closest(0x00FFFFFF)));
    Expect(closest(0x000000F0) == 1, Rule::HOST_CLOSEST,
           "0x0000F0, a red, is entry " + std::to_string(closest(0x000000F0)) + "; 1 is the lowest of two alike");
}

static void Flip()
{
    Try("FlipPic");
    Doing("called FlipPic for a grey picture of 3 x 2");
    const uint8_t before[8] = {1, 2, 3, 77, 4, 5, 6, 88};
    static constexpr uint8_t leftRight[8] = {3, 2, 1, 77, 6, 5, 4, 88}, topBottom[8] = {4, 5, 6, 77, 1, 2, 3, 88};
    uint8_t plane[8];
    memcpy(plane, before, 8);
    FlipPic(plane, 3, 2, 0, 8);
    Expect(memcmp(plane, leftRight, 8) == 0, Rule::HOST_FLIP, "with direction 0 left and right are not exchanged");
    memcpy(plane, before, 8);
    FlipPic(plane, 3, 2, 1, 8);
    plane[3] = 77, plane[7] = 88;   // rows may move whole
    Expect(memcmp(plane, topBottom, 8) == 0, Rule::HOST_FLIP, "with direction 1 top and bottom are not exchanged");
}

static void Objects()
{
    Try("CountSelectedObjects");
    Doing("called CountSelectedObjects for three objects of which two are selected");
    FloatingObject objects[3] = {};
    FloatingObject *list[] = {&objects[0], &objects[1], &objects[2]};
    objects[0].selected = objects[2].selected = 1;
    const ObjectList three = {list, 3, 3}, none = {nullptr, 0, 0};
    Expect(CountSelectedObjects(&three) == 2, Rule::HOST_COUNT,
           "it counted " + std::to_string(CountSelectedObjects(&three)));
    Expect(CountSelectedObjects(&none) == 0, Rule::HOST_COUNT, "an empty list has selected objects");
}

static void Fetching()
{
    Try("Relocate");
    Doing("called Relocate for the middle of each pixel of a grey picture of 4 x 3");
    uint8_t source[12], destination = 0;
    std::iota(source, source + 12, uint8_t(10));
    for (int i = 0; i < 12; ++i) {
        RelocateRequest request = {};
        request.source = source;
        request.destination = &destination;
        request.width = request.secondWidth = request.stride = 4;
        request.height = 3;
        request.bitsPerPixel = 8;
        request.colourType = GREY;
        request.sourceX = request.x = i % 4;
        request.sourceY = request.y = i / 4;
        Relocate(&request);
        if (!Expect(destination == source[i], Rule::HOST_RELOCATE,
                    "pixel " + std::to_string(i % 4) + ", " + std::to_string(i / 4) + " is " +
                        std::to_string(source[i]) + " and was fetched as " + std::to_string(destination)))
            return;
    }
}

static void Cut()
{
    Try("Cropping");
    ImageRecord *image = watch.driver->openImage(9, 9, RGB);
    if (!image) return;
    Doing("called Cropping for an image without a selection");
    CropRequest request = {};
    const int32_t result = Cropping(&image->cropArea, &request);
    Expect(!result && !request.pixels && !request.mask, Rule::HOST_CROPPING, "it gave something");
    watch.driver->closeImage(image);
}

const HostCheck serviceChecks[] = {
    {6, "host/strings", Strings}, {6, "host/closest-colour", Closest}, {6, "host/flip", Flip},
    {6, "host/objects", Objects}, {6, "host/fetching", Fetching},      {6, "host/cutting", Cut},
    {0, nullptr, nullptr},
};
