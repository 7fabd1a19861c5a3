// The Filters dialog, message by message, and its filter files.

#include "host/misc/misc.h"
#include "matrix/matrix.h"
#include "tests/framework/stage.h"
#include "tests/matrix/kernel_catalogue.h"
#include "tests/matrix/parameters.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <unistd.h>

enum {
    FIRST_ELEMENT = 4020,
    LAST_ELEMENT = 4068,
    DIVISOR = 990,
    DIVISOR_EDIT = 1000,
    BIAS = 980,
    BIAS_EDIT = 970,
    ITERATIONS = 920,
    ITERATIONS_EDIT = 930,
    SUBTRACT = 5140,
    ADD = 5150,
    REPLACE = 5160,
    DIFFER = 940,
    ITERATIVE = 950,
    PLAIN = 1270,
    USE_RED = 6600,
    USE_GREEN = 6550,
    USE_BLUE = 6540,
    SAVE = 2630,
    LOAD = 2640,
};
enum { IDENTITY_ENTRY = 32, SOBEL_ENTRY = 51, ENGRAVE_ENTRY = 16 };

static const Messages CHANGED = {{PREVIEW_CHANGED, 0, 0}};

static void InFilters(Stage &stage, const Script &script) { InDialog(stage, FILTERS_COMMAND, script); }

static MatrixParameters &OwnAt(HWND dialog, int slot)
{
    return reinterpret_cast<MatrixBlock *>(BlockAt(dialog, slot))->own;
}
static MatrixParameters &Own(HWND dialog) { return OwnAt(dialog, StateOf(dialog)->currentSlot); }

static int ShownNumber(HWND dialog, int id) { return int(GetDlgItemInt(dialog, id, nullptr, TRUE)); }

static bool ShowsKernel(HWND dialog, const int32_t *kernel)
{
    for (int i = 0; i < 49; ++i)
        if (ShownNumber(dialog, FIRST_ELEMENT + i) != kernel[i]) return false;
    return true;
}

// No notification of a control that the effect knows reaches the default procedure.
static Messages Notify(HWND dialog, int id, int notification)
{
    const Calls calls = CallsDuring([&] { EXPECT_EQ(Command(dialog, id, notification), 1); });
    EXPECT_EQ(CountOf(calls, "KPZ_DefDlgProc"), 0) << id << " " << notification;
    return MessagesTo(PREVIEW_CONTROL, calls);
}

//---- Opening

TEST(FiltersDialog, OpensWithTheIdentity)
{
    Stage stage(2);
    InFilters(stage, [&](HWND dialog) {
        for (int slot : {0, 1}) {
            EXPECT_TRUE(SameSettings(OwnAt(dialog, slot), SettingsOf(catalogue[IDENTITY_ENTRY])));
            EXPECT_STREQ(BlockAt(dialog, slot)->header.title, "Filters");
            EXPECT_EQ(BlockAt(dialog, slot)->header.priority, 0);
            EXPECT_EQ(BlockAt(dialog, slot)->view.blockSize, int32_t(sizeof(MatrixBlock)));
        }
        EXPECT_STREQ(stage.host.context.openEffectTitle, "Filters");
        EXPECT_TRUE(ShowsKernel(dialog, Own(dialog).kernel));
    });
}

TEST(FiltersDialog, ListsTheKernelsInTheirOrder)
{
    Stage stage;
    InFilters(stage, [](HWND dialog) {
        ASSERT_EQ(KPZ_SendDlgItemMsg(dialog, KERNEL_LIST, LB_GETCOUNT, 0, 0), CATALOGUE_KERNELS);
        for (int i = 0; i < CATALOGUE_KERNELS; ++i) {
            char name[256] = "";
            KPZ_SendDlgItemMsg(dialog, KERNEL_LIST, LB_GETTEXT, WPARAM(i), reinterpret_cast<LPARAM>(name));
            EXPECT_STREQ(name, catalogue[i].name);
        }
        EXPECT_EQ(KPZ_ListBoxQuerySelection(dialog, KERNEL_LIST), -1);
    });
}

