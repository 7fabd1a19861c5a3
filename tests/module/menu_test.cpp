// What the module puts into the host's menu, and what it enables there.

#include "tests/module/effects_table.h"

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

TEST(TheMenu, HasFiltersThenNineteenEffectsThenHelp)
{
    Stage stage(0);
    const FreshMenu fresh;
    EXPECT_EQ(stage.host.module.initialize(fresh.menu, 500), 0);
    EXPECT_EQ(LabelsOf(fresh.menu), (std::vector<std::string>{"&Filters",
                                                              "----",
                                                              "&Acid",
                                                              "&Blocks",
                                                              "&Cone",
                                                              "&Double Vision",
                                                              "Fish&eye",
                                                              "&Median",
                                                              "Meltin&g",
                                                              "M&irror",
                                                              "&Noise",
                                                              "&Oil Painting",
                                                              "&Polar Coordinates",
                                                              "Random S&hear",
                                                              "&Ripple",
                                                              "&Shear",
                                                              "S&lices",
                                                              "Solari&ze",
                                                              "S&wirl",
                                                              "&Tiles",
                                                              "Wa&ve",
                                                              "----",
                                                              "Effects &Help"}));
}

TEST(TheMenu, CountsItsCommandsFromTheBase)
{
    Stage stage(0);
    for (int32_t base : {0, 500, 32000}) {
        const FreshMenu fresh;
        stage.host.module.initialize(fresh.menu, base);
        const std::vector<MenuItem> items = ItemsOf(fresh.menu);
        ASSERT_EQ(items.size(), 23u);
        EXPECT_EQ(items[0].command, base + 1);
        for (size_t i = 1; i < 20; ++i) EXPECT_EQ(items[i + 1].command, base + effectCommands[i].offset) << i;
        EXPECT_EQ(items[22].command, base + 23);
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
    EXPECT_EQ(HostMenuCount(fresh.menu), 24);
    EXPECT_EQ(LabelsOf(fresh.menu)[0], "&Sharpen");
}

//---- Enabling

static constexpr int BASE = 500;
static const HMENU SOME_MENU = reinterpret_cast<HMENU>(0x5000);
static constexpr int enableOrder[] = {1, 19, 7, 14, 20, 13, 2, 16, 5, 3, 12, 17, 15, 9, 6, 18, 22, 10, 21, 8, 23};

static Calls EnableCalls(Stage &stage, ImageRecord *active)
{
    return CallsDuring([&] { EXPECT_EQ(stage.host.module.setupMenus(SOME_MENU, BASE, active), 0); });
}

static Call Enabled(int offset, intptr_t value)
{
    return Called("KPZ_EnableMenuItem", SOME_MENU, BASE + offset, value);
}

static Calls FirstCalls(const ImageRecord *active)
{
    Calls calls;
    for (int offset : enableOrder) calls.push_back(Enabled(offset, reinterpret_cast<intptr_t>(active)));
    return calls;
}

TEST(TheMenuWithoutAnImage, IsGreyedWithHelp)
{
    Stage stage(0);
    EXPECT_EQ(EnableCalls(stage, nullptr), FirstCalls(nullptr));
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
        EXPECT_EQ(EnableCalls(stage, &image), expected) << row.colourType << " " << row.maskEditing;
    }
}

static std::vector<int> GreyedCommands(const Stage &stage)
{
    std::vector<int> greyed;
    for (int offset : enableOrder)
        if (!CommandEnabled(stage.host, offset)) greyed.push_back(offset);
    return greyed;
}

TEST(TheHostsMenu, FollowsTheActiveImage)
{
    Stage stage(0);
    EXPECT_EQ(GreyedCommands(stage), std::vector<int>(std::begin(enableOrder), std::end(enableOrder)));
    const std::pair<int32_t, std::vector<int>> types[] = {
        {ONE_BIT, {19, 2, 16, 3, 12, 22}}, {GREY, {}}, {PALETTE, {19, 3, 22}}, {RGB, {}}};
    for (const auto &[type, greyed] : types) {
        ActivateImage(stage.host, Open(stage, AnyPicture(type)));
        EXPECT_EQ(GreyedCommands(stage), greyed) << type;
    }
}

TEST(TheHostsMenu, IsGreyedAgainWhenTheLastImageCloses)
{
    Stage stage(1);
    Close(stage, stage.images[0]);
    EXPECT_EQ(GreyedCommands(stage).size(), 21u);
}
