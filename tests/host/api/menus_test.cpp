// Menus of both back ends: entries in their order, greying, and what becomes of a menu that is gone.

#include "tests/host/api/scene.h"

#include <string>

struct Menu {
    HMENU handle = HostCreateMenu();
    ~Menu() { HostDestroyMenu(handle); }
};

static MenuItem ItemOf(const Menu &menu, int32_t index)
{
    MenuItem item = {};
    EXPECT_TRUE(HostMenuItem(menu.handle, index, &item));
    return item;
}

TEST(Menus, HoldWhatIsAppendedInItsOrder)
{
    Menu menu;
    EXPECT_EQ(HostMenuCount(menu.handle), 0);
    EXPECT_TRUE(AppendMenuA(menu.handle, MF_STRING, 30003, "&Noise..."));
    EXPECT_TRUE(AppendMenuA(menu.handle, MF_SEPARATOR, 0, nullptr));
    EXPECT_TRUE(AppendMenuA(menu.handle, MF_STRING, 30001, "&Filters..."));
    ASSERT_EQ(HostMenuCount(menu.handle), 3);
    EXPECT_EQ(ItemOf(menu, 0).command, 30003);
    EXPECT_STREQ(ItemOf(menu, 0).label, "&Noise...");
    EXPECT_TRUE(ItemOf(menu, 0).enabled);
    EXPECT_EQ(ItemOf(menu, 1).command, 0);
    EXPECT_STREQ(ItemOf(menu, 1).label, "");
    EXPECT_EQ(ItemOf(menu, 2).command, 30001);
    MenuItem item;
    EXPECT_FALSE(HostMenuItem(menu.handle, 3, &item));
    EXPECT_FALSE(HostMenuItem(menu.handle, -1, &item));
}

TEST(Menus, GreyAndEnableOneCommand)
{
    Menu menu;
    for (const int command : {101, 102, 103}) AppendMenuA(menu.handle, MF_STRING, UINT_PTR(command), "Effect");
    KPZ_EnableMenuItem(menu.handle, 102, 0);
    EXPECT_TRUE(ItemOf(menu, 0).enabled);
    EXPECT_FALSE(ItemOf(menu, 1).enabled);
    EXPECT_TRUE(ItemOf(menu, 2).enabled);
    KPZ_EnableMenuItem(menu.handle, 999, 0);
    KPZ_EnableMenuItem(menu.handle, 102, 1);
    for (int32_t i = 0; i < 3; ++i) EXPECT_TRUE(ItemOf(menu, i).enabled);
}

// The module hands an image's address; its low half may be anything.
TEST(Menus, AnyValueButZeroEnables)
{
    Menu menu;
    AppendMenuA(menu.handle, MF_STRING, 101, "Effect");
    for (const INT_PTR value : {INT_PTR(1), INT_PTR(2), INT_PTR(1) << (sizeof(void *) * 8 - 4), INT_PTR(-1)}) {
        KPZ_EnableMenuItem(menu.handle, 101, 0);
        EXPECT_FALSE(ItemOf(menu, 0).enabled);
        KPZ_EnableMenuItem(menu.handle, 101, value);
        EXPECT_TRUE(ItemOf(menu, 0).enabled) << value;
    }
}

TEST(Menus, StandApart)
{
    Menu one, two;
    AppendMenuA(one.handle, MF_STRING, 101, "One");
    AppendMenuA(two.handle, MF_STRING, 101, "Two");
    KPZ_EnableMenuItem(one.handle, 101, 0);
    EXPECT_FALSE(ItemOf(one, 0).enabled);
    EXPECT_TRUE(ItemOf(two, 0).enabled);
    EXPECT_STREQ(ItemOf(two, 0).label, "Two");
}

TEST(Menus, ThatAreGoneTakeNothing)
{
    const HMENU gone = HostCreateMenu();
    HostDestroyMenu(gone);
    EXPECT_FALSE(AppendMenuA(gone, MF_STRING, 101, "Effect"));
    EXPECT_FALSE(AppendMenuA(nullptr, MF_STRING, 101, "Effect"));
    EXPECT_EQ(HostMenuCount(gone), 0);
    KPZ_EnableMenuItem(gone, 101, 1);
}
