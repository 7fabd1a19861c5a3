#include "tests/reference/reference.h"

#include <algorithm>
#include <stdlib.h>

struct Tile {
    int x, y, moveX, moveY;
};

// Tiles that do not start a full tile before the border are left out, whole ones at the border too.
static std::vector<Tile> DrawTiles(int width, int height, int size, int offset)
{
    const int span = offset + 1;
    std::vector<Tile> tiles;
    for (int y = 0; y < height - size; y += size) {
        for (int x = 0; x < width - size; x += size) {
            const int moveX = rand() % span - span / 2;
            const int moveY = rand() % span - span / 2;
            tiles.push_back({x, y, moveX, moveY});
        }
    }
    return tiles;
}

static Raster Scattered(const Raster &source, const std::vector<Tile> &tiles, int size, Pixel fill)
{
    Raster output = MakeRaster(source.width, source.height, source.bits, fill);
    for (const Tile &tile : tiles) {
        for (int i = 0; i < size * size; ++i) {
            const int x = tile.x + i % size, y = tile.y + i / size;
            SetInside(output, x + tile.moveX, y + tile.moveY, Get(source, x, y));
        }
    }
    return output;
}

void ReferenceTiles(Picture &picture, int tileSize, uint32_t background, int offset)
{
    const int size = std::max(tileSize, 1);
    const std::vector<Tile> tiles = DrawTiles(picture.width, picture.height, size, offset);
    StorePixels(picture, Scattered(RasterOfPixels(picture), tiles, size, PixelOfFill(picture, background)));
    if (picture.mask) StoreMask(picture, Scattered(RasterOfMask(picture), tiles, size, {}));
}
