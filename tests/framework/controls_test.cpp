// The effects' own controls: which notifications are taken, what they change, and what the preview hears of it.

#include "tests/framework/stage.h"

static const Messages CHANGED = {{PREVIEW_CHANGED, 0, 0}};

// Sends a notification of a control; answers with what the preview heard. No notification of a control that the
// effect knows reaches the default procedure.
static Messages Notify(HWND dialog, int id, int notification, LPARAM extra = 0)
{
    const Calls calls = CallsDuring([&] { EXPECT_EQ(Command(dialog, id, notification, extra), 1); });
    EXPECT_EQ(CountOf(calls, "KPZ_DefDlgProc"), 0) << id << " " << notification;
    return MessagesTo(PREVIEW_CONTROL, calls);
}

//---- Spin boxes

// A block that differs from what its controls show, so that a reading of the controls can be seen.
static void Forget(NoiseBlock &block) { block.amount = block.variation = -1; }

static bool BothRead(const NoiseBlock &block) { return block.amount == 15 && block.variation == 10; }
static bool NoneRead(const NoiseBlock &block) { return block.amount == -1 && block.variation == -1; }

static void ExpectTaken(HWND dialog, int id, int notification)
{
    Forget(CurrentNoise(dialog));
    EXPECT_EQ(Notify(dialog, id, notification), CHANGED) << id << " " << notification;
    EXPECT_TRUE(BothRead(CurrentNoise(dialog))) << id << " " << notification;
}

static void ExpectIgnored(HWND dialog, int id, int notification)
{
    Forget(CurrentNoise(dialog));
    EXPECT_EQ(Notify(dialog, id, notification), Messages{}) << id << " " << notification;
    EXPECT_TRUE(NoneRead(CurrentNoise(dialog))) << id << " " << notification;
}

TEST(ASpinBox, ReadsAllOfThemWhenItChanges)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        for (int id : {AMOUNT, VARIATION}) {
            ExpectTaken(dialog, id, EN_CHANGE);
            ExpectTaken(dialog, id, SPIN_CHANGED);
        }
    });
}

TEST(ASpinBoxesField, ReadsAllOfThemWhenItsTextChanges)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        for (int id : {AMOUNT_EDIT, VARIATION_EDIT}) ExpectTaken(dialog, id, EN_CHANGE);
    });
}

TEST(ASpinBoxesField, IsNoSourceOfTheSpinNotification)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        for (int id : {AMOUNT_EDIT, VARIATION_EDIT}) ExpectIgnored(dialog, id, SPIN_CHANGED);
    });
}

TEST(ASpinBox, SwallowsOtherNotifications)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        for (int id : {AMOUNT, AMOUNT_EDIT, VARIATION, VARIATION_EDIT})
            for (int other : {0, 4, 8, 0x100, 0x200, 0x301, int(EN_UPDATE), 0xFD2D, 0xFFFF})
                ExpectIgnored(dialog, id, other);
    });
}

TEST(AChange, ReachesTheCurrentBlockAlone)
{
    Stage stage(3);
    ActivateImage(stage.host, stage.images[1]);
    InNoise(stage, [](HWND dialog) {
        Type(dialog, AMOUNT_EDIT, "66");
        SpinTo(dialog, VARIATION, 77);
        EXPECT_EQ(NoiseAt(dialog, 1).amount, 66);
        EXPECT_EQ(NoiseAt(dialog, 1).variation, 77);
        for (int other : {0, 2}) EXPECT_TRUE(BothRead(NoiseAt(dialog, other)));
    });
}

TEST(AChange, IsReadAsTheNearestNumberInRange)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        Type(dialog, AMOUNT_EDIT, "1000");
        EXPECT_EQ(CurrentNoise(dialog).amount, 100);
        Type(dialog, AMOUNT_EDIT, "");
        EXPECT_EQ(CurrentNoise(dialog).amount, 1);
    });
}

TEST(AChange, WithThePreviewOffIsTakenSilently)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        Tick(dialog, PREVIEW_CHECK, false);
        Forget(CurrentNoise(dialog));
        EXPECT_EQ(Notify(dialog, AMOUNT_EDIT, EN_CHANGE), Messages{});
        EXPECT_TRUE(BothRead(CurrentNoise(dialog)));
    });
}

//---- Wave's spin boxes

static void ExpectWaveRead(HWND dialog, int id, int notification, bool read)
{
    WaveBlock &block = CurrentWave(dialog);
    block.amplitude = block.wavelength = block.phase = -1;
    EXPECT_EQ(Notify(dialog, id, notification), read ? CHANGED : Messages{}) << id << " " << notification;
    EXPECT_EQ(block.amplitude, read ? 10 : -1) << id << " " << notification;
    EXPECT_EQ(block.wavelength, read ? 20 : -1) << id << " " << notification;
    EXPECT_EQ(block.phase, read ? 0 : -1) << id << " " << notification;
}

