// Modules by name, and their strings.

#include "interface/effect_table.h"
#include "tests/host/api/scene.h"

#include <cstring>
#include <string>

static std::string StringOf(const char *module, int32_t id, int32_t size = 255)
{
    char buffer[256];
    memset(buffer, 'x', sizeof buffer);
    const int32_t length = KPZ_LoadString(nullptr, module, id, buffer, size);
    EXPECT_EQ(size_t(length), strlen(buffer));
    EXPECT_EQ(buffer[size], 'x') << "nothing beyond the buffer";
    return buffer;
}

TEST(Modules, TheHostsResourcesAreKnownFromTheStart)
{
    EXPECT_NE(KPZ_GetLoadedModuleHandle(HOST_RESOURCES), nullptr);
    EXPECT_EQ(StringOf(HOST_RESOURCES, 5101), "Filters");
    EXPECT_EQ(StringOf(HOST_RESOURCES, 5120), DialogTemplateAt(19)->title);
    EXPECT_EQ(StringOf(HOST_RESOURCES, 5121), EFFECT_COUNT > 20 ? effectTable[20].title : "");
}

TEST(Modules, StringsAreCutToTheBuffer)
{
    EXPECT_EQ(StringOf(HOST_RESOURCES, 5101, 8), "Filters");
    EXPECT_EQ(StringOf(HOST_RESOURCES, 5101, 7), "Filter");
    EXPECT_EQ(StringOf(HOST_RESOURCES, 5101, 2), "F");
    EXPECT_EQ(StringOf(HOST_RESOURCES, 5101, 1), "");
}

TEST(Modules, WhatIsNotThereIsEmpty)
{
    EXPECT_EQ(StringOf(HOST_RESOURCES, 4), "");
    EXPECT_EQ(StringOf("NOBODY", 5101), "");
    EXPECT_EQ(KPZ_GetLoadedModuleHandle("NOBODY"), nullptr);
}

TEST(Modules, AreKnownUntilTheyAreForgotten)
{
    const ModuleString strings[] = {{7, "seven"}, {1000, ""}, {8, "eight"}, {0, nullptr}};
    int library = 0;
    HostKnowModule("LIBRARY", &library, strings);
    EXPECT_EQ(KPZ_GetLoadedModuleHandle("LIBRARY"), &library);
    EXPECT_EQ(StringOf("LIBRARY", 7), "seven");
    EXPECT_EQ(StringOf("LIBRARY", 8), "eight") << "an empty string does not end the table";
    EXPECT_EQ(StringOf("LIBRARY", 9), "");
    HostKnowModule("LIBRARY", &library, nullptr);
    EXPECT_EQ(StringOf("LIBRARY", 7), "");
    HostKnowModule("LIBRARY", nullptr, nullptr);
    EXPECT_EQ(KPZ_GetLoadedModuleHandle("LIBRARY"), nullptr);
    EXPECT_EQ(StringOf("LIBRARY", 7), "");
}
