// Mirror's dialog: its refusals, its radio buttons, and the run it brings.

#include "tests/framework/stage.h"
#include "tests/reference/reference.h"

#include <algorithm>

enum { ABOVE = 1230, BELOW = 1240, TO_THE_RIGHT = 1250, TO_THE_LEFT = 1260 };
struct MirrorBlock {
    EffectBlock common;
    int32_t direction;
};

static MirrorBlock &CurrentMirror(HWND dialog) { return *reinterpret_cast<MirrorBlock *>(CurrentBlock(dialog)); }
static void InMirror(Stage &stage, const Script &script) { InDialog(stage, MIRROR_COMMAND, script); }

static Picture Mirrored(const Picture &picture, int32_t direction)
{
    const Raster raster = ReferenceMirror(RasterOfPixels(picture), direction);
    Picture result = NewPicture(picture.colourType, raster.width, raster.height);
    result.paletteEntries = picture.paletteEntries;
    for (auto table : {&Picture::red, &Picture::green, &Picture::blue}) std::copy_n(picture.*table, 256, result.*table);
    StorePixels(result, raster);
    return result;
}

TEST(MirrorDialog, StartsWithTheWholeImageAlsoWhenObjectsAreSelected)
{
    Stage stage;
    FloatingObject object = {}, *objects[] = {&object};
    object.selected = 1;
    object.width = object.height = 1;
    object.pixels = stage.images[0]->pixels;
    stage.images[0]->objectList = {objects, 1, 1};
    HostFixSeed(TRUE, 1);
    InMirror(stage, [](HWND dialog) {
        EXPECT_EQ(CurrentBlock(dialog)->header.previewMode, SCOPE_ALL);
        EXPECT_EQ(CurrentBlock(dialog)->header.worker, nullptr);
        EXPECT_EQ(CurrentMirror(dialog).direction, TO_THE_LEFT);
    });
    HostFixSeed(FALSE, 0);
    stage.images[0]->objectList = {};
}

TEST(MirrorDialog, ShowsTheDirectionAfterUncheckingAllFour)
{
    Stage stage;
    InMirror(stage, [&](HWND dialog) {
        CurrentMirror(dialog).direction = BELOW;
        const Calls calls = Only(CallsDuring([&] { Send(dialog, ACTIVE_IMAGE_CHANGED); }), {"KPZ_CheckButton"});
        const Calls directions(calls.end() - 5, calls.end());
        EXPECT_EQ(
            directions,
            (Calls{Called("KPZ_CheckButton", dialog, TO_THE_LEFT, 0),
                   Called("KPZ_CheckButton", dialog, TO_THE_RIGHT, 0), Called("KPZ_CheckButton", dialog, BELOW, 0),
                   Called("KPZ_CheckButton", dialog, ABOVE, 0), Called("KPZ_CheckButton", dialog, BELOW, 1)}));
    });
}

TEST(MirrorDialog, StoresTheDirectionAndTellsThePreview)
{
    Stage stage;
    InMirror(stage, [&](HWND dialog) {
        for (int direction : {ABOVE, BELOW, TO_THE_RIGHT, TO_THE_LEFT}) {
            const Messages messages = MessagesTo(PREVIEW_CONTROL, [&] { Choose(dialog, direction); });
            EXPECT_EQ(CurrentMirror(dialog).direction, direction);
            EXPECT_EQ(messages, (Messages{{PREVIEW_CHANGED, 0, 0}}));
        }
    });
}

TEST(MirrorDialog, StartsARunOfItsOwn)
{
    Stage stage;
    InMirror(stage, [&](HWND dialog) {
        const Calls calls = Only(CallsDuring([&] { ApplyAndWait(dialog); }), {"KPZ_CreateThread", "FilterThread"});
        ASSERT_EQ(calls.size(), 1u);
        EXPECT_NE(calls[0].arguments[0], reinterpret_cast<intptr_t>(&FilterThread));
        EXPECT_EQ(calls[0].arguments[1], 32768);
        EXPECT_EQ(calls[0].arguments[2], HeaderOf(CurrentBlock(dialog)));
    });
}

TEST(MirrorDialog, DoublesPicturesOfEveryTypeAndDirection)
{
    for (int32_t type : {RGB, GREY, PALETTE, ONE_BIT}) {
        for (int direction : {ABOVE, BELOW, TO_THE_RIGHT, TO_THE_LEFT}) {
            Stage stage(0);
            ImageRecord *image = Open(stage, AnyPicture(type, 33, 20));
            const Picture before = PictureOf(image), expected = Mirrored(before, direction);
            InMirror(stage, [&](HWND dialog) {
                Choose(dialog, direction);
                ApplyAndWait(dialog);
                EXPECT_TRUE(IsEnabled(dialog, APPLY_BUTTON));
                EXPECT_TRUE(IsEnabled(dialog, direction));
            });
            EXPECT_EQ(PictureOf(image), expected) << type << " to " << direction;
            EXPECT_STREQ(MiscUndoLabel(image), "Mirror All");
            EXPECT_TRUE(MiscUndo(image));
            EXPECT_EQ(PictureOf(image), before);
        }
    }
}

