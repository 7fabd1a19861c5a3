// Floating objects, selected areas and masks of open images.

#include "tests/host/documents/documents_fixture.h"
#include "tests/support/comparison.h"
#include "tests/support/furnished.h"

typedef DocumentsTest ImageParts;

static void Add(ImageRecord *image, const Picture &picture, int32_t x, int32_t y)
{
    std::string error;
    EXPECT_TRUE(AddObject(image, picture, x, y, error)) << error;
}

static uint32_t Shown(const ImageRecord *image, int32_t x, int32_t y) { return PixelOf(PictureOf(image), x, y); }

//---- Objects

TEST_F(ImageParts, AnObjectIsARecordWithItsPixelAndMaskRows)
{
    ImageRecord *image = OpenImage(host, Grey(Values(4, std::vector<uint32_t>(6, 10))));
    Add(image, WithMask(Grey({{100, 200, 50}, {1, 2, 3}}), {{255, 0, 127}, {255, 255, 255}}), 2, 1);
    const FloatingObject &object = ObjectOf(image, 0);
    EXPECT_EQ(object.mark[0], 100);
    EXPECT_EQ(object.mark[1], 0);
    EXPECT_EQ(object.mark[2], 1);
    EXPECT_NE(object.selected, 0);
    EXPECT_EQ(object.number, 1);
    EXPECT_EQ(object.width, 3);
    EXPECT_EQ(object.height, 2);
    EXPECT_EQ(object.x, 2);
    EXPECT_EQ(object.y, 1);
    EXPECT_EQ(object.pixels, reinterpret_cast<const uint8_t *>(&object + 1));
    const uint8_t expected[16] = {100, 200, 50, 0, 1, 2, 3, 0, 255, 0, 127, 0, 255, 255, 255, 0};
    EXPECT_EQ(memcmp(object.pixels, expected, sizeof expected), 0);
}

TEST_F(ImageParts, ThePictureIsTheBaseWithTheObjectsPastedBottomToTop)
{
    ImageRecord *image = OpenImage(host, Grey(Values(2, std::vector<uint32_t>(4, 10))));
    EXPECT_EQ(image->base.pixels, nullptr);
    Add(image, Grey({{100, 100}}), 1, 0);
    Add(image, WithMask(Grey({{200}}), {{127}}), 2, 0);
    EXPECT_EQ(PictureOf(image), Grey({{10, 100, (200 * 127 + 100 * 128 + 127) / 255, 10}, {10, 10, 10, 10}}));
    EXPECT_EQ(image->base.pixels[1], 10);
    EXPECT_EQ(image->base.width, 4);
    EXPECT_EQ(image->base.height, 2);
    EXPECT_EQ(image->base.bitsPerPixel, 8);
    EXPECT_EQ(image->base.paletteEntries, 256);
    EXPECT_EQ(image->base.red[7], 7);
}

TEST_F(ImageParts, ObjectsMoveAndGoAndTheLastLeavesThePictureAsItWas)
{
    const Picture picture = Rgb(Values(5, std::vector<uint32_t>(7, 0x102030)));
    ImageRecord *image = OpenImage(host, CopyOf(picture));
    Add(image, Rgb({{0xFFFFFF}}), 0, 0);
    Add(image, Rgb({{0x0000FF}}), 6, 4);
    MoveObject(image, 0, 3, 2);
    EXPECT_EQ(Shown(image, 0, 0), 0x102030u);
    EXPECT_EQ(Shown(image, 3, 2), 0xFFFFFFu);
    RemoveObject(image, 0);
    EXPECT_EQ(image->objectList.count, 1);
    EXPECT_EQ(Shown(image, 3, 2), 0x102030u);
    EXPECT_EQ(Shown(image, 6, 4), 0x0000FFu);
    EXPECT_EQ(ObjectOf(image, 0).number, 2);
    RemoveObject(image, 0);
    EXPECT_EQ(image->base.pixels, nullptr);
    EXPECT_EQ(PictureOf(image), picture);
}

TEST_F(ImageParts, OutlineFollowsTheSelectedObjects)
{
    ImageRecord *image = OpenImage(host, NewPicture(GREY, 9, 9));
    Add(image, NewPicture(GREY, 2, 3), 1, 1);
    Add(image, NewPicture(GREY, 1, 1), 5, 5);
    EXPECT_EQ(image->objectOutline.pointCount, 8);
    SelectObject(image, 0, false);
    ASSERT_EQ(image->objectOutline.pointCount, 4);
    EXPECT_EQ(image->objectOutline.points[0].x, 5);
    MoveObject(image, 1, 7, 0);
    EXPECT_EQ(image->objectOutline.points[0].x, 7);
    RemoveObject(image, 1);
    EXPECT_EQ(image->objectOutline.pointCount, 0);
}

