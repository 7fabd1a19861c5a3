// Spin boxes: what they tell their dialog and when, and which number they count as.

#include "tests/host/api/scene.h"

#include <cstdlib>

enum { AMOUNT = 1290, AMOUNT_FIELD = 1300, VARIATION = 1310, VARIATION_FIELD = 1320 };
enum { FIRST_WEIGHT = 4020, LAST_WEIGHT = 4068 };
enum { NOTIFY = 0x004E };

static std::vector<Told> TextChanged(HWND dialog, int32_t fieldId)
{
    const HWND field = GetDlgItem(dialog, fieldId);
    return {Notified(fieldId, EN_UPDATE, field), Notified(fieldId, EN_CHANGE, field)};
}

// What one click on the arrows tells; the step's question carries a pointer that only lives meanwhile.
static std::vector<Told> Clicked(HWND dialog, int32_t id, int32_t fieldId, bool changes, int32_t value)
{
    const auto arrows = reinterpret_cast<LPARAM>(GetDlgItem(dialog, id));
    std::vector<Told> told = {{NOTIFY, WPARAM(id), 0}};
    if (changes)
        for (const Told &change : TextChanged(dialog, fieldId)) told.push_back(change);
    told.push_back({WM_VSCROLL, MAKEWPARAM(SB_THUMBPOSITION, value), arrows});
    told.push_back({WM_VSCROLL, MAKEWPARAM(SB_ENDSCROLL, value), arrows});
    return told;
}

static std::vector<Told> WithoutPointers(std::vector<Told> told)
{
    for (Told &one : told)
        if (one.message == NOTIFY) one.extra = 0;
    return told;
}

//---- Set by code

TEST(SpinBox, SetByCodeTellsTheDialogBeforeTheCallReturns)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        KPZ_SetSpinBoxRange(scene.dialog, AMOUNT, 0, 100);
        EXPECT_TRUE(scene.told.empty()) << "a range alone changes no text";
        KPZ_SetSpinBoxValue(scene.dialog, AMOUNT, 30);
        EXPECT_EQ(scene.told, TextChanged(scene.dialog, AMOUNT_FIELD));
        EXPECT_EQ(KPZ_GetSpinBoxIntValue(scene.dialog, AMOUNT), 30);
    });
}

TEST(SpinBox, TheNewValueCanBeReadWhenTheDialogIsTold)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        KPZ_SetSpinBoxRange(scene.dialog, AMOUNT, 0, 100);
        std::vector<int32_t> seen;
        scene.answer = [&](const Told &told) {
            if (HIWORD(told.word) == EN_CHANGE) seen.push_back(KPZ_GetSpinBoxIntValue(scene.dialog, AMOUNT));
            return 0;
        };
        KPZ_SetSpinBoxValue(scene.dialog, AMOUNT, 30);
        HostTypeNumber(scene.dialog, AMOUNT_FIELD, "40");
        HostClickArrows(scene.dialog, AMOUNT, 1);
        scene.answer = nullptr;
        EXPECT_EQ(seen, (std::vector<int32_t>{30, 40, 41}));
    });
}

TEST(SpinBox, SetByCodeShowsAndReadsBackUnchangedEvenOutOfRange)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        KPZ_SetSpinBoxRange(scene.dialog, AMOUNT, 0, 100);
        for (const int32_t value : {0, 100, 101, -1, 5000000, INT32_MAX, INT32_MIN}) {
            KPZ_SetSpinBoxValue(scene.dialog, AMOUNT, value);
            EXPECT_EQ(KPZ_GetSpinBoxIntValue(scene.dialog, AMOUNT), value);
            BOOL translated = FALSE;
            EXPECT_EQ(int32_t(GetDlgItemInt(scene.dialog, AMOUNT_FIELD, &translated, TRUE)), value);
            EXPECT_TRUE(translated);
        }
        KPZ_SetSpinBoxValue(scene.dialog, AMOUNT, 150);
        KPZ_SetSpinBoxRange(scene.dialog, AMOUNT, 0, 50);
        EXPECT_EQ(KPZ_GetSpinBoxIntValue(scene.dialog, AMOUNT), 150);
    });
}

