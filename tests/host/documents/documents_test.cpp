// The host with a module made for the purpose: loading it, opening, activating and closing images, who is told in which
// order, pictures lent and taken. Files and floating objects have tests of their own.

#include "host/documents/image_parts.h"
#include "tests/host/documents/documents_fixture.h"

#include <algorithm>
#include <cstring>

TEST_F(DocumentsTest, ASecondCommandBringsTheOpenDialogForward)
{
    Open();
    InDialog([&](HWND dialog) {
        HostStartLog();
        EXPECT_EQ(RunCommand(host, TEST_COMMAND), 0);
        HostStopLog();
        LoggedCall call = {};
        EXPECT_TRUE(HostLogEntry(0, &call));
        EXPECT_STREQ(call.call, "HostBringForward");
        EXPECT_EQ(call.arguments[0], reinterpret_cast<intptr_t>(dialog));
        EXPECT_EQ(MiscFloaterCount(host.context.floaters), 1);
    });
}

//---- Start and end

TEST(StartHost, NamesAModuleThatCannotBeLoaded)
{
    Host host;
    std::string error;
    EXPECT_FALSE(StartHost(host, "/nowhere/effects.so", error));
    EXPECT_NE(error.find("/nowhere/effects.so"), std::string::npos);
    EXPECT_EQ(error.find('\n'), std::string::npos);
    EndHost(host);   // harmless
}

TEST(StartHost, NamesAMissingEntryPoint)
{
    Host host;
    std::string error;
    EXPECT_FALSE(StartHost(host, OTHER_LIBRARY, error));
    EXPECT_NE(error.find("KPZInitialize"), std::string::npos);
    EXPECT_EQ(KPZ_GetLoadedModuleHandle("VLMEFF"), nullptr);
}

TEST_F(DocumentsTest, ModuleAppendsItsCommandsWhichAreGreyWithoutAnImage)
{
    EXPECT_EQ(HostMenuCount(host.menu), 2);
    EXPECT_LE(host.base, 32000);
    EXPECT_FALSE(CommandEnabled(host, TEST_COMMAND));
    Open();
    EXPECT_TRUE(CommandEnabled(host, TEST_COMMAND));
    EXPECT_FALSE(CommandEnabled(host, TEST_COMMAND + 1)) << "no such command";
    CloseImage(host, host.context.firstImage);
    EXPECT_FALSE(CommandEnabled(host, TEST_COMMAND));
}

TEST_F(DocumentsTest, ModulesStringsAreFoundByItsName)
{
    char text[50];
    EXPECT_NE(KPZ_GetLoadedModuleHandle("VLMEFF"), nullptr);
    EXPECT_EQ(KPZ_LoadString(nullptr, "VLMEFF", TEST_STRING, text, sizeof text), 8);
    EXPECT_STREQ(text, "a string");
    EXPECT_STREQ(host.context.resourceModule, HOST_RESOURCES);
    EXPECT_NE(KPZ_GetLoadedModuleHandle(HOST_RESOURCES), nullptr);
}

TEST_F(DocumentsTest, EndTellsTheModuleOnceAndForgetsIt)
{
    Open();
    EndHost(host);
    EXPECT_EQ(notes->exits, 1);
    EXPECT_EQ(host.context.firstImage, nullptr);
    EXPECT_EQ(KPZ_GetLoadedModuleHandle("VLMEFF"), nullptr);
    EndHost(host);   // a second time does nothing
    EXPECT_EQ(notes->exits, 1);
}

TEST_F(DocumentsTest, CommandReturnsTheDialogsResultAndZeroWithoutImage)
{
    EXPECT_EQ(RunCommand(host, TEST_COMMAND), 0);
    Open();
    EXPECT_EQ(RunCommand(host, TEST_COMMAND + 1), 0);
    EXPECT_EQ(InDialog([](HWND) {}), 7);
}

//---- Images

TEST_F(DocumentsTest, ImagesAreListedInTheOrderTheyAreOpenedAndTheFirstIsActive)
{
    ImageRecord *one = Open(), *two = Open(RGB), *three = Open();
    EXPECT_EQ(host.context.firstImage, one);
    EXPECT_EQ(one->next, two);
    EXPECT_EQ(two->next, three);
    EXPECT_EQ(three->next, nullptr);
    EXPECT_EQ(host.context.activeImage, one);
    EXPECT_EQ(notes->images, (std::vector<intptr_t>{intptr_t(one), intptr_t(two), intptr_t(three)}));
    EXPECT_EQ(notes->menusFor, one);
}

