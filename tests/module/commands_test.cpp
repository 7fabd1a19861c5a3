// The entry points by name, and what becomes of a command.

#include "host/documents/library.h"
#include "tests/module/giving_commands.h"

static constexpr int32_t BASE = 500;

//---- The entry points

TEST(TheModule, HasItsFiveEntryPointsByName)
{
    Stage stage(0);
    for (const char *name :
         {"KPZInitialize", "KPZSetupMenus", "KPZCommandProcessor", "KPZNewImageProcessor", "KPZExitProcessor"})
        EXPECT_NE(FindName(stage.host.module.library, name), nullptr) << name;
}

TEST(TheModule, TakesNoticeOfNewImagesAndOfTheEndWith0)
{
    Stage stage(0);
    const Calls calls = CallsDuring([&] {
        EXPECT_EQ(stage.host.module.newImageProcessor(1, -1), 0);
        EXPECT_EQ(stage.host.module.exitProcessor(), 0);
    });
    EXPECT_EQ(calls, Calls{});
}

//---- What a command opens

TEST(ACommand, AsksForTheModuleThenOpensItsDialog)
{
    Stage stage;
    HostContext &host = stage.host.context;
    INT_PTR result = 0;
    const Calls calls = CallsOfCommand(stage, BASE + NOISE_COMMAND, BASE, result);
    ASSERT_GE(calls.size(), 3u);
    EXPECT_EQ(calls[0], Called("KPZ_GetLoadedModuleHandle", host.resourceModule));
    EXPECT_EQ(calls[1], Called("KPZ_GetDesktopWindow"));
    EXPECT_EQ(calls[2].name, "KPZ_RunDialogBox");
    EXPECT_EQ(calls[2].arguments[0], reinterpret_cast<intptr_t>(KPZ_GetDesktopWindow()));
    EXPECT_NE(calls[2].arguments[1], 0);
    EXPECT_EQ(calls[2].arguments[2], reinterpret_cast<intptr_t>(KPZ_GetLoadedModuleHandle(host.resourceModule)));
    EXPECT_EQ(calls[2].arguments[3], 4240);
    EXPECT_EQ(calls[2].arguments[4], reinterpret_cast<intptr_t>(&host));
}

TEST(ACommand, OpensTheDialogOfItsEffectAndAnswersWithItsResult)
{
    Stage stage;
    for (const EffectEntry &effect : effectTable) {
        INT_PTR result = -1;
        const Templates opened = TemplatesOf(CallsOfCommand(stage, BASE + effect.offset, BASE, result));
        EXPECT_EQ(opened, Templates{effect.templateId}) << effect.label;
        EXPECT_EQ(result, DISMISSED) << effect.label;
    }
}

TEST(ACommand, OpensADialogThatLeadsToTheEffectsOwnHelpPage)
{
    Stage stage;
    for (const EffectEntry &effect : effectTable) {
        stage.helpPages.clear();
        InDialog(stage, effect.offset, [](HWND dialog) { Command(dialog, HELP_BUTTON); });
        EXPECT_EQ(stage.helpPages, std::vector<int32_t>{effect.helpContext}) << effect.label;
    }
}

TEST(ACommand, AnswersWith1WhenThePersonClosesTheDialog)
{
    Stage stage;
    stage.host.onDialogOpened = [](HWND dialog) { Press(dialog, CLOSE_BUTTON); };
    EXPECT_EQ(Process(stage, BASE + WAVE_COMMAND, BASE), 1);
}

//---- What is no command

static void ExpectNothing(Stage &stage, int32_t command, int32_t base)
{
    INT_PTR result = -1;
    const Calls calls = CallsOfCommand(stage, command, base, result);
    EXPECT_EQ(result, 0) << command << " from " << base;
    EXPECT_EQ(calls, (Calls{Called("KPZ_GetLoadedModuleHandle", stage.host.context.resourceModule)}))
        << command << " from " << base;
}

TEST(ANumberThatIsNoCommand, IsAnsweredWith0AndOpensNothing)
{
    Stage stage;
    for (int offset = -5; offset <= 100; ++offset)
        if (!IsModuleCommand(offset)) ExpectNothing(stage, BASE + offset, BASE);
    for (int offset : {0, 4, 11, -500, 1000}) ExpectNothing(stage, BASE + offset, BASE);
}

TEST(ACommandWithoutAnActiveImage, StillAsksForTheModuleAndNothingElse)
{
    Stage stage(0);
    for (int offset = -1; offset <= 50; ++offset) ExpectNothing(stage, BASE + offset, BASE);
}

//---- Only the low 16 bits count, with their sign

static bool OpensNoise(Stage &stage, int32_t command, int32_t base)
{
    INT_PTR result = 0;
    const Calls calls = CallsOfCommand(stage, command, base, result);
    return result == DISMISSED && TemplatesOf(calls) == Templates{4240};
}

TEST(ACommandsHighBits, DoNotCount)
{
    Stage stage;
    EXPECT_TRUE(OpensNoise(stage, 0x10000 + BASE + NOISE_COMMAND, BASE));
    EXPECT_TRUE(OpensNoise(stage, int32_t(0xABCD0000u) + BASE + NOISE_COMMAND, BASE));
}

TEST(ACommandsLow16Bits, HaveASign)
{
    Stage stage;
    EXPECT_TRUE(OpensNoise(stage, 0xFFFE, -2 - NOISE_COMMAND));
    EXPECT_TRUE(OpensNoise(stage, -2, -2 - NOISE_COMMAND));
    ExpectNothing(stage, 0xFFFE, 0xFFFE - NOISE_COMMAND);
    ExpectNothing(stage, 40000 + NOISE_COMMAND, 40000);
}

TEST(ABase, MayBeAsHighAs32000)
{
    Stage stage;
    EXPECT_TRUE(OpensNoise(stage, 32000 + NOISE_COMMAND, 32000));
    EXPECT_TRUE(OpensNoise(stage, NOISE_COMMAND, 0));
}

//---- Dialogs within dialogs

TEST(TwoDialogs, StandBesideEachOther)
{
    Stage stage;
    InNoise(stage, [&](HWND noise) {
        InWave(stage, [&](HWND wave) {
            EXPECT_TRUE(IsOpen(noise) && IsOpen(wave));
            EXPECT_EQ(MiscFloaterCount(stage.host.context.floaters), 2);
            EXPECT_EQ(stage.host.context.openEffectDialog, wave);
            EXPECT_STREQ(stage.host.context.openEffectTitle, "Wave");
        });
        EXPECT_TRUE(IsOpen(noise));
    });
}