TEST(SpinBox, TwoInOneDialogDoNotTouchEachOther)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        KPZ_SetSpinBoxRange(scene.dialog, AMOUNT, 0, 10);
        KPZ_SetSpinBoxRange(scene.dialog, VARIATION, -20, 20);
        KPZ_SetSpinBoxValue(scene.dialog, AMOUNT, 1);
        KPZ_SetSpinBoxValue(scene.dialog, VARIATION, -2);
        EXPECT_EQ(KPZ_GetSpinBoxIntValue(scene.dialog, AMOUNT), 1);
        EXPECT_EQ(KPZ_GetSpinBoxIntValue(scene.dialog, VARIATION), -2);
        int32_t low = 0, high = 0;
        HostSpinRange(scene.dialog, AMOUNT, &low, &high);
        EXPECT_EQ(low, 0);
        EXPECT_EQ(high, 10);
        HostSpinRange(scene.dialog, VARIATION, &low, &high);
        EXPECT_EQ(low, -20);
        EXPECT_EQ(high, 20);
    });
}

//---- Typed

TEST(SpinBox, TypingTellsTheDialogOnce)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        KPZ_SetSpinBoxRange(scene.dialog, VARIATION, 0, 255);
        HostTypeNumber(scene.dialog, VARIATION_FIELD, "17");
        EXPECT_EQ(scene.told, TextChanged(scene.dialog, VARIATION_FIELD));
    });
}

TEST(SpinBox, ATypedTextCountsAsTheNearestNumberInRange)
{
    const struct {
        const char *text;
        int32_t low, high, value;
    } cases[] = {
        {"30", 0, 100, 30},
        {"101", 0, 100, 100},
        {"-1", 0, 100, 0},
        {"-30", -75, 75, -30},
        {"-76", -75, 75, -75},
        {"007", 0, 100, 7},
        {"", 0, 100, 0},
        {"", 3, 100, 3},
        {"", -9, -4, -4},
        {"-", 3, 100, 3},
        {"abc", 3, 100, 3},
        {"12x", 3, 100, 3},
        {"x12", 3, 100, 3},
        {"1.5", 3, 100, 3},
        {"0", 3, 100, 3},
        {"99999999999999999999", 3, 100, 100},
        {"-99999999999", 3, 100, 3},
    };
    InDialog(NOISE_TEMPLATE, [&](Scene &scene) {
        for (const auto &told : cases) {
            KPZ_SetSpinBoxRange(scene.dialog, AMOUNT, told.low, told.high);
            HostTypeNumber(scene.dialog, AMOUNT_FIELD, told.text);
            EXPECT_EQ(KPZ_GetSpinBoxIntValue(scene.dialog, AMOUNT), told.value)
                << "\"" << told.text << "\" in " << told.low << ".." << told.high;
        }
    });
}

TEST(SpinBox, ANewRangeBringsATypedNumberAlong)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        KPZ_SetSpinBoxRange(scene.dialog, AMOUNT, 0, 100);
        HostTypeNumber(scene.dialog, AMOUNT_FIELD, "90");
        KPZ_SetSpinBoxRange(scene.dialog, AMOUNT, 0, 50);
        EXPECT_EQ(KPZ_GetSpinBoxIntValue(scene.dialog, AMOUNT), 50);
        KPZ_SetSpinBoxValue(scene.dialog, AMOUNT, 90);
        EXPECT_EQ(KPZ_GetSpinBoxIntValue(scene.dialog, AMOUNT), 90) << "set by code again";
    });
}

TEST(SpinBox, AGreyedFieldTakesNoTyping)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        KPZ_SetSpinBoxRange(scene.dialog, AMOUNT, 0, 100);
        KPZ_SetSpinBoxValue(scene.dialog, AMOUNT, 5);
        KPZ_EnableDlgItem(scene.dialog, AMOUNT_FIELD, FALSE);
        scene.told.clear();
        HostTypeNumber(scene.dialog, AMOUNT_FIELD, "6");
        EXPECT_TRUE(scene.told.empty());
        EXPECT_EQ(KPZ_GetSpinBoxIntValue(scene.dialog, AMOUNT), 5);
    });
}