TEST_F(DocumentsTest, AnImageTakesThePicturesPlanesOver)
{
    Picture picture = NewPicture(PALETTE, 6, 4);
    AddMask(picture, 1);
    picture.paletteEntries = 3;
    picture.red[2] = 90;
    const uint8_t *pixels = picture.pixels.get(), *mask = picture.mask.get();
    const ImageRecord *image = OpenImage(host, std::move(picture));
    EXPECT_EQ(image->pixels, pixels);
    EXPECT_EQ(image->mask, mask);
    EXPECT_EQ(image->secondMask, mask);
    EXPECT_EQ(image->maskBitsPerPixel, 1);
    EXPECT_EQ(image->width, 6);
    EXPECT_EQ(image->height, 4);
    EXPECT_EQ(image->bitsPerPixel, 8);
    EXPECT_EQ(image->colourType, PALETTE);
    EXPECT_EQ(image->paletteEntries, 3);
    EXPECT_EQ(image->red[2], 90);
    EXPECT_EQ(image->cropArea.image, image);
    EXPECT_NE(image->imageLock, nullptr);
    EXPECT_NE(image->objectLock, nullptr);
    EXPECT_NE(image->progress, nullptr);
    EXPECT_EQ(image->nextObjectNumber, 1);
}

TEST_F(DocumentsTest, At500ImagesNoMoreAreOpened)
{
    for (int i = 0; i < 500; ++i) ASSERT_NE(Open(GREY, 1, 1), nullptr);
    EXPECT_EQ(Open(GREY, 1, 1), nullptr);
    CloseImage(host, host.context.firstImage->next);
    EXPECT_NE(Open(GREY, 1, 1), nullptr);
}

TEST_F(DocumentsTest, DialogsHearOfImagesOpenedActivatedAndClosed)
{
    ImageRecord *one = Open(), *two = nullptr;
    InDialog([&](HWND) {
        two = Open();
        EXPECT_EQ(host.context.activeImage, one);
        ActivateImage(host, two);
        EXPECT_EQ(host.context.activeImage, two);
        EXPECT_EQ(notes->menusFor, two);
        CloseImage(host, one);
        EXPECT_EQ(notes->menusFor, two);
    });
    EXPECT_EQ(notes->dialog, (std::vector<Note>{{IMAGE_OPENED, intptr_t(two)},
                                                {ACTIVE_IMAGE_CHANGED, 0},
                                                {IMAGE_CLOSED, intptr_t(one)},
                                                {ACTIVE_IMAGE_CHANGED, 0}}));
}

TEST_F(DocumentsTest, TheNextImageElseTheOneBeforeBecomesActive)
{
    ImageRecord *one = Open(), *two = Open(), *three = Open(), *four = Open();
    ActivateImage(host, two);
    CloseImage(host, two);
    EXPECT_EQ(host.context.activeImage, three);
    CloseImage(host, one);
    EXPECT_EQ(host.context.activeImage, three) << "another image's end leaves the active one";
    ActivateImage(host, four);
    CloseImage(host, four);
    EXPECT_EQ(host.context.activeImage, three);
    CloseImage(host, three);
    EXPECT_EQ(host.context.activeImage, nullptr);
    EXPECT_EQ(host.context.firstImage, nullptr);
}

TEST_F(DocumentsTest, ClosingTheLastImageEndsTheDialog)
{
    ImageRecord *image = Open();
    HWND window = nullptr;
    const INT_PTR result = InDialog([&](HWND dialog) {
        window = dialog;
        CloseImage(host, image);
        EXPECT_EQ(MiscFloaterCount(host.context.floaters), 0);
    });
    EXPECT_EQ(result, 1);
    EXPECT_FALSE(KPZ_SendMsgNoWait(window, WM_CLOSE, 0, 0));
}

//---- Runs

TEST_F(DocumentsTest, ARunningImageIsAbortedAndItsEndAwaitedBeforeItIsClosed)
{
    ImageRecord *other = Open(), *image = Open();
    HWND window = image->window;
    InDialog([&](HWND dialog) {
        ActivateImage(host, image);
        notes->dialog.clear();
        Command(dialog, APPLY_BUTTON);
        CloseImage(host, image);
    });
    EXPECT_EQ(notes->dialog,
              (std::vector<Note>{
                  {RUN_FINISHED, intptr_t(window)}, {IMAGE_CLOSED, intptr_t(image)}, {ACTIVE_IMAGE_CHANGED, 0}}));
    EXPECT_EQ(host.context.activeImage, other);
}