TEST(WavesSpinBoxes, AreReadTogether)
{
    Stage stage;
    InWave(stage, [](HWND dialog) {
        for (int id : {AMPLITUDE, WAVELENGTH, PHASE}) {
            ExpectWaveRead(dialog, id, EN_CHANGE, true);
            ExpectWaveRead(dialog, id, SPIN_CHANGED, true);
            ExpectWaveRead(dialog, id, EN_UPDATE, false);
        }
        for (int id : {AMPLITUDE_EDIT, WAVELENGTH_EDIT, PHASE_EDIT}) {
            ExpectWaveRead(dialog, id, EN_CHANGE, true);
            ExpectWaveRead(dialog, id, SPIN_CHANGED, false);
        }
    });
}

TEST(WavesFields, BelongToTheirSpinBoxes)
{
    Stage stage;
    InWave(stage, [](HWND dialog) {
        Type(dialog, AMPLITUDE_EDIT, "31");
        Type(dialog, WAVELENGTH_EDIT, "777");
        Type(dialog, PHASE_EDIT, "123");
        const WaveBlock &block = CurrentWave(dialog);
        EXPECT_EQ(block.amplitude, 31);
        EXPECT_EQ(block.wavelength, 777);
        EXPECT_EQ(block.phase, 123);
    });
}

//---- Radio buttons

TEST(Orientation, IsTheChosenButtonsNumber)
{
    Stage stage;
    InWave(stage, [](HWND dialog) {
        EXPECT_EQ(MessagesTo(PREVIEW_CONTROL, [&] { Choose(dialog, COLUMNS); }), CHANGED);
        EXPECT_EQ(CurrentWave(dialog).orientation, 5530);
        EXPECT_EQ(MessagesTo(PREVIEW_CONTROL, [&] { Choose(dialog, ROWS); }), CHANGED);
        EXPECT_EQ(CurrentWave(dialog).orientation, 1200);
    });
}

TEST(Orientation, TakesAnyNotification)
{
    Stage stage;
    InWave(stage, [](HWND dialog) {
        for (int notification : {0, 1, 5, 0xFFFF}) {
            EXPECT_EQ(Notify(dialog, COLUMNS, notification), CHANGED);
            EXPECT_EQ(CurrentWave(dialog).orientation, COLUMNS);
            EXPECT_EQ(Notify(dialog, ROWS, notification), CHANGED);
            EXPECT_EQ(CurrentWave(dialog).orientation, ROWS);
        }
    });
}

TEST(Orientation, IsStoredSilentlyWithThePreviewOff)
{
    Stage stage;
    InWave(stage, [](HWND dialog) {
        Tick(dialog, PREVIEW_CHECK, false);
        EXPECT_EQ(Notify(dialog, COLUMNS, 0), Messages{});
        EXPECT_EQ(CurrentWave(dialog).orientation, COLUMNS);
    });
}

TEST(Orientation, LeavesTheSpinBoxesUnread)
{
    Stage stage;
    InWave(stage, [](HWND dialog) {
        CurrentWave(dialog).amplitude = 50;
        Choose(dialog, COLUMNS);
        EXPECT_EQ(CurrentWave(dialog).amplitude, 50);
    });
}

//---- The colour

TEST(TheBackground, IsTakenWhileAndWhenItIsPicked)
{
    Stage stage;
    InWave(stage, [](HWND dialog) {
        for (int notification : {10, 11}) {
            uint32_t colour = 0x00102030u + uint32_t(notification);
            EXPECT_EQ(Notify(dialog, BACKGROUND, notification, reinterpret_cast<LPARAM>(&colour)), CHANGED);
            EXPECT_EQ(CurrentWave(dialog).background, colour);
        }
    });
}

TEST(TheBackground, IgnoresOtherNotifications)
{
    Stage stage;
    InWave(stage, [](HWND dialog) {
        for (int notification : {0, 9, 12, int(EN_CHANGE), 0xFD2E}) {
            uint32_t colour = 0x00112233;
            EXPECT_EQ(Notify(dialog, BACKGROUND, notification, reinterpret_cast<LPARAM>(&colour)), Messages{});
            EXPECT_EQ(CurrentWave(dialog).background, 0u);
        }
    });
}

TEST(TheBackground, IsTakenSilentlyWithThePreviewOff)
{
    Stage stage;
    InWave(stage, [](HWND dialog) {
        Tick(dialog, PREVIEW_CHECK, false);
        uint32_t colour = 0x00332211;
        EXPECT_EQ(Notify(dialog, BACKGROUND, COLOUR_CHANGED, reinterpret_cast<LPARAM>(&colour)), Messages{});
        EXPECT_EQ(CurrentWave(dialog).background, colour);
    });
}

