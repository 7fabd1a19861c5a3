// A picture with all that a person has put on it, in one file: floating objects and their places, the mask to the bit,
// the selected area, the type. It is a TIFF file of several pages. The first is the picture as it is seen, so that every
// program shows it; the others are the picture beneath the objects, the mask, and each object with its mask; a note in
// the first page says which is which.
//
// Other formats hold less: what they leave out is told here too.

#pragma once

#include "host/documents/picture_file.h"

// What a file of this kind brings besides the picture: to be put on the image that is opened with it.
struct Document {
    struct Object {
        int32_t x = 0, y = 0, number = 0;
        bool selected = false;
        Picture picture = {}, mask = {};   // in the image's own type; the mask grey or 1-bit
    };
    Picture seen;   // what the objects make of the picture; no planes where there are none
    std::vector<Object> objects = {};
    std::vector<POINT> selection = {};
    int32_t nextObjectNumber = 1;
};

// Whether a TIFF file needs more than its picture's page to bring the image back as it is.
bool NeedsDocument(const ImageRecord &image);
// As WritePicture. The image does not run.
bool WriteDocument(const std::string &file, const ImageRecord *image, std::vector<std::string> &notices,
                   std::string &error);
// As ReadPicture, of any picture file; `document` stays empty where it is none of these. A file whose note or pages are
// damaged is read as the picture of its first page, with a notice.
bool ReadDocument(const std::string &file, Picture &picture, FileFormat &format, Document &document,
                  std::vector<std::string> &notices, std::string &error);
// Before anyone is told of the image, which was opened with the document's picture (OpenImage's `furnish`). False where
// another program has changed the first page: then the image shows that page, and has no objects.
bool Furnish(ImageRecord *image, Document &document);

// What a file of this format leaves out of the image, a few words each; empty when it can be opened again as it is. JPEG's
// small losses are what a person who chooses it expects.
std::vector<std::string> LeftOut(const ImageRecord &image, FileFormat format, const std::string &name);
