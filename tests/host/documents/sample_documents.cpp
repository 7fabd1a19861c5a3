// The pictures that tests of all writers go through.

#include "tests/host/documents/sample_documents.h"

#include "tests/host/documents/test_files.h"
#include "tests/support/pictures.h"

static Picture WithWords(Picture picture)
{
    PictureExtras &extras = picture.extras;
    static const char packet[] = "<rdf:RDF/>";
    extras.xmp.assign(packet, packet + sizeof packet - 1);
    extras.iptc = {0x1C, 2, 5, 0, 1, 'a'};
    extras.texts = {{"Comment", "seen"}, {"Title", "Leaves"}};
    extras.dotsPerInchX = extras.dotsPerInchY = 300;
    extras.colourProfile.assign(200, 7);
    return picture;
}

static Picture OfType(int32_t colourType, int32_t maskBits = 0)
{
    PictureCase kind = {};
    kind.colourType = colourType;
    kind.width = 13;
    kind.height = 7;
    kind.maskBits = maskBits;
    kind.seed = 5;
    return RandomPicture(kind);
}

std::vector<Document> SampleDocuments()
{
    std::vector<Document> all;
    const auto add = [&all](std::string what, Picture picture, bool (*write)(Writing &),
                            std::string name) -> Document & {
        Document &document = all.emplace_back();
        document.what = std::move(what);
        document.picture = std::move(picture);
        document.write = write;
        document.name = std::move(name);
        return document;
    };
    add("PNG", WithWords(OfType(RGB, 8)), WritePng, "a.png");
    add("PNG of a palette", OfType(PALETTE), WritePng, "a.png");
    add("BMP", WithWords(OfType(RGB, 8)), WriteBmp, "a.bmp");
    add("BMP of a bit", OfType(ONE_BIT), WriteBmp, "a.bmp").picture.extras.whiteIsZero = true;
    add("JPEG", WithWords(OfType(RGB)), WriteJpeg, "a.jpg");
    add("PNM", OfType(PALETTE), WritePnm, "a.ppm");
    add("PBM", OfType(ONE_BIT), WritePnm, "a.pbm");
    add("PAM", OfType(GREY, 8), WritePnm, "a.pam");
    Document &pages = add("TIFF of two pages", WithWords(OfType(RGB, 8)), WriteTiff, "a.tif");
    pages.further.push_back(OfType(ONE_BIT));
    pages.note = "what the pages are";
    pages.seeks = true;
    Document &packed = add("TIFF packed as JPEG", OfType(RGB), WriteTiff, "a.tif");
    packed.picture.extras.shape.compression = 7;
    packed.seeks = true;
    Document &fax = add("TIFF of a bit", OfType(ONE_BIT), WriteTiff, "a.tif");
    fax.picture.extras.shape.compression = 3;
    fax.seeks = true;
    if (ReadBytes({'G', 'I', 'F', '8', '9', 'a'}).error.find("this build has no") == std::string::npos) {
        add("GIF", WithWords(OfType(RGB)), WriteGif, "a.gif");
        Document &frames = add("GIF of three frames", OfType(PALETTE, 1), WriteGif, "a.gif");
        for (int i = 0; i < 2; ++i) frames.further.push_back(OfType(PALETTE, 1));
        frames.picture.extras.shape.loops = 2;
    }
    if (ReadBytes({'R', 'I', 'F', 'F', 0, 0, 0, 0, 'W', 'E', 'B', 'P'}).error.find("this build has no") ==
        std::string::npos) {
        add("WebP", WithWords(OfType(RGB)), WriteWebP, "a.webp");
        Document &lossy = add("lossy WebP", OfType(RGB, 8), WriteWebP, "a.webp");
        lossy.picture.extras.shape.lossy = true;
        add("WebP of two frames", OfType(RGB, 8), WriteWebP, "a.webp").further.push_back(OfType(RGB, 8));
    }
    return all;
}
