// What the module puts into the host's menu, and what it enables there.

#include "tests/module/giving_commands.h"

#include <span>

//---- The menu

static std::vector<MenuItem> ItemsOf(HMENU menu)
{
    std::vector<MenuItem> items(size_t(HostMenuCount(menu)));
    for (size_t i = 0; i < items.size(); ++i) HostMenuItem(menu, int32_t(i), &items[i]);
    return items;
}

struct FreshMenu {
    HMENU menu = HostCreateMenu();
    FreshMenu() = default;
    ~FreshMenu() { HostDestroyMenu(menu); }
    FreshMenu(const FreshMenu &) = delete;
    FreshMenu &operator=(const FreshMenu &) = delete;
};

static std::vector<std::string> LabelsOf(HMENU menu)
{
    std::vector<std::string> labels;
    for (const MenuItem &item : ItemsOf(menu)) labels.push_back(item.command ? item.label : "----");
    return labels;
}

TEST(TheMenu, HasFiltersThenTheOtherEffectsThenHelp)
{
    Stage stage(0);
    const FreshMenu fresh;
    EXPECT_EQ(stage.host.module.initialize(fresh.menu, 500), 0);
    std::vector<std::string> expected = {"&Filters", "----"};
    for (const EffectEntry &effect : std::span(effectTable).subspan(1)) expected.push_back(effect.label);
    expected.insert(expected.end(), {"----", "Effects &Help"});
    EXPECT_EQ(LabelsOf(fresh.menu), expected);
}

TEST(TheMenu, CountsItsCommandsFromTheBase)
{
    Stage stage(0);
    for (int32_t base : {0, 500, 32000}) {
        const FreshMenu fresh;
        stage.host.module.initialize(fresh.menu, base);
        std::vector<int32_t> commands, expected;
        for (const MenuItem &item : ItemsOf(fresh.menu))
            if (item.command) commands.push_back(item.command);
        for (const EffectEntry &effect : effectTable) expected.push_back(base + effect.offset);
        expected.push_back(base + 23);
        EXPECT_EQ(commands, expected);
    }
}

TEST(TheMenu, StartsWithEveryItemEnabled)
{
    Stage stage(0);
    const FreshMenu fresh;
    stage.host.module.initialize(fresh.menu, 500);
    for (const MenuItem &item : ItemsOf(fresh.menu)) EXPECT_TRUE(!item.command || item.enabled) << item.label;
}

TEST(TheMenu, KeepsWhatStoodInItBefore)
{
    Stage stage(0);
    const FreshMenu fresh;
    AppendMenuA(fresh.menu, MF_STRING, 7, "&Sharpen");
    stage.host.module.initialize(fresh.menu, 500);
    EXPECT_EQ(HostMenuCount(fresh.menu), 1 + EFFECT_COUNT + 3);
    EXPECT_EQ(LabelsOf(fresh.menu)[0], "&Sharpen");
}

//---- Enabling

static constexpr int BASE = 500;
static const HMENU SOME_MENU = reinterpret_cast<HMENU>(0x5000);

static Calls EnableCalls(Stage &stage, ImageRecord *active)
{
    return CallsDuring([&] { EXPECT_EQ(stage.host.module.setupMenus(SOME_MENU, BASE, active), 0); });
}

static Call Enabled(int offset, intptr_t value)
{
    return Called("KPZ_EnableMenuItem", SOME_MENU, BASE + offset, value);
}

static std::vector<int> CommandsInOrder()
{
    std::vector<int> offsets;
    for (const EffectEntry &effect : effectTable) offsets.push_back(effect.offset);
    offsets.push_back(23);
    return offsets;
}

static Calls FirstCalls(const ImageRecord *active)
{
    Calls calls;
    for (int offset : CommandsInOrder()) calls.push_back(Enabled(offset, reinterpret_cast<intptr_t>(active)));
    return calls;
}

TEST(TheMenuWithoutAnImage, IsGreyedWithHelp)
{
    Stage stage(0);
    EXPECT_EQ(EnableCalls(stage, nullptr), FirstCalls(nullptr));
}

// Without what concerns effects that came later.
static Calls OfTheTwenty(Calls calls)
{
    std::erase_if(calls, [](const Call &call) { return call.arguments[1] > BASE + 23; });
    return calls;
}

struct Enabling {
    int32_t colourType, maskEditing;
    int acid, median, melt, mirror, noise, oilPainting, solarize;
};

static const Enabling enablings[] = {
    {ONE_BIT, 0, 0, 0, 0, 1, 0, 0, 0}, {ONE_BIT, 1, 0, 0, 0, 0, 0, 0, 0}, {GREY, 0, 1, 1, 1, 1, 1, 1, 1},
    {GREY, 1, 1, 1, 1, 0, 1, 1, 1},    {PALETTE, 0, 0, 1, 1, 1, 0, 1, 0}, {PALETTE, -7, 0, 1, 1, 0, 0, 1, 0},
    {RGB, 0, 1, 1, 1, 1, 1, 1, 1},     {RGB, 0x100, 1, 1, 1, 0, 1, 1, 1},
};

// The image's address enables everything; then 1 and 0 settle what depends on its type and on mask editing.
TEST(TheMenuOfAnImage, IsEnabledByItsTypeAndMaskEditing)
{
    Stage stage(0);
    for (const Enabling &row : enablings) {
        ImageRecord image = {};
        image.colourType = row.colourType;
        image.maskEditing = row.maskEditing;
        Calls expected = FirstCalls(&image);
        expected.insert(expected.end(),
                        {Enabled(19, row.acid), Enabled(2, row.median), Enabled(16, row.melt), Enabled(5, row.mirror),
                         Enabled(3, row.noise), Enabled(12, row.oilPainting), Enabled(22, row.solarize)});
        EXPECT_EQ(OfTheTwenty(EnableCalls(stage, &image)), OfTheTwenty(expected))
            << row.colourType << " " << row.maskEditing;
    }
}

static std::vector<int> GreyedCommands(const Stage &stage)
{
    std::vector<int> greyed;
    for (int offset : CommandsInOrder())
        if (!CommandEnabled(stage.host, offset)) greyed.push_back(offset);
    return greyed;
}

TEST(TheHostsMenu, FollowsTheActiveImage)
{
    Stage stage(0);
    EXPECT_EQ(GreyedCommands(stage), CommandsInOrder());
    const std::pair<int32_t, std::vector<int>> types[] = {
        {ONE_BIT, {19, 2, 16, 3, 12, 22}}, {GREY, {}}, {PALETTE, {19, 3, 22}}, {RGB, {}}};
    for (const auto &[type, greyed] : types) {
        ActivateImage(stage.host, Open(stage, AnyPicture(type)));
        std::vector<int> actual = GreyedCommands(stage);
        std::erase_if(actual, [](int offset) { return offset > 23; });
        EXPECT_EQ(actual, greyed) << type;
    }
}

TEST(TheHostsMenu, IsGreyedAgainWhenTheLastImageCloses)
{
    Stage stage(1);
    Close(stage, stage.images[0]);
    EXPECT_EQ(GreyedCommands(stage), CommandsInOrder());
}