TEST(FiltersDialog, LoadsTheNamesFromTheModulesStrings)
{
    Stage stage;
    const Calls calls = CallsDuring([&] { InFilters(stage, [](HWND) {}); });
    const Calls loads = Only(calls, {"KPZ_LoadString"});
    ASSERT_EQ(loads.size(), size_t(CATALOGUE_KERNELS));
    for (int i = 0; i < CATALOGUE_KERNELS; ++i) {
        EXPECT_EQ(loads[size_t(i)].arguments[2], 100 + i);
        EXPECT_EQ(loads[size_t(i)].arguments[4], 255);
    }
    EXPECT_EQ(CountOf(calls, "KPZ_ListBoxAddToEnd"), CATALOGUE_KERNELS);
}

TEST(FiltersDialog, SetsTheRanges)
{
    Stage stage;
    const Calls calls = CallsDuring([&] { InFilters(stage, [](HWND) {}); });
    typedef std::vector<std::array<intptr_t, 3>> Ranges;
    Ranges ranges, expected = {{DIVISOR, 1, 1000}, {BIAS, -255, 255}, {ITERATIONS, 1, 50}};
    for (int id = FIRST_ELEMENT; id <= LAST_ELEMENT; ++id) expected.push_back({id, -50, 50});
    for (const Call &call : Only(calls, {"KPZ_SetSpinBoxRange"}))
        ranges.push_back({call.arguments[1], call.arguments[2], call.arguments[3]});
    EXPECT_EQ(ranges, expected);
}

TEST(FiltersDialog, ShowsItsHelpPage)
{
    Stage stage;
    InFilters(stage, [](HWND dialog) { Press(dialog, HELP_BUTTON); });
    EXPECT_EQ(stage.helpPages, std::vector<int32_t>{74});
}

TEST(FiltersDialog, DoesNotCloseDuringARunAndSaysSoAsMatrix)
{
    Stage stage;
    InFilters(stage, [&](HWND dialog) {
        ApplyAndHold(dialog, stage.images[0]);
        KPZ_EnableDlgItem(dialog, CLOSE_BUTTON, TRUE);
        Command(dialog, CLOSE_BUTTON);
        ASSERT_EQ(stage.boxes.size(), 1u);
        EXPECT_EQ(stage.boxes[0].text,
                  "The Matrix function is running on some images, abort those images or wait for them to finish");
        EXPECT_EQ(stage.boxes[0].title, "Matrix Error");
        EXPECT_EQ(stage.boxes[0].style, 0x10);
        EXPECT_TRUE(IsOpen(dialog));
    });
}

//---- Loading the controls

// Not one of those that all dialogs share.
static bool IsOwnControl(const Call &call)
{
    static const int shared[] = {PREVIEW_CHECK, SCOPE_IMAGE_RADIO, SCOPE_ALL_RADIO, SCOPE_OBJECTS_RADIO,
                                 SCOPE_NEW_OBJECT_RADIO};
    return std::find(std::begin(shared), std::end(shared), int(call.arguments[1])) == std::end(shared);
}

TEST(LoadingFilters, WritesItsControlsInThisOrder)
{
    Stage stage;
    InFilters(stage, [](HWND dialog) {
        MatrixParameters &own = Own(dialog);
        own.divisor = 3, own.bias = -4, own.combineMode = ADD, own.useGreen = 0, own.passMode = DIFFER;
        own.iterations = 5;
        Calls calls = CallsDuring([&] { Send(dialog, ACTIVE_IMAGE_CHANGED); });
        calls = Only(calls, {"KPZ_SetSpinBoxValue", "KPZ_CheckButton"});
        std::erase_if(calls, [](const Call &call) { return !IsOwnControl(call); });
        EXPECT_EQ(
            calls,
            (Calls{Called("KPZ_SetSpinBoxValue", dialog, DIVISOR, 3), Called("KPZ_SetSpinBoxValue", dialog, BIAS, -4),
                   Called("KPZ_CheckButton", dialog, ADD, 0), Called("KPZ_CheckButton", dialog, SUBTRACT, 0),
                   Called("KPZ_CheckButton", dialog, REPLACE, 0), Called("KPZ_CheckButton", dialog, ADD, 1),
                   Called("KPZ_CheckButton", dialog, USE_RED, 1), Called("KPZ_CheckButton", dialog, USE_GREEN, 0),
                   Called("KPZ_CheckButton", dialog, USE_BLUE, 1), Called("KPZ_CheckButton", dialog, DIFFER, 1),
                   Called("KPZ_SetSpinBoxValue", dialog, ITERATIONS, 5)}));
    });
}