TEST_F(ImageParts, AnObjectTakesTheImagesType)
{
    const Picture colours = WithMask(Rgb({{0x000000, 0xFFFFFF, 0x0000FF, 0x00FF00}}), {{255, 128, 127, 200}});
    ImageRecord *grey = OpenImage(host, Grey({{9, 9, 9, 9}}));
    Add(grey, colours, 0, 0);
    const uint8_t levels[8] = {0, 255, (11 * 255) >> 5, (16 * 255) >> 5, 255, 128, 127, 200};
    EXPECT_EQ(memcmp(ObjectOf(grey, 0).pixels, levels, sizeof levels), 0);

    ImageRecord *palette = OpenImage(host, Palette({0x0000F0, 0xF0F0F0, 0x000010}, {{1, 1, 1, 1}}));
    Add(palette, colours, 0, 0);
    const uint8_t entries[4] = {2, 1, 0, 2};
    EXPECT_EQ(memcmp(ObjectOf(palette, 0).pixels, entries, sizeof entries), 0);
    EXPECT_EQ(ObjectOf(palette, 0).pixels[4], 0b11010000) << "128 and above is set";

    ImageRecord *bits = OpenImage(host, Bits({"0000"}));
    Add(bits, colours, 0, 0);
    EXPECT_EQ(ObjectOf(bits, 0).pixels[0], 0b01000000) << "a brightness above 128 is set";
    EXPECT_EQ(ObjectOf(bits, 0).pixels[4], 0b11010000);

    ImageRecord *rgb = OpenImage(host, Rgb({{1, 1}}));
    Picture marked = Palette({0x112233, 0x445566}, {{0, 1}});
    marked.extras.paletteAlpha = {7};
    Add(rgb, marked, 0, 0);
    const uint8_t bytes[12] = {0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0, 0, 7, 255, 0, 0};
    EXPECT_EQ(memcmp(ObjectOf(rgb, 0).pixels, bytes, sizeof bytes), 0) << "a palette's alpha is a mask, too";
}

TEST_F(ImageParts, AnObjectTooLargeForItsHeaderIsRefused)
{
    ImageRecord *image = OpenImage(host, NewPicture(ONE_BIT, 3, 3));
    std::string error;
    EXPECT_FALSE(AddObject(image, NewPicture(ONE_BIT, 32768, 1), 0, 0, error));
    EXPECT_NE(error.find("32767"), std::string::npos);
    EXPECT_EQ(image->objectList.count, 0);
    EXPECT_TRUE(AddObject(image, NewPicture(ONE_BIT, 32767, 1), 0, 0, error));
}

//---- Areas and masks

TEST_F(ImageParts, AnAreaIsFourCornersAndAnOutlineItsPoints)
{
    ImageRecord *image = OpenImage(host, NewPicture(GREY, 9, 9));
    SelectArea(image, 1, 2, 5, 6);
    const Selection &selection = image->selection;
    EXPECT_EQ(selection.pointCount, 4);
    EXPECT_EQ(selection.points[2].x, 5);
    EXPECT_EQ(selection.points[2].y, 6);
    SelectOutline(image, {{4, 1}, {8, 3}, {2, 7}});
    EXPECT_EQ(selection.pointCount, 3);
    EXPECT_EQ(selection.left, 2);
    EXPECT_EQ(selection.top, 1);
    EXPECT_EQ(selection.right, 8);
    EXPECT_EQ(selection.bottom, 7);
    SelectNothing(image);
    EXPECT_EQ(selection.pointCount, 0);
    EXPECT_EQ(selection.points, nullptr);
}

TEST_F(ImageParts, EditingTheMaskReachesTheMenus)
{
    ImageRecord *image = OpenImage(host, NewPicture(GREY, 9, 9));
    const int before = notes->menusSetUp;
    EditMask(image, true);
    EXPECT_NE(image->maskEditing, 0);
    EXPECT_EQ(notes->menusSetUp, before + 1);
    EditMask(image, false);
    EXPECT_EQ(image->maskEditing, 0);
}

TEST_F(ImageParts, ChangesOfTheActiveImageRefreshThePreviews)
{
    ImageRecord *image = OpenImage(host, NewPicture(GREY, 9, 9)), *other = OpenImage(host, NewPicture(GREY, 9, 9));
    InDialog([&](HWND) {
        Add(image, NewPicture(GREY, 1, 1), 0, 0);
        Add(other, NewPicture(GREY, 1, 1), 0, 0);
        SelectArea(image, 0, 0, 1, 1);
    });
    EXPECT_EQ(notes->dialog, (std::vector<Note>{{REFRESH_PREVIEW, 0}, {REFRESH_PREVIEW, 0}}));
}