//---- Spun

TEST(SpinBox, AClickAsksWritesTellsAndLetsGo)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        KPZ_SetSpinBoxRange(scene.dialog, AMOUNT, 0, 100);
        KPZ_SetSpinBoxValue(scene.dialog, AMOUNT, 30);
        for (const int32_t direction : {1, -1, -1}) {
            const int32_t value = KPZ_GetSpinBoxIntValue(scene.dialog, AMOUNT) + direction;
            scene.told.clear();
            HostClickArrows(scene.dialog, AMOUNT, direction);
            EXPECT_EQ(WithoutPointers(scene.told), Clicked(scene.dialog, AMOUNT, AMOUNT_FIELD, true, value));
            EXPECT_EQ(KPZ_GetSpinBoxIntValue(scene.dialog, AMOUNT), value);
            EXPECT_EQ(int32_t(GetDlgItemInt(scene.dialog, AMOUNT_FIELD, nullptr, TRUE)), value);
        }
    });
}

TEST(SpinBox, SeveralClicksAreSoManyTimesOne)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        KPZ_SetSpinBoxRange(scene.dialog, AMOUNT, 0, 100);
        KPZ_SetSpinBoxValue(scene.dialog, AMOUNT, 30);
        scene.told.clear();
        HostClickArrows(scene.dialog, AMOUNT, 0);
        EXPECT_TRUE(scene.told.empty());
        HostClickArrows(scene.dialog, AMOUNT, -7);
        EXPECT_EQ(scene.told.size(), 7 * 5u);
        EXPECT_EQ(KPZ_GetSpinBoxIntValue(scene.dialog, AMOUNT), 23);
    });
}

TEST(SpinBox, SpinningStaysInRange)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        KPZ_SetSpinBoxRange(scene.dialog, AMOUNT, -3, 5);
        KPZ_SetSpinBoxValue(scene.dialog, AMOUNT, 4);
        HostClickArrows(scene.dialog, AMOUNT, 3);
        EXPECT_EQ(KPZ_GetSpinBoxIntValue(scene.dialog, AMOUNT), 5);
        scene.told.clear();
        HostClickArrows(scene.dialog, AMOUNT, 1);
        EXPECT_EQ(WithoutPointers(scene.told), Clicked(scene.dialog, AMOUNT, AMOUNT_FIELD, false, 5));
        HostClickArrows(scene.dialog, AMOUNT, -20);
        EXPECT_EQ(KPZ_GetSpinBoxIntValue(scene.dialog, AMOUNT), -3);
    });
}

TEST(SpinBox, SpinningFromOutsideComesBackIntoRange)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        KPZ_SetSpinBoxRange(scene.dialog, AMOUNT, 0, 100);
        for (const int32_t value : {150, INT32_MAX}) {
            KPZ_SetSpinBoxValue(scene.dialog, AMOUNT, value);
            HostClickArrows(scene.dialog, AMOUNT, 1);
            EXPECT_EQ(KPZ_GetSpinBoxIntValue(scene.dialog, AMOUNT), 100);
        }
        KPZ_SetSpinBoxValue(scene.dialog, AMOUNT, INT32_MIN);
        HostClickArrows(scene.dialog, AMOUNT, -1);
        EXPECT_EQ(KPZ_GetSpinBoxIntValue(scene.dialog, AMOUNT), 0);
    });
}

TEST(SpinBox, GreyedArrowsTakeNoClicks)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        KPZ_SetSpinBoxRange(scene.dialog, AMOUNT, 0, 100);
        KPZ_SetSpinBoxValue(scene.dialog, AMOUNT, 5);
        KPZ_EnableDlgItem(scene.dialog, AMOUNT, FALSE);
        scene.told.clear();
        HostClickArrows(scene.dialog, AMOUNT, 3);
        EXPECT_TRUE(scene.told.empty());
        EXPECT_EQ(KPZ_GetSpinBoxIntValue(scene.dialog, AMOUNT), 5);
    });
}