//---- Refusals

static void ExpectRefusal(const Stage &stage, HWND dialog, const char *text, const char *title)
{
    ASSERT_FALSE(stage.boxes.empty());
    EXPECT_EQ(stage.boxes.back().owner, dialog);
    EXPECT_EQ(stage.boxes.back().text, text);
    EXPECT_EQ(stage.boxes.back().title, title);
    EXPECT_EQ(stage.boxes.back().style, 0x10);
}

static int ThreadsOfApply(HWND dialog)
{
    return CountOf(CallsDuring([dialog] { Command(dialog, APPLY_BUTTON); }), "KPZ_CreateThread");
}

static const char MASK_EDITED[] = "This operation cannot be performed on an image while editing its mask";
static const char NO_AREA[] = "Cannot mirror the entire image into a new object.  Either mirror the base image or "
                              "select an area to create an object from.";

TEST(MirrorDialog, RefusesWhileTheMaskIsEdited)
{
    Stage stage;
    InMirror(stage, [&](HWND dialog) {
        stage.images[0]->maskEditing = 1;
        Choose(dialog, SCOPE_NEW_OBJECT_RADIO);
        EXPECT_EQ(ThreadsOfApply(dialog), 0);
        stage.images[0]->maskEditing = 0;
        EXPECT_EQ(stage.boxes.size(), 1u);
        ExpectRefusal(stage, dialog, MASK_EDITED, "Mask Error");
        EXPECT_TRUE(IsEnabled(dialog, APPLY_BUTTON));
    });
}

TEST(MirrorDialog, RefusesANewObjectWithoutASelectedArea)
{
    Stage stage;
    ImageRecord *image = stage.images[0];
    InMirror(stage, [&](HWND dialog) {
        Choose(dialog, SCOPE_NEW_OBJECT_RADIO);
        POINT corner = {2, 2};
        image->selection = {1, 2, 2, 2, 2, &corner};
        HostFixSeed(TRUE, 1);   // no preview copies the selection
        for (int32_t points : {0, 1}) {
            image->selection.pointCount = points;
            EXPECT_EQ(ThreadsOfApply(dialog), 0) << points;
            ExpectRefusal(stage, dialog, NO_AREA, "Mirror Error");
        }
        HostFixSeed(FALSE, 0);
        image->selection = {};
        EXPECT_EQ(stage.boxes.size(), 2u);
        EXPECT_EQ(MiscUndoCount(image), 0);
    });
}

// A mask being edited is told also of an image that runs; everything else is silent.
TEST(MirrorDialog, OnARunningImageDoesNothing)
{
    Stage stage;
    ImageRecord *image = stage.images[0];
    InMirror(stage, [&](HWND dialog) {
        Choose(dialog, SCOPE_NEW_OBJECT_RADIO);
        SharedWrite(image->effectThread, reinterpret_cast<ThreadHandle>(&stage));
        EXPECT_EQ(ThreadsOfApply(dialog), 0);
        EXPECT_TRUE(stage.boxes.empty());
        image->maskEditing = 1;
        EXPECT_EQ(ThreadsOfApply(dialog), 0);
        image->maskEditing = 0;
        SharedWrite(image->effectThread, nullptr);
        EXPECT_EQ(stage.boxes.size(), 1u);
    });
}

//---- Several images

// Mirror and Shear at the same time, each on images of its own, and everything taken back afterwards.
TEST(RunsOfTheirOwn, GoOnSideBySide)
{
    Stage stage(0);
    std::vector<Picture> before;
    for (int i = 0; i < 2; ++i) {
        for (int32_t type : {RGB, GREY, PALETTE, ONE_BIT}) {
            ImageRecord *image = Open(stage, AnyPicture(type, 120, 90));
            before.push_back(PictureOf(image));
        }
    }
    InMirror(stage, [&](HWND mirror) {
        InDialog(stage, SHEAR_COMMAND, [&](HWND shear) {
            for (size_t i = 0; i < 8; ++i) {
                ActivateImage(stage.host, stage.images[i]);
                if (i >= 4) KPZ_SetSpinBoxValue(shear, 6140, 30);
                Press(i < 4 ? mirror : shear, APPLY_BUTTON);
            }
            WaitForRuns();
        });
    });
    for (size_t i = 0; i < 8; ++i) {
        ImageRecord *image = stage.images[i];
        if (i < 4) {
            EXPECT_EQ(PictureOf(image), Mirrored(before[i], TO_THE_LEFT)) << i;
        } else {
            EXPECT_EQ(PictureOf(image).width, 120 + 52) << i;
        }   // 89 rows by tan 30
        EXPECT_TRUE(MiscUndo(image));
        EXPECT_EQ(PictureOf(image), before[i]) << i;
    }
}
