#include "tests/support/furnished.h"

#include "host/check/pictures.h"
#include "tests/support/pictures.h"

ImageRecord *OpenFurnished(Host &host, int32_t colourType, uint32_t seed)
{
    std::mt19937 generator(seed);
    Picture picture = RandomPicture(colourType, 37, 21, generator);
    AddRandomMask(picture, colourType == RGB || colourType == GREY ? 8 : 1, generator);
    ImageRecord *image = OpenImage(host, std::move(picture));
    std::string error;
    for (const int32_t x : {-4, 9, 30}) {
        Picture object = RandomPicture(RGB, 11, 8, generator);
        AddRandomMask(object, 8, generator);
        AddObject(image, object, x, x / 2, error);
    }
    SelectObject(image, 1, false);
    SelectOutline(image, {{3, 2}, {30, 5}, {12, 19}});
    EditMask(image, seed % 2);
    return image;
}

const FloatingObject &ObjectOf(const ImageRecord *image, int32_t index) { return *image->objectList.objects[index]; }

std::string StateOf(const ImageRecord *image) { return StateOfImage(image); }