TEST(SpinBox, TheDialogMayCloseAtAnyOfItsNotifications)
{
    const struct {
        UINT message;
        int code;
    } moments[] = {
        {NOTIFY, -1},
        {WM_COMMAND, EN_UPDATE},
        {WM_COMMAND, EN_CHANGE},
        {WM_VSCROLL, -1},
    };
    for (const auto &moment : moments) {
        const INT_PTR result = InDialog(NOISE_TEMPLATE, [&](Scene &scene) {
            KPZ_SetSpinBoxRange(scene.dialog, AMOUNT, 0, 100);
            KPZ_SetSpinBoxValue(scene.dialog, AMOUNT, 5);
            scene.answer = [&](const Told &told) {
                const bool sameCode = moment.code < 0 || HIWORD(told.word) == moment.code;
                if (told.message == moment.message && sameCode) KPZ_DismissDialog(scene.dialog, 33);
                return 0;
            };
            scene.told.clear();
            HostClickArrows(scene.dialog, AMOUNT, 5);
            EXPECT_EQ(scene.told.back().message, UINT(WM_DESTROY)) << "nothing is told after the end";
        });
        EXPECT_EQ(result, 33);
    }
}

//---- Fields without arrows

TEST(SpinBox, The49WeightsAreAddressedByTheirFields)
{
    InDialog(FILTERS_TEMPLATE, [](Scene &scene) {
        for (int32_t id = FIRST_WEIGHT; id <= LAST_WEIGHT; ++id) {
            KPZ_SetSpinBoxRange(scene.dialog, id, -9999, 9999);
            scene.told.clear();
            KPZ_SetSpinBoxValue(scene.dialog, id, FIRST_WEIGHT + 24 - id);
            EXPECT_EQ(scene.told, TextChanged(scene.dialog, id));
        }
        for (int32_t id = FIRST_WEIGHT; id <= LAST_WEIGHT; ++id) {
            EXPECT_EQ(KPZ_GetSpinBoxIntValue(scene.dialog, id), FIRST_WEIGHT + 24 - id);
            EXPECT_EQ(int32_t(GetDlgItemInt(scene.dialog, id, nullptr, TRUE)), FIRST_WEIGHT + 24 - id);
        }
        HostTypeNumber(scene.dialog, FIRST_WEIGHT, "-10000");
        EXPECT_EQ(KPZ_GetSpinBoxIntValue(scene.dialog, FIRST_WEIGHT), -9999);
        EXPECT_EQ(KPZ_GetSpinBoxIntValue(scene.dialog, FIRST_WEIGHT + 1), 23);
    });
}

TEST(SpinBox, FiltersArrowsBelongToTheFieldsThatTheyShow)
{
    const struct {
        int32_t id, fieldId;
    } pairs[] = {{920, 930}, {980, 970}, {990, 1000}};
    InDialog(FILTERS_TEMPLATE, [&](Scene &scene) {
        for (const auto &pair : pairs) {
            KPZ_SetSpinBoxRange(scene.dialog, pair.id, 0, 100);
            scene.told.clear();
            KPZ_SetSpinBoxValue(scene.dialog, pair.id, 12);
            EXPECT_EQ(scene.told, TextChanged(scene.dialog, pair.fieldId));
            EXPECT_EQ(GetDlgItemInt(scene.dialog, pair.fieldId, nullptr, FALSE), 12u);
        }
    });
}

//---- Numbers as text

TEST(ItemInt, WritesANumberAndTellsTheDialogBeforeTheCallReturns)
{
    InDialog(FILTERS_TEMPLATE, [](Scene &scene) {
        EXPECT_TRUE(SetDlgItemInt(scene.dialog, FIRST_WEIGHT, UINT(-7), TRUE));
        EXPECT_EQ(scene.told, TextChanged(scene.dialog, FIRST_WEIGHT));
        BOOL translated = FALSE;
        EXPECT_EQ(int32_t(GetDlgItemInt(scene.dialog, FIRST_WEIGHT, &translated, TRUE)), -7);
        EXPECT_TRUE(translated);
#ifndef _WIN32   // where it is the system's own call, and systems differ
        EXPECT_EQ(GetDlgItemInt(scene.dialog, FIRST_WEIGHT, &translated, FALSE), 0u);
        EXPECT_FALSE(translated) << "a minus is read only when the number is signed";
#endif
    });
}