TEST_F(DocumentsTest, ClosingOneRunningImageLeavesTheOthersRun)
{
    ImageRecord *one = Open(), *two = Open();
    InDialog([&](HWND dialog) {
        bool began = false;
        host.onProgress = [&](ImageRecord *image, int) { began |= image == one; };
        Command(dialog, APPLY_BUTTON);
        WaitUntil([&] { return began; });
        ActivateImage(host, two);
        Command(dialog, APPLY_BUTTON);
        CloseImage(host, two);
        EXPECT_NE(SharedRead(one->effectThread), nullptr);
        EXPECT_FALSE(MiscLastRunAborted(one));
        host.onProgress = nullptr;
        SharedWrite(one->abortRequest, 1);
        WaitUntil([&] { return !HostRunUnderWay(one); });
    });
}

TEST_F(DocumentsTest, ARunOfTheModulesOwnIsAwaitedTooWhileAnotherImageRuns)
{
    ImageRecord *other = Open(), *image = Open();
    const HWND window = image->window;
    InDialog([&](HWND dialog) {
        bool began = false;
        host.onProgress = [&](ImageRecord *, int) { began = true; };
        Command(dialog, APPLY_BUTTON);
        WaitUntil([&] { return began; });
        ActivateImage(host, image);
        notes->dialog.clear();
        Command(dialog, OWN_RUN);
        EXPECT_TRUE(HostRunUnderWay(image));
        CloseImage(host, image);
        EXPECT_TRUE(HostRunUnderWay(other));
        EXPECT_EQ(notes->dialog,
                  (std::vector<Note>{
                      {RUN_FINISHED, intptr_t(window)}, {IMAGE_CLOSED, intptr_t(image)}, {ACTIVE_IMAGE_CHANGED, 0}}));
        host.onProgress = nullptr;
        CloseImage(host, other);
    });
}

TEST_F(DocumentsTest, EndAwaitsRunsOfTheModulesOwn)
{
    Open();
    InDialog([&](HWND dialog) {
        Command(dialog, OWN_RUN);
        EndHostsImages();
    });
    EXPECT_EQ(notes->dialog.front().message, UINT(RUN_FINISHED));
}

TEST_F(DocumentsTest, EndAbortsAllRuns)
{
    Open();
    ImageRecord *two = Open(RGB);
    InDialog([&](HWND dialog) {
        Command(dialog, APPLY_BUTTON);
        ActivateImage(host, two);
        Command(dialog, APPLY_BUTTON);
        EndHostsImages();
    });
    EXPECT_EQ(std::count_if(notes->dialog.begin(), notes->dialog.end(),
                            [](const Note &note) { return note.message == RUN_FINISHED; }),
              2);
    EndHost(host);
}

TEST_F(DocumentsTest, ProgressAndHelpReachTheProgram)
{
    ImageRecord *image = Open();
    int32_t page = 0, tenths = -1;
    host.onHelp = [&](int32_t context) { page = context; };
    host.onProgress = [&](ImageRecord *of, int done) {
        EXPECT_EQ(of, image);
        tenths = done;
        SharedWrite(image->abortRequest, 1);
    };
    InDialog([&](HWND dialog) {
        Command(dialog, HELP_BUTTON);
        Command(dialog, APPLY_BUTTON);
        WaitUntil([&] { return !SharedRead(image->effectThread) && !HostRunUnderWay(image); });
    });
    EXPECT_EQ(page, 77);
    EXPECT_EQ(tenths, 0);
    EXPECT_TRUE(MiscLastRunAborted(image));
}

TEST_F(DocumentsTest, ADialogThatHasGoneIsNotAnnounced)
{
    Open();
    int opened = 0;
    host.onDialogOpened = [&](HWND dialog) {
        ++opened;
        KPZ_SendMsgNoWait(dialog, WM_CLOSE, 0, 0);
    };
    KPZ_SendMsgNoWait(host.context.window, FLOATER_ADDED, 0, 12345);
    RunCommand(host, TEST_COMMAND);
    EXPECT_EQ(opened, 1);
}

//---- The host's commands

TEST_F(DocumentsTest, ForwardedCommandsUndoAndRedoTheActiveImage)
{
    ImageRecord *image = Open();
    UndoUtility(image, 1, 1, 0, 0, nullptr);
    image->pixels[0] = 5;
    InDialog([&](HWND dialog) {
        Command(dialog, 37);
        WaitUntil([&] { return image->pixels[0] == 0; });
        Command(dialog, 38);
        WaitUntil([&] { return image->pixels[0] == 5; });
    });
    EXPECT_EQ(notes->dialog, (std::vector<Note>{{REFRESH_PREVIEW, 0}, {REFRESH_PREVIEW, 0}}));
}