TEST(LoadingFilters, ShowsWhatTheBlockHolds)
{
    Stage stage(2);
    InFilters(stage, [&](HWND dialog) {
        MatrixParameters &own = OwnAt(dialog, 1);
        for (int i = 0; i < 49; ++i) own.kernel[i] = 1000 * (i - 24);   // also beyond what a person may type
        own.divisor = -2, own.bias = 3000, own.combineMode = SUBTRACT, own.passMode = ITERATIVE, own.useRed = 0;
        const MatrixParameters before = own;
        ActivateImage(stage.host, stage.images[1]);
        EXPECT_TRUE(ShowsKernel(dialog, own.kernel));
        EXPECT_EQ(KPZ_GetSpinBoxIntValue(dialog, DIVISOR), -2);
        EXPECT_EQ(KPZ_GetSpinBoxIntValue(dialog, BIAS), 3000);
        for (int id : {SUBTRACT, ITERATIVE, USE_GREEN, USE_BLUE}) EXPECT_TRUE(KPZ_IsButtonChecked(dialog, id)) << id;
        for (int id : {ADD, REPLACE, PLAIN, DIFFER, USE_RED}) EXPECT_FALSE(KPZ_IsButtonChecked(dialog, id)) << id;
        EXPECT_EQ(memcmp(&own, &before, sizeof own), 0) << "loading changed the block";
        ActivateImage(stage.host, stage.images[0]);
        EXPECT_TRUE(ShowsKernel(dialog, OwnAt(dialog, 0).kernel));
        for (int id : {REPLACE, PLAIN, USE_RED}) EXPECT_TRUE(KPZ_IsButtonChecked(dialog, id)) << id;
    });
}

//---- Changes

static void Forget(MatrixParameters &own)
{
    for (int32_t &element : own.kernel) element = 99;
    own.divisor = own.bias = own.iterations = own.useRed = own.useGreen = own.useBlue = 99;
}

struct Reads {
    bool kernel, scale, channels;
};

static void ExpectRead(HWND dialog, int id, int notification, Reads reads)
{
    MatrixParameters &own = Own(dialog);
    Forget(own);
    const bool any = reads.kernel || reads.scale || reads.channels;
    SCOPED_TRACE(testing::Message() << "control " << id << " notification " << notification);
    EXPECT_EQ(Notify(dialog, id, notification), any ? CHANGED : Messages{});
    for (int i = 0; i < 49; ++i) EXPECT_EQ(own.kernel[i], reads.kernel ? i == 24 : 99);
    EXPECT_EQ(own.divisor, reads.scale ? 1 : 99);
    EXPECT_EQ(own.bias, reads.scale ? 0 : 99);
    EXPECT_EQ(own.iterations, reads.scale ? 1 : 99);
    for (int32_t use : {own.useRed, own.useGreen, own.useBlue}) EXPECT_EQ(use, reads.channels ? 1 : 99);
}

TEST(KernelFields, AreReadTogetherWhenOneChanges)
{
    Stage stage;
    InFilters(stage, [](HWND dialog) {
        for (int id = FIRST_ELEMENT; id <= LAST_ELEMENT; ++id) ExpectRead(dialog, id, EN_CHANGE, {true, false, false});
    });
}

TEST(KernelFields, SwallowOtherNotifications)
{
    Stage stage;
    InFilters(stage, [](HWND dialog) {
        for (int id : {int(FIRST_ELEMENT), 4044, int(LAST_ELEMENT)})
            for (int other : {0, 0x100, 0x200, int(EN_UPDATE), 0xFD2E}) ExpectRead(dialog, id, other, {});
    });
}

