// A picture or several for each way in which files are written, with words where the format has a place for them.

#pragma once

#include "host/documents/files/formats.h"

struct Document {
    std::string what;
    Picture picture;
    std::vector<Picture> further;
    bool (*write)(Writing &);
    std::string name, note;
    int quality = 0;
    bool seeks = false;
};

std::vector<Document> SampleDocuments();   // of the formats that this build has
