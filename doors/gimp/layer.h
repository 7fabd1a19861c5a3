// The pixels of a layer (or of a channel or a layer mask) between GIMP and the library.

#ifndef DOORS_GIMP_LAYER_H
#define DOORS_GIMP_LAYER_H

#include <string>
#include <vector>

#include <libgimp/gimp.h>
#include <velmorant.h>

// Pixels lie row by row without gaps; indexed ones as an index each, with their alpha beside them.
struct LayerPart {
    gint32 drawable;
    int x, y, width, height;            // the box that was taken, pixels of the layer
    int apart;                          // every so many-th pixel of every so many-th row was taken: 1 for all
    std::vector<guchar> pixels;         // of ceil(width / apart) * ceil(height / apart) pixels
    std::vector<guchar> transparency;   // of an indexed layer with alpha: 0 or 255; else empty
    std::vector<guchar> palette;        // of an indexed layer: red, green, blue
    vlm_layout layout;
    bool blackFirst;   // a palette of black and white counts as 1-bit; which of them comes first
};

int RowsOf(const LayerPart &part);   // of `pixels`
int ColumnsOf(const LayerPart &part);

// Reads the box around what is selected, or the whole layer. More than 8 bits a sample are brought to 8 by GIMP.
// False, with a line for a person, where the layer cannot be changed or nothing of it is selected.
bool ReadLayer(gint32 drawable, bool whole, int apart, LayerPart &part, std::string &error);

// A picture with the part's pixels, which are let go where `keep` is not set.
vlm_code PictureOf(LayerPart &part, bool keep, vlm_picture **picture);

// The picture's pixels in the part's layout.
bool PixelsOf(const vlm_picture *picture, const LayerPart &like, std::vector<guchar> &pixels,
              std::vector<guchar> &transparency);

// The same as GIMP has them: the palette's own indices, alpha beside them.
void BackToGimp(const LayerPart &part, std::vector<guchar> &pixels, const std::vector<guchar> &transparency);

// Writes a picture that was made of the part, as one step that can be undone: within the selection where its size is
// the part's, else over the whole layer, which then has the picture's size and keeps its top left corner.
bool WriteLayer(const LayerPart &part, const vlm_picture *picture, const char *title, std::string &error);

#endif