TEST(KernelFields, NeighbouringIdsAreNoneOfThem)
{
    Stage stage;
    InFilters(stage, [](HWND dialog) {
        Forget(Own(dialog));
        for (int id : {FIRST_ELEMENT - 1, LAST_ELEMENT + 1}) {
            const Calls calls = CallsDuring([&] { Command(dialog, id, EN_CHANGE); });
            EXPECT_EQ(CountOf(calls, "KPZ_DefDlgProc"), 1);
            EXPECT_EQ(Own(dialog).kernel[0], 99);
        }
    });
}

TEST(KernelFields, FollowThePersonsTyping)
{
    Stage stage;
    InFilters(stage, [](HWND dialog) {
        for (int i = 0; i < 49; ++i) Type(dialog, FIRST_ELEMENT + i, std::to_string(i - 24));
        for (int i = 0; i < 49; ++i) EXPECT_EQ(Own(dialog).kernel[i], i - 24);
    });
}

TEST(FiltersSpinBoxes, AreReadTogetherAndApartFromTheKernel)
{
    Stage stage;
    InFilters(stage, [](HWND dialog) {
        for (int id : {DIVISOR, BIAS, ITERATIONS}) {
            ExpectRead(dialog, id, EN_CHANGE, {false, true, false});
            ExpectRead(dialog, id, SPIN_CHANGED, {false, true, false});
            ExpectRead(dialog, id, EN_UPDATE, {});
        }
        for (int id : {DIVISOR_EDIT, BIAS_EDIT, ITERATIONS_EDIT}) {
            ExpectRead(dialog, id, EN_CHANGE, {false, true, false});
            ExpectRead(dialog, id, SPIN_CHANGED, {});
        }
    });
}

TEST(FiltersSpinBoxes, HaveTheirFieldsAndRanges)
{
    Stage stage;
    InFilters(stage, [](HWND dialog) {
        Type(dialog, DIVISOR_EDIT, "12");
        Type(dialog, BIAS_EDIT, "-34");
        Type(dialog, ITERATIONS_EDIT, "5");
        EXPECT_EQ(Own(dialog).divisor, 12);
        EXPECT_EQ(Own(dialog).bias, -34);
        EXPECT_EQ(Own(dialog).iterations, 5);
        for (const char *number : {"99999", "-99999"}) {
            for (int id : {DIVISOR_EDIT, BIAS_EDIT, ITERATIONS_EDIT}) Type(dialog, id, number);
            const bool high = number[0] != '-';
            EXPECT_EQ(Own(dialog).divisor, high ? 1000 : 1);
            EXPECT_EQ(Own(dialog).bias, high ? 255 : -255);
            EXPECT_EQ(Own(dialog).iterations, high ? 50 : 1);
        }
        SpinTo(dialog, BIAS, -250);
        EXPECT_EQ(Own(dialog).bias, -250);
    });
}

TEST(FiltersRadioButtons, StoreTheirNumber)
{
    Stage stage;
    InFilters(stage, [](HWND dialog) {
        for (int id : {SUBTRACT, ADD, REPLACE}) {
            EXPECT_EQ(Notify(dialog, id, 0), CHANGED);
            EXPECT_EQ(Own(dialog).combineMode, id);
            EXPECT_EQ(Own(dialog).passMode, PLAIN);
        }
        for (int id : {DIFFER, ITERATIVE, PLAIN}) {
            EXPECT_EQ(Notify(dialog, id, 0), CHANGED);
            EXPECT_EQ(Own(dialog).passMode, id);
            EXPECT_EQ(Own(dialog).combineMode, REPLACE);
        }
    });
}

TEST(FiltersRadioButtons, AreTwoGroups)
{
    Stage stage;
    InFilters(stage, [](HWND dialog) {
        Choose(dialog, ADD);
        Choose(dialog, ITERATIVE);
        for (int id : {ADD, ITERATIVE}) EXPECT_TRUE(KPZ_IsButtonChecked(dialog, id)) << id;
        for (int id : {SUBTRACT, REPLACE, PLAIN, DIFFER}) EXPECT_FALSE(KPZ_IsButtonChecked(dialog, id)) << id;
    });
}