TEST(TheBackground, FollowsThePersonsPick)
{
    Stage stage;
    InWave(stage, [](HWND dialog) {
        PickColour(dialog, BACKGROUND, 0x00445566);
        EXPECT_EQ(CurrentWave(dialog).background, 0x00445566u);
    });
}

//---- Loading

static bool IsAbout(const Call &call, std::initializer_list<int> ids)
{
    return std::find(ids.begin(), ids.end(), call.arguments[1]) != ids.end();
}

TEST(LoadingNoise, WritesAmountThenVariation)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        CurrentNoise(dialog).amount = 21;
        CurrentNoise(dialog).variation = 201;
        const Calls calls = CallsDuring([&] { Send(dialog, ACTIVE_IMAGE_CHANGED); });
        EXPECT_EQ(Only(calls, {"KPZ_SetSpinBoxValue"}), (Calls{Called("KPZ_SetSpinBoxValue", dialog, AMOUNT, 21),
                                                               Called("KPZ_SetSpinBoxValue", dialog, VARIATION, 201)}));
    });
}

TEST(LoadingWave, WritesItsControlsInThisOrder)
{
    Stage stage;
    InWave(stage, [](HWND dialog) {
        WaveBlock &block = CurrentWave(dialog);
        block.amplitude = 11, block.wavelength = 222, block.phase = 33, block.orientation = COLUMNS;
        block.background = 0x00665544;
        Calls calls = CallsDuring([&] { Send(dialog, ACTIVE_IMAGE_CHANGED); });
        calls = Only(calls, {"KPZ_SetSpinBoxValue", "KPZ_CheckButton", "KPZ_SendDlgItemMsg"});
        std::erase_if(calls, [](const Call &call) {
            return !IsAbout(call, {AMPLITUDE, WAVELENGTH, PHASE, ROWS, COLUMNS, BACKGROUND});
        });
        EXPECT_EQ(calls,
                  (Calls{Called("KPZ_SetSpinBoxValue", dialog, AMPLITUDE, 11),
                         Called("KPZ_SetSpinBoxValue", dialog, WAVELENGTH, 222),
                         Called("KPZ_SetSpinBoxValue", dialog, PHASE, 33), Called("KPZ_CheckButton", dialog, ROWS, 0),
                         Called("KPZ_CheckButton", dialog, COLUMNS, 0), Called("KPZ_CheckButton", dialog, COLUMNS, 1),
                         Called("KPZ_SendDlgItemMsg", dialog, BACKGROUND, COLOUR_SETTING, 2, 0x00665544)}));
    });
}

TEST(LoadingWave, ShowsWhatTheBlockHolds)
{
    Stage stage(2);
    InWave(stage, [&](HWND dialog) {
        Choose(dialog, COLUMNS);
        PickColour(dialog, BACKGROUND, 0x00445566);
        ActivateImage(stage.host, stage.images[1]);
        EXPECT_TRUE(KPZ_IsButtonChecked(dialog, ROWS));
        EXPECT_FALSE(KPZ_IsButtonChecked(dialog, COLUMNS));
        EXPECT_EQ(HostShownColour(dialog, BACKGROUND), 0u);
        ActivateImage(stage.host, stage.images[0]);
        EXPECT_TRUE(KPZ_IsButtonChecked(dialog, COLUMNS));
        EXPECT_FALSE(KPZ_IsButtonChecked(dialog, ROWS));
        EXPECT_EQ(HostShownColour(dialog, BACKGROUND), 0x00445566u);
    });
}

// A value that the module writes is shown as it is, even where a person could not choose it.
TEST(LoadingNoise, ShowsValuesOutsideTheRange)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        CurrentNoise(dialog).amount = 500;
        Send(dialog, ACTIVE_IMAGE_CHANGED);
        EXPECT_EQ(KPZ_GetSpinBoxIntValue(dialog, AMOUNT), 500);
    });
}

static std::vector<int> CheckedScopes(HWND dialog)
{
    std::vector<int> checked;
    for (int id : {SCOPE_IMAGE_RADIO, SCOPE_ALL_RADIO, SCOPE_OBJECTS_RADIO, SCOPE_NEW_OBJECT_RADIO})
        if (KPZ_IsButtonChecked(dialog, id)) checked.push_back(id);
    return checked;
}

TEST(Loading, ChecksExactlyTheScopeOfTheBlock)
{
    Stage stage;
    InNoise(stage, [](HWND dialog) {
        const std::pair<int, int> scopes[] = {{0, 6960}, {1, 6940}, {2, 2170}, {3, 6950}};
        for (const auto &[mode, id] : scopes) {
            CurrentBlock(dialog)->header.previewMode = mode;
            Send(dialog, ACTIVE_IMAGE_CHANGED);
            EXPECT_EQ(CheckedScopes(dialog), std::vector<int>{id});
        }
    });
}