TEST_F(DocumentsTest, ForwardedCommandsGoToThePreviousAndTheNextPicture)
{
    ImageRecord *one = Open(), *two = Open();
    InDialog([&](HWND dialog) {
        Command(dialog, 40);
        WaitUntil([&] { return host.context.activeImage == two; });
        Command(dialog, 40);   // there is none after the last
        Command(dialog, 39);
        WaitUntil([&] { return host.context.activeImage == one; });
    });
    EXPECT_EQ(notes->dialog, (std::vector<Note>{{ACTIVE_IMAGE_CHANGED, 0}, {ACTIVE_IMAGE_CHANGED, 0}}));
}

TEST_F(DocumentsTest, ForwardedCommandsThatHaveNothingToDoDoNothing)
{
    ImageRecord *image = Open();
    InDialog([&](HWND dialog) {
        for (int32_t id : {37, 38, 39, 40}) Command(dialog, id);
        KPZ_SendMsgAndWait(host.context.window, FORWARDED_COMMAND, 41, 0);   // nobody's
        Open();
        Command(dialog, 40);
        WaitUntil([&] { return host.context.activeImage != image; });
    });
    EXPECT_EQ(notes->dialog.size(), 2u) << "of the image that opened, and of its turn";
    EndHostsImages();
    KPZ_SendMsgAndWait(host.context.window, FORWARDED_COMMAND, 37, 0);
    EXPECT_EQ(host.context.activeImage, nullptr);
}

TEST_F(DocumentsTest, AChooserIsAnnounced)
{
    HWND seen = nullptr;
    host.onChooserOpened = [&seen](HWND chooser) { seen = chooser; };
    KPZ_SendMsgAndWait(host.context.window, CHOOSER_OPENED, 0, reinterpret_cast<LPARAM>(host.context.window));
    EXPECT_EQ(seen, host.context.window);
    host.onChooserOpened = nullptr;
    KPZ_SendMsgAndWait(host.context.window, CHOOSER_OPENED, 0, reinterpret_cast<LPARAM>(host.context.window));
}

TEST_F(DocumentsTest, AnImageMayBeGivenAnotherPictureAndKeepsItsSelectedArea)
{
    ImageRecord *image = Open(PALETTE);
    SelectArea(image, 1, 1, 2, 2);
    const Picture other = NewPicture(RGB, 9, 8);
    ReplacePicture(image, CopyOf(other));
    EXPECT_EQ(image->width, 9);
    EXPECT_EQ(image->colourType, RGB);
    EXPECT_EQ(image->selection.pointCount, 4);
    ReplacePicture(image, NewPicture(RGB, 3, 3));
    EXPECT_EQ(image->height, 3);
    SelectNothing(image);
}

//---- Pictures of images

static Picture Patterned(int32_t type, int32_t width, int32_t height)
{
    Picture picture = NewPicture(type, width, height);
    AddMask(picture, 8);
    for (int32_t i = 0; i < RowStride(picture.bitsPerPixel, width) * height; ++i) picture.pixels[i] = uint8_t(i * 7);
    for (int32_t i = 0; i < RowStride(8, width) * height; ++i) picture.mask[i] = uint8_t(i * 3);
    picture.extras.exif = {1, 2, 3};
    picture.extras.dotsPerInchX = 300;
    return picture;
}

static size_t PlaneSize(int32_t bitsPerPixel, const Picture &picture)
{
    return size_t(RowStride(bitsPerPixel, picture.width)) * size_t(picture.height);
}

static void ExpectEqual(const Picture &one, const Picture &other)
{
    ASSERT_EQ(one.width, other.width);
    ASSERT_EQ(one.height, other.height);
    ASSERT_EQ(one.bitsPerPixel, other.bitsPerPixel);
    EXPECT_EQ(one.colourType, other.colourType);
    EXPECT_EQ(one.paletteEntries, other.paletteEntries);
    EXPECT_EQ(memcmp(one.red, other.red, 256), 0);
    EXPECT_EQ(memcmp(one.green, other.green, 256), 0);
    EXPECT_EQ(memcmp(one.blue, other.blue, 256), 0);
    EXPECT_EQ(memcmp(one.pixels.get(), other.pixels.get(), PlaneSize(one.bitsPerPixel, one)), 0);
    ASSERT_EQ(one.mask != nullptr, other.mask != nullptr);
    EXPECT_EQ(one.maskBitsPerPixel, other.maskBitsPerPixel);
    if (one.mask) { EXPECT_EQ(memcmp(one.mask.get(), other.mask.get(), PlaneSize(one.maskBitsPerPixel, one)), 0); }
    EXPECT_EQ(one.extras.exif, other.extras.exif);
    EXPECT_EQ(one.extras.dotsPerInchX, other.extras.dotsPerInchX);
}