TEST(ChannelBoxes, AreReadTogether)
{
    Stage stage;
    InFilters(stage, [](HWND dialog) {
        for (int id : {USE_RED, USE_GREEN, USE_BLUE}) ExpectRead(dialog, id, 0, {false, false, true});
        Tick(dialog, USE_GREEN, false);
        EXPECT_EQ(Own(dialog).useRed, 1);
        EXPECT_EQ(Own(dialog).useGreen, 0);
        EXPECT_EQ(Own(dialog).useBlue, 1);
    });
}

TEST(FiltersChanges, AreSilentWithThePreviewOff)
{
    Stage stage;
    InFilters(stage, [](HWND dialog) {
        Tick(dialog, PREVIEW_CHECK, false);
        for (int id : {FIRST_ELEMENT, DIVISOR_EDIT}) EXPECT_EQ(Notify(dialog, id, EN_CHANGE), Messages{});
        for (int id : {ADD, ITERATIVE, USE_RED}) EXPECT_EQ(Notify(dialog, id, 0), Messages{});
    });
}

//---- The list of kernels

static int CountOf(const Messages &messages, UINT message)
{
    return int(std::count_if(messages.begin(), messages.end(), [=](const Message &m) { return m.message == message; }));
}

TEST(KernelList, DoubleClickAppliesEveryKernel)
{
    Stage stage;
    InFilters(stage, [](HWND dialog) {
        for (int i = 0; i < CATALOGUE_KERNELS; ++i) {
            DoubleClick(dialog, KERNEL_LIST, i);
            EXPECT_TRUE(SameSettings(Own(dialog), SettingsOf(catalogue[i]))) << catalogue[i].name;
            EXPECT_TRUE(ShowsKernel(dialog, Own(dialog).kernel)) << catalogue[i].name;
            EXPECT_EQ(KPZ_GetSpinBoxIntValue(dialog, DIVISOR), catalogue[i].divisor) << catalogue[i].name;
        }
    });
}

TEST(KernelList, DoubleClickKeepsPassModeIterationsAndChannels)
{
    Stage stage;
    InFilters(stage, [](HWND dialog) {
        Choose(dialog, ITERATIVE);
        Type(dialog, ITERATIONS_EDIT, "7");
        Tick(dialog, USE_BLUE, false);
        DoubleClick(dialog, KERNEL_LIST, IDENTITY_ENTRY);
        MatrixSettings expected = SettingsOf(catalogue[IDENTITY_ENTRY]);
        expected.passMode = ITERATIVE, expected.iterations = 7, expected.useBlue = 0;
        EXPECT_TRUE(SameSettings(Own(dialog), expected));
    });
}

TEST(KernelList, DoubleClickTellsThePreviewLast)
{
    Stage stage;
    InFilters(stage, [](HWND dialog) {
        Messages heard = MessagesTo(PREVIEW_CONTROL, [&] { DoubleClick(dialog, KERNEL_LIST, SOBEL_ENTRY); });
        EXPECT_EQ(CountOf(heard, PREVIEW_CHANGED), 1);
        EXPECT_EQ(heard.back(), CHANGED[0]);
        Tick(dialog, PREVIEW_CHECK, false);
        heard = MessagesTo(PREVIEW_CONTROL, [&] { DoubleClick(dialog, KERNEL_LIST, ENGRAVE_ENTRY); });
        EXPECT_EQ(CountOf(heard, PREVIEW_CHANGED), 0);
        EXPECT_TRUE(SameKernel(Own(dialog), SettingsOf(catalogue[ENGRAVE_ENTRY])));
    });
}

TEST(KernelList, ReadsTheSelectedKernelsText)
{
    Stage stage;
    InFilters(stage, [](HWND dialog) {
        const Calls calls = CallsDuring([&] { DoubleClick(dialog, KERNEL_LIST, SOBEL_ENTRY); });
        const Calls loads = Only(calls, {"KPZ_LoadString"});
        ASSERT_EQ(loads.size(), 1u);
        EXPECT_EQ(loads[0].arguments[2], 16 + SOBEL_ENTRY);
    });
}