TEST(ItemInt, AnUnsignedNumberHas32Bits)
{
    InDialog(FILTERS_TEMPLATE, [](Scene &scene) {
        EXPECT_TRUE(SetDlgItemInt(scene.dialog, FIRST_WEIGHT, 4000000000u, FALSE));
        BOOL translated = FALSE;
        EXPECT_EQ(GetDlgItemInt(scene.dialog, FIRST_WEIGHT, &translated, FALSE), 4000000000u);
        EXPECT_TRUE(translated);
    });
}

TEST(ItemInt, WhatTheModuleWritesReadsBackUnchangedThoughItIsOutOfRange)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        KPZ_SetSpinBoxRange(scene.dialog, AMOUNT, 0, 100);
        for (const BOOL isSigned : {FALSE, TRUE}) {
            HostTypeNumber(scene.dialog, AMOUNT_FIELD, "1");
            SetDlgItemInt(scene.dialog, AMOUNT_FIELD, 250, isSigned);
            EXPECT_EQ(KPZ_GetSpinBoxIntValue(scene.dialog, AMOUNT), 250);
        }
    });
}

TEST(ItemInt, SoDoesATextThatIsSetByMessage)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        KPZ_SetSpinBoxRange(scene.dialog, AMOUNT, 0, 100);
        HostTypeNumber(scene.dialog, AMOUNT_FIELD, "1");
        scene.told.clear();
        KPZ_SendDlgItemMsg(scene.dialog, AMOUNT_FIELD, WM_SETTEXT, 0, reinterpret_cast<LPARAM>("250"));
        EXPECT_EQ(scene.told, TextChanged(scene.dialog, AMOUNT_FIELD));
        EXPECT_EQ(KPZ_GetSpinBoxIntValue(scene.dialog, AMOUNT), 250);
    });
}

TEST(ItemInt, AnyOtherTextIsNoNumber)
{
    InDialog(FILTERS_TEMPLATE, [](Scene &scene) {
        for (const char *text : {"", "-", "abc", "x1"}) {
            HostTypeNumber(scene.dialog, FIRST_WEIGHT, text);
            BOOL translated = TRUE;
            EXPECT_EQ(GetDlgItemInt(scene.dialog, FIRST_WEIGHT, &translated, TRUE), 0u) << text;
            EXPECT_FALSE(translated) << text;
            EXPECT_EQ(GetDlgItemInt(scene.dialog, FIRST_WEIGHT, nullptr, TRUE), 0u) << text;
        }
#ifndef _WIN32   // where it is the system's own call, and systems differ
        EXPECT_FALSE(SetDlgItemInt(scene.dialog, 31999, 1, TRUE));
#endif
        BOOL translated = TRUE;
        EXPECT_EQ(GetDlgItemInt(scene.dialog, 31999, &translated, TRUE), 0u);
        EXPECT_FALSE(translated);
    });
}

TEST(SpinBox, TheControlsOwnMessagesStayInRange)
{
    InDialog(NOISE_TEMPLATE, [](Scene &scene) {
        KPZ_SetSpinBoxRange(scene.dialog, AMOUNT, 1, 100);
        KPZ_SetSpinBoxValue(scene.dialog, AMOUNT, 250);
        KPZ_SendDlgItemMsg(scene.dialog, AMOUNT, UDM_SETPOS32, 0, 1000);
        EXPECT_EQ(GetDlgItemInt(scene.dialog, AMOUNT_FIELD, nullptr, TRUE), 100u);
        EXPECT_EQ(KPZ_SendDlgItemMsg(scene.dialog, AMOUNT, UDM_GETPOS32, 0, 0), 100);
    });
}