TEST_F(ImageParts, AnImageIsFurnishedBeforeTheDialogsHearOfIt)
{
    OpenImage(host, NewPicture(GREY, 9, 9));
    InDialog([&](HWND) {
        OpenImage(host, NewPicture(GREY, 9, 9), [&](ImageRecord *image) {
            Add(image, NewPicture(GREY, 1, 1), 0, 0);
            SelectArea(image, 0, 0, 1, 1);
            EXPECT_TRUE(notes->dialog.empty());
        });
    });
    ASSERT_EQ(notes->dialog.size(), 1u);
    EXPECT_EQ(notes->dialog[0].message, UINT(IMAGE_OPENED));
}

//---- Undo

static void RunOn(Host &host, HWND dialog, ImageRecord *image, int32_t command)
{
    ActivateImage(host, image);
    Command(dialog, command);
}

TEST_F(ImageParts, EveryKindOfChangeIsUndoneAndRedoneByteForByte)
{
    const std::function<void(ImageRecord *)> changes[] = {
        [](ImageRecord *image) { MoveObject(image, 0, 2, 2); },
        [](ImageRecord *image) { SelectObject(image, 1, true); },
        [](ImageRecord *image) {
            while (image->objectList.count) RemoveObject(image, 0);
        },
        [](ImageRecord *image) { Add(image, NewPicture(GREY, 3, 3), 1, 1); },
        [](ImageRecord *image) { SelectArea(image, 1, 1, 2, 2); },
        [](ImageRecord *image) { SelectNothing(image); },
        [](ImageRecord *image) { SetMask(image, nullptr, 0); },
        [](ImageRecord *image) { EditMask(image, !image->maskEditing); },
    };
    for (const int32_t type : {ONE_BIT, GREY, PALETTE, RGB}) {
        ImageRecord *image = OpenFurnished(host, type, uint32_t(type));
        const std::string before = StateOf(image);
        for (const auto &change : changes) {
            UndoUtility(image, 0, 0, 0, 0, nullptr);
            change(image);
            const std::string after = StateOf(image);
            EXPECT_NE(after, before);
            EXPECT_TRUE(MiscUndo(image));
            EXPECT_EQ(StateOf(image), before);
            EXPECT_TRUE(MiscRedo(image));
            EXPECT_EQ(StateOf(image), after);
            EXPECT_TRUE(MiscUndo(image));
        }
    }
}

// Several pictures at a time, in every scope: undone after a whole run, and as they were after an aborted one.
TEST_F(ImageParts, RunsAndAbortsOfSeveralPicturesLeaveNothingThatUndoDoesNotBringBack)
{
    std::vector<ImageRecord *> images;
    std::vector<std::string> before;
    for (const int32_t type : {ONE_BIT, GREY, PALETTE, RGB, RGB, GREY}) {
        images.push_back(OpenFurnished(host, type, uint32_t(images.size())));
        before.push_back(StateOf(images.back()));
    }
    const auto noneRuns = [&] { return std::none_of(images.begin(), images.end(), HostRunUnderWay); };
    InDialog([&](HWND dialog) {
        for (const int32_t mode : {SCOPE_OBJECTS, SCOPE_IMAGE, SCOPE_NEW_OBJECT, SCOPE_ALL}) {
            notes->mode = mode;
            for (ImageRecord *image : images) RunOn(host, dialog, image, RUN_TO_THE_END);
            WaitUntil(noneRuns);
            for (size_t i = 0; i < images.size(); ++i) {
                EXPECT_NE(StateOf(images[i]), before[i]) << "mode " << mode << " picture " << i;
                EXPECT_TRUE(MiscUndo(images[i]));
                EXPECT_EQ(StateOf(images[i]), before[i]) << "mode " << mode << " picture " << i;
            }
            host.onProgress = [](ImageRecord *image, int) { SharedWrite(image->abortRequest, 1); };
            for (ImageRecord *image : images) RunOn(host, dialog, image, APPLY_BUTTON);
            WaitUntil(noneRuns);
            host.onProgress = nullptr;
            for (size_t i = 0; i < images.size(); ++i) {
                EXPECT_TRUE(MiscLastRunAborted(images[i]));
                EXPECT_EQ(StateOf(images[i]), before[i]) << "mode " << mode << " picture " << i;
            }
        }
    });
}

//---- The window

TEST_F(ImageParts, WindowHearsOfTheSizeItShouldHave)
{
    ImageRecord *image = OpenImage(host, NewPicture(GREY, 9, 5));
    EXPECT_EQ(WindowSizeOf(image).width, 9);
    EXPECT_EQ(WindowSizeOf(image).height, 5);
    int32_t width = 0;
    host.onSized = [&](ImageRecord *of, int32_t now, int32_t) { width = of == image ? now : -1; };
    SizeWindow(image->window, 0, 0, 18, 5);
    WaitUntil([&] { return width != 0; });
    EXPECT_EQ(width, 18);
    EXPECT_EQ(WindowSizeOf(image).width, 18);
}