TEST(KernelList, SingleClickOnlySelects)
{
    Stage stage;
    InFilters(stage, [](HWND dialog) {
        KPZ_SendDlgItemMsg(dialog, KERNEL_LIST, LB_SETCURSEL, SOBEL_ENTRY, 0);
        for (int other : {0, 1, 3, 4, 5, 0xFFFF}) EXPECT_EQ(Notify(dialog, KERNEL_LIST, other), Messages{});
        EXPECT_TRUE(SameSettings(Own(dialog), SettingsOf(catalogue[IDENTITY_ENTRY])));
    });
}

TEST(KernelList, DoubleClickBesideTheEntriesDoesNothing)
{
    Stage stage;
    InFilters(stage, [](HWND dialog) {
        EXPECT_EQ(Notify(dialog, KERNEL_LIST, LBN_DBLCLK), Messages{});
        EXPECT_TRUE(SameSettings(Own(dialog), SettingsOf(catalogue[IDENTITY_ENTRY])));
    });
}

TEST(KernelList, ChangesTheCurrentBlockAlone)
{
    Stage stage(3);
    ActivateImage(stage.host, stage.images[1]);
    InFilters(stage, [](HWND dialog) {
        DoubleClick(dialog, KERNEL_LIST, SOBEL_ENTRY);
        EXPECT_TRUE(SameKernel(OwnAt(dialog, 1), SettingsOf(catalogue[SOBEL_ENTRY])));
        for (int other : {0, 2}) EXPECT_TRUE(SameKernel(OwnAt(dialog, other), SettingsOf(catalogue[IDENTITY_ENTRY])));
    });
}

// A value from the list or a file stays as it is until a control of its group changes, and then reads as shown.
TEST(KernelList, ValuesBeyondTheRangeAreKept)
{
    Stage stage;
    InFilters(stage, [](HWND dialog) {
        DoubleClick(dialog, KERNEL_LIST, SOBEL_ENTRY);
        EXPECT_EQ(Own(dialog).divisor, -2);
        Type(dialog, BIAS_EDIT, "4");
        EXPECT_EQ(Own(dialog).divisor, -2);
        EXPECT_EQ(Own(dialog).bias, 4);
    });
}

//---- Files

// Answers the two file dialogs with one file's name, empty for a cancelled one.
struct FileAnswers {
    std::string name;
    std::vector<std::string> titles, types;   // what the dialogs were asked with
    std::vector<bool> saves;

    explicit FileAnswers(const std::string &file = "");
    ~FileAnswers();
    FileAnswers(const FileAnswers &) = delete;
    FileAnswers &operator=(const FileAnswers &) = delete;
};

static BOOL KPZAPI AnswerName(void *context, BOOL save, const char *title, const char *types, char *name)
{
    auto *answers = static_cast<FileAnswers *>(context);
    answers->saves.push_back(save);
    answers->titles.push_back(title);
    const char *end = types;
    while (*end) end += strlen(end) + 1;
    answers->types.push_back(std::string(types, end));
    EXPECT_STREQ(name, "");
    snprintf(name, 256, "%s", answers->name.c_str());
    return !answers->name.empty();
}

FileAnswers::FileAnswers(const std::string &file)
{
    if (!file.empty()) name = testing::TempDir() + "vlm_" + std::to_string(getpid()) + "_" + file;
    MiscAnswerFileNames(AnswerName, this);
}

FileAnswers::~FileAnswers()
{
    MiscAnswerFileNames(nullptr, nullptr);
    std::error_code ignored;
    if (!name.empty()) std::filesystem::remove(name, ignored);
}

static void WriteFile(const std::string &name, const std::string &text)
{
    std::ofstream(name, std::ios::binary) << text;
}

