// The effect chooser behind Effects Help: what it is opened with, and what becomes of a choice.

#include "tests/module/giving_commands.h"

static constexpr int32_t BASE = 500;
enum { EFFECT_LIST = 960 };

// Gives the help command and does something in the chooser. Every dialog that opens then is dismissed.
static Calls CallsOfHelp(Stage &stage, const Script &choose, INT_PTR &result, int32_t base = BASE)
{
    stage.host.onChooserOpened = choose;
    return CallsOfCommand(stage, base + CHOOSER_COMMAND, base, result);
}

static Script Dismiss(INT_PTR result)
{
    return [result](HWND chooser) { KPZ_DismissDialog(chooser, result); };
}

//---- The record

// What the chooser that is open now was opened with.
static const ChooserRecord &RecordInUse()
{
    LoggedCall entry = {};
    const ChooserRecord *record = nullptr;
    for (int32_t i = 0; HostLogEntry(i, &entry); ++i) {
        if (std::string(entry.call) == "KPZ_RunDialogBox" && entry.arguments[3] == CHOOSER_TEMPLATE)
            record = reinterpret_cast<const ChooserRecord *>(entry.arguments[4]);
    }
    return *record;
}

static void ReadRecord(Stage &stage, const std::function<void(const ChooserRecord &)> &read)
{
    INT_PTR result = -1;
    bool opened = false;
    CallsOfHelp(
        stage,
        [&](HWND chooser) {
            opened = true;
            read(RecordInUse());
            KPZ_DismissDialog(chooser, CHOOSER_CANCELLED);
        },
        result);
    EXPECT_TRUE(opened);
}

TEST(TheChoosersRecord, NamesTheHostAndItsModule)
{
    Stage stage;
    ReadRecord(stage, [&](const ChooserRecord &record) {
        EXPECT_EQ(record.resourceModule, stage.host.context.resourceModule);
        EXPECT_EQ(record.host, &stage.host.context);
        EXPECT_STREQ(record.title, "Effects Helper");
    });
}

TEST(TheChoosersRecord, HasAnEntryMoreThanEffectsAndNumbersFrom911To932)
{
    Stage stage;
    ReadRecord(stage, [](const ChooserRecord &record) {
        EXPECT_EQ(record.entryCount, EFFECT_COUNT + 1);
        for (int i = 0; i < 22; ++i) EXPECT_EQ(record.ids[i], 911 + i);
    });
}

TEST(TheChoosersRecord, NamesTheOriginalImageAndThenTheHostsStrings)
{
    Stage stage;
    ReadRecord(stage, [&](const ChooserRecord &record) {
        EXPECT_STREQ(record.names[0], "Original Image");
        for (int i = 1; i <= 21; ++i) {
            char name[50];
            KPZ_LoadString(stage.host.context.window, stage.host.context.resourceModule, 5100 + i, name, sizeof name);
            EXPECT_STREQ(record.names[i], name) << i;
        }
        EXPECT_STREQ(record.names[20], "Wave");
        EXPECT_STREQ(record.names[EFFECT_COUNT], effectTable[EFFECT_COUNT - 1].title);
    });
}

TEST(TheChoosersRecord, LoadsEachStringIntoItsEntry)
{
    Stage stage;
    const HostContext &host = stage.host.context;
    Calls expected;
    INT_PTR result = -1;
    const Calls calls = CallsOfHelp(
        stage,
        [&](HWND chooser) {
            const ChooserRecord &record = RecordInUse();
            for (int i = 1; i <= 21; ++i)
                expected.push_back(
                    Called("KPZ_LoadString", host.window, host.resourceModule, 5100 + i, record.names[i], 50));
            KPZ_DismissDialog(chooser, CHOOSER_CANCELLED);
        },
        result);
    EXPECT_EQ(Only(calls, {"KPZ_LoadString"}), expected);
}