TEST_F(DocumentsTest, PictureOfAnImageIsACopyOfAll)
{
    const Picture picture = Patterned(RGB, 7, 5);
    ImageRecord *image = OpenImage(host, CopyOf(picture));
    const Picture copy = PictureOf(image);
    ExpectEqual(copy, picture);
    EXPECT_NE(copy.pixels.get(), image->pixels);
    EXPECT_NE(copy.mask.get(), image->mask);
}

TEST_F(DocumentsTest, TakenPictureHasTheImagesOwnPlanes)
{
    const Picture picture = Patterned(GREY, 7, 5);
    ImageRecord *image = OpenImage(host, CopyOf(picture));
    const uint8_t *pixels = image->pixels;
    const Picture taken = TakePicture(image);
    EXPECT_EQ(taken.pixels.get(), pixels);
    ExpectEqual(taken, picture);
    CloseImage(host, image);
}

TEST_F(DocumentsTest, MaskCanBeGivenReplacedAndTakenAway)
{
    ImageRecord *image = Open(RGB, 5, 3);
    for (const int32_t bits : {8, 1}) {
        Picture other = NewPicture(RGB, 5, 3);
        AddMask(other, bits);
        const uint8_t *mask = other.mask.get();
        SetMask(image, std::move(other.mask), bits);
        EXPECT_EQ(image->mask, mask);
        EXPECT_EQ(image->secondMask, mask);
        EXPECT_EQ(image->maskBitsPerPixel, bits);
        EXPECT_EQ(PictureOf(image).maskBitsPerPixel, bits);
    }
    SetMask(image, nullptr, 8);
    EXPECT_EQ(image->mask, nullptr);
    EXPECT_EQ(image->secondMask, nullptr);
    EXPECT_EQ(image->maskBitsPerPixel, 0);
}

TEST_F(DocumentsTest, OpeningOnAn8BitDisplayMakesADisplayCopy)
{
    HostSetDisplayDepth(8);
    const ImageRecord *deep = Open(RGB), *grey = Open(GREY);
    HostSetDisplayDepth(24);
    EXPECT_NE(deep->displayCopy, nullptr);
    EXPECT_EQ(grey->displayCopy, nullptr);
}

//---- Pictures

TEST(Picture, NewOnesHaveTheirTypesDepthAndPalette)
{
    const Picture bits = NewPicture(ONE_BIT, 33, 2), grey = NewPicture(GREY, 3, 2), rgb = NewPicture(RGB, 3, 2);
    const Picture palette = NewPicture(PALETTE, 3, 2);
    EXPECT_EQ(bits.bitsPerPixel, 1);
    EXPECT_EQ(bits.paletteEntries, 2);
    EXPECT_EQ(bits.red[0], 0);
    EXPECT_EQ(bits.green[1], 255);
    EXPECT_EQ(bits.blue[2], 0);
    EXPECT_EQ(grey.bitsPerPixel, 8);
    EXPECT_EQ(grey.paletteEntries, 256);
    for (int i = 0; i < 256; ++i) EXPECT_EQ(grey.red[i] + grey.green[i] + grey.blue[i], 3 * i);
    EXPECT_EQ(palette.bitsPerPixel, 8);
    EXPECT_EQ(palette.paletteEntries, 0);
    EXPECT_EQ(rgb.bitsPerPixel, 24);
    EXPECT_EQ(rgb.paletteEntries, 0);
    EXPECT_EQ(rgb.red[255], 0);
}

TEST(Picture, NewPixelsAndMasksAreZero)
{
    EXPECT_EQ(RowStride(1, 33), 8);
    EXPECT_EQ(RowStride(24, 3), 12);
    Picture picture = NewPicture(RGB, 3, 2);
    AddMask(picture, 1);
    EXPECT_EQ(picture.maskBitsPerPixel, 1);
    for (int i = 0; i < 24; ++i) EXPECT_EQ(picture.pixels[i], 0);
    for (int i = 0; i < 8; ++i) EXPECT_EQ(picture.mask[i], 0);
}

TEST(Picture, CopiesAreEqualAndTheirOwn)
{
    const Picture picture = Patterned(PALETTE, 9, 4);
    const Picture copy = CopyOf(picture);
    ExpectEqual(copy, picture);
    EXPECT_NE(copy.pixels.get(), picture.pixels.get());
    copy.pixels[0] ^= 1;
    EXPECT_NE(copy.pixels[0], picture.pixels[0]);
}