static std::string ReadFile(const std::string &name)
{
    std::ifstream file(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

static const std::string HEADER_LINE = "Velmorant Filter-Matrix Utility\n\r";

TEST(SavingAFilter, WritesTheFileToTheByte)
{
    Stage stage;
    FileAnswers answers("save.flt");
    InFilters(stage, [](HWND dialog) {
        DoubleClick(dialog, KERNEL_LIST, SOBEL_ENTRY);
        EXPECT_EQ(Notify(dialog, SAVE, 0), Messages{});
    });
    EXPECT_EQ(ReadFile(answers.name), HEADER_LINE + " " + TextOf(SOBEL_ENTRY));
    EXPECT_TRUE(stage.boxes.empty());
}

TEST(SavingAFilter, AsksWithItsTitleAndTypes)
{
    Stage stage;
    FileAnswers answers;
    InFilters(stage, [](HWND dialog) {
        const int32_t blocks = HostAllocatedBlocks();
        const Calls calls = CallsDuring([&] { Press(dialog, SAVE); });
        EXPECT_EQ(HostAllocatedBlocks(), blocks);
        const Calls saves = Only(calls, {"SaveFile"});
        ASSERT_EQ(saves.size(), 1u);
        EXPECT_EQ(saves[0].arguments[1], intptr_t(HEADER_LINE.size() + 1 + TextOf(IDENTITY_ENTRY).size()));
        EXPECT_EQ(saves[0].arguments[2], 0);
    });
    EXPECT_EQ(answers.titles, std::vector<std::string>{"Filter Save"});
    EXPECT_EQ(answers.saves, std::vector<bool>{true});
    ASSERT_EQ(answers.types.size(), 1u);
    EXPECT_EQ(answers.types[0], std::string("Filter files (*.flt)\0*.crv\0All files (*.*)\0*.*\0", 47));
}

TEST(LoadingAFilter, AsksWithItsTitleAndTypesAndMayBeCancelled)
{
    Stage stage;
    FileAnswers answers;
    InFilters(stage, [](HWND dialog) {
        EXPECT_EQ(Notify(dialog, LOAD, 0), Messages{});
        EXPECT_TRUE(SameSettings(Own(dialog), SettingsOf(catalogue[IDENTITY_ENTRY])));
    });
    EXPECT_EQ(answers.titles, std::vector<std::string>{"Filter Load"});
    EXPECT_EQ(answers.saves, std::vector<bool>{false});
    ASSERT_EQ(answers.types.size(), 1u);
    EXPECT_EQ(answers.types[0], std::string("Filter files (*.flt)\0*.crv\0All files (*.*)\0*.*\0", 47));
    EXPECT_TRUE(stage.boxes.empty());
}

TEST(LoadingAFilter, BringsBackWhatWasSaved)
{
    Stage stage;
    FileAnswers answers("round.flt");
    InFilters(stage, [](HWND dialog) {
        MatrixParameters &own = Own(dialog);
        for (int i = 0; i < 49; ++i) own.kernel[i] = 100000 * (i - 20);
        own.divisor = -7, own.bias = 4000, own.combineMode = ADD, own.passMode = DIFFER, own.iterations = 9;
        const MatrixParameters saved = own;
        Press(dialog, SAVE);
        DoubleClick(dialog, KERNEL_LIST, ENGRAVE_ENTRY);
        own.passMode = ITERATIVE, own.iterations = 2, own.useRed = 0;
        const int32_t blocks = HostAllocatedBlocks();
        const Messages heard = MessagesTo(PREVIEW_CONTROL, [&] { Press(dialog, LOAD); });
        EXPECT_EQ(HostAllocatedBlocks(), blocks);
        EXPECT_EQ(CountOf(heard, PREVIEW_CHANGED), 1);
        EXPECT_EQ(heard.back(), CHANGED[0]);
        EXPECT_EQ(memcmp(own.kernel, saved.kernel, sizeof own.kernel), 0);
        EXPECT_TRUE(own.divisor == -7 && own.bias == 4000 && own.combineMode == ADD);
        EXPECT_TRUE(own.passMode == ITERATIVE && own.iterations == 2 && own.useRed == 0);
        EXPECT_TRUE(ShowsKernel(dialog, saved.kernel));
        EXPECT_TRUE(KPZ_IsButtonChecked(dialog, ADD));
    });
}

TEST(LoadingAFilter, WithThePreviewOffIsSilent)
{
    Stage stage;
    FileAnswers answers("silent.flt");
    WriteFile(answers.name, HEADER_LINE + " " + TextOf(SOBEL_ENTRY));
    InFilters(stage, [](HWND dialog) {
        Tick(dialog, PREVIEW_CHECK, false);
        EXPECT_EQ(CountOf(MessagesTo(PREVIEW_CONTROL, [&] { Press(dialog, LOAD); }), PREVIEW_CHANGED), 0);
        EXPECT_TRUE(SameKernel(Own(dialog), SettingsOf(catalogue[SOBEL_ENTRY])));
    });
}

TEST(LoadingAFilter, OfAnotherKindSaysSoAndChangesNothing)
{
    Stage stage;
    FileAnswers answers("other.flt");
    for (const std::string &text : {std::string(), std::string("P6\n1 1\n255\n"), " " + HEADER_LINE}) {
        WriteFile(answers.name, text);
        stage.boxes.clear();
        InFilters(stage, [&](HWND dialog) {
            const int32_t blocks = HostAllocatedBlocks();
            EXPECT_EQ(Notify(dialog, LOAD, 0), Messages{});
            EXPECT_EQ(HostAllocatedBlocks(), blocks);
            EXPECT_TRUE(SameSettings(Own(dialog), SettingsOf(catalogue[IDENTITY_ENTRY])));
            ASSERT_EQ(stage.boxes.size(), 1u);
            EXPECT_EQ(stage.boxes[0].owner, dialog);
        });
        EXPECT_EQ(stage.boxes[0].text, "File is not a Filter Utility File.");
        EXPECT_EQ(stage.boxes[0].title, "File Error");
        EXPECT_EQ(stage.boxes[0].style, 0x10);
    }
}

TEST(LoadingAFilter, TakesDamagedNumbersWithoutAWord)
{
    Stage stage;
    FileAnswers answers("damaged.flt");
    WriteFile(answers.name, HEADER_LINE + " 1 2 3 four 5");
    InFilters(stage, [](HWND dialog) {
        Press(dialog, LOAD);
        const int32_t *kernel = Own(dialog).kernel;
        EXPECT_TRUE(kernel[0] == 1 && kernel[1] == 2 && kernel[2] == 3 && kernel[3] == 0 && kernel[24] == 0);
        EXPECT_EQ(Own(dialog).combineMode, SUBTRACT);
        EXPECT_TRUE(KPZ_IsButtonChecked(dialog, SUBTRACT));
    });
    EXPECT_TRUE(stage.boxes.empty());
}

//---- Runs

TEST(FiltersRun, FiltersThePicture)
{
    Stage stage;
    Picture expected = PictureOf(stage.images[0]);
    MatrixSettings settings = SettingsOf(catalogue[SOBEL_ENTRY]);
    settings.passMode = DIFFER;
    ReferenceMatrix(expected, settings);
    InFilters(stage, [](HWND dialog) {
        DoubleClick(dialog, KERNEL_LIST, SOBEL_ENTRY);
        Choose(dialog, DIFFER);
        ApplyAndWait(dialog);
    });
    EXPECT_TRUE(SamePicture(PictureOf(stage.images[0]), expected));
}

TEST(FiltersRun, AbortedLeavesThePictureAsItWas)
{
    Stage stage;
    const Picture before = PictureOf(stage.images[0]);
    InFilters(stage, [&](HWND dialog) {
        DoubleClick(dialog, KERNEL_LIST, SOBEL_ENTRY);
        for (int report : {0, 3, 7}) {
            AbortNextRun(stage.images[0], report);
            ApplyAndWait(dialog);
            EXPECT_TRUE(SamePicture(PictureOf(stage.images[0]), before)) << report;
        }
    });
}

// A run works from its own copy: what the person changes meanwhile is for the next one.
TEST(FiltersRun, IsNotReachedByLaterChanges)
{
    Stage stage;
    Picture expected = PictureOf(stage.images[0]);
    ReferenceMatrix(expected, SettingsOf(catalogue[SOBEL_ENTRY]));
    InFilters(stage, [&](HWND dialog) {
        DoubleClick(dialog, KERNEL_LIST, SOBEL_ENTRY);
        ApplyAndHold(dialog, stage.images[0]);
        Own(dialog).divisor = 100;
        Own(dialog).kernel[24] = 50;
        LetGo(stage.images[0]);
        WaitForRuns();
    });
    EXPECT_TRUE(SamePicture(PictureOf(stage.images[0]), expected));
}