TEST(TheChooser, IsTheHostsDialogOfItsOwnTemplate)
{
    Stage stage;
    INT_PTR result = -1;
    const Calls calls = CallsOfHelp(stage, Dismiss(CHOOSER_CANCELLED), result);
    const Calls opened = Only(calls, {"KPZ_RunDialogBox"});
    ASSERT_EQ(opened.size(), 1u);
    EXPECT_EQ(opened[0].arguments[0], reinterpret_cast<intptr_t>(KPZ_GetDesktopWindow()));
    EXPECT_EQ(opened[0].arguments[1], AddressOf(&HelperDialog));
    EXPECT_EQ(opened[0].arguments[2],
              reinterpret_cast<intptr_t>(KPZ_GetLoadedModuleHandle(stage.host.context.resourceModule)));
    EXPECT_EQ(opened[0].arguments[3], 9100);
}

TEST(TheChooser, ShowsTheOriginalImageAndTheEffects)
{
    Stage stage;
    INT_PTR result = -1;
    CallsOfHelp(
        stage,
        [](HWND chooser) {
            EXPECT_EQ(KPZ_SendDlgItemMsg(chooser, EFFECT_LIST, LB_GETCOUNT, 0, 0), EFFECT_COUNT + 1);
            KPZ_DismissDialog(chooser, CHOOSER_CANCELLED);
        },
        result);
}

//---- Choosing

TEST(CancellingTheChooser, IsAnsweredWith0AndOpensNothing)
{
    Stage stage;
    INT_PTR result = -1;
    const Calls calls = CallsOfHelp(stage, Dismiss(500), result);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(TemplatesOf(calls), Templates{9100});
    EXPECT_EQ(CountOf(calls, "KPZ_GetLoadedModuleHandle"), 1);
}

// Makes the choice in the chooser and expects what the effect's own command does.
static void ExpectChoice(Stage &stage, const Script &choose, const EffectEntry &effect, int32_t base = BASE)
{
    INT_PTR ownResult = -1, result = -1;
    Templates expected = TemplatesOf(CallsOfCommand(stage, base + effect.offset, base, ownResult));
    EXPECT_EQ(expected, Templates{effect.templateId}) << effect.label;
    expected.insert(expected.begin(), CHOOSER_TEMPLATE);

    const Calls calls = CallsOfHelp(stage, choose, result, base);
    EXPECT_EQ(TemplatesOf(calls), expected) << effect.label;
    EXPECT_EQ(result, ownResult) << effect.label;
    // The choice is a command of its own, from its first question on.
    EXPECT_EQ(CountOf(calls, "KPZ_GetLoadedModuleHandle"), 2) << effect.label;
}

TEST(AChoice, OpensTheDialogOfItsEntry)
{
    Stage stage;
    for (int entry = 0; entry < EFFECT_COUNT; ++entry) ExpectChoice(stage, Dismiss(entry), effectTable[entry]);
}

TEST(AChoice, IsMadeByDoubleClickingAnEffect)
{
    Stage stage;
    for (int entry = 0; entry < EFFECT_COUNT; ++entry) {
        const Script choose = [entry](HWND chooser) { DoubleClick(chooser, EFFECT_LIST, entry + 1); };
        ExpectChoice(stage, choose, effectTable[entry]);
    }
}

// Nothing but a host's chooser keeps its answer to the entries that it was given.
TEST(AChoice, BeyondTheEntriesIsAnsweredWith0AndOpensNothing)
{
    Stage stage;
    for (INT_PTR chosen : {INT_PTR(-1), INT_PTR(EFFECT_COUNT), INT_PTR(499), INT_PTR(501), INT_PTR(1) << 30}) {
        INT_PTR result = -1;
        const Calls calls = CallsOfHelp(stage, Dismiss(chosen), result);
        EXPECT_EQ(result, 0) << chosen;
        EXPECT_EQ(TemplatesOf(calls), Templates{CHOOSER_TEMPLATE}) << chosen;
    }
}

TEST(AChoice, HandsTheHostOnToTheDialog)
{
    Stage stage;
    INT_PTR result = -1;
    const Calls calls = Only(CallsOfHelp(stage, Dismiss(9), result), {"KPZ_RunDialogBox"});
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[1].arguments[4], reinterpret_cast<intptr_t>(&stage.host.context));
}

// The chosen command is cut to 16 bits without a sign and read with one.
TEST(AChoice, WorksFromBasesOfEitherSign)
{
    Stage stage;
    for (int32_t base : {32000, 0, -3, -5, -9, -12, -32000})
        for (int entry : {9, 19}) ExpectChoice(stage, Dismiss(entry), effectTable[entry], base);
}
