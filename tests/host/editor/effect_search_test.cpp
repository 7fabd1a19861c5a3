#include "host/editor/effect_search.h"

#include <algorithm>
#include <gtest/gtest.h>

static std::vector<std::string> Found(const std::string &words)
{
    std::vector<std::string> titles;
    for (const DialogTemplate *effect : FindEffects(words, {"Sobel", "Smooth 3x3"})) titles.push_back(effect->title);
    return titles;
}

TEST(EffectSearch, NothingFindsAllByName)
{
    const std::vector<std::string> all = Found("");
    EXPECT_EQ(int32_t(all.size()), DialogTemplateCount() - 1) << "but the chooser";
    EXPECT_TRUE(std::is_sorted(all.begin(), all.end()));
}

TEST(EffectSearch, TheBeginningOfANameComesFirst)
{
    EXPECT_EQ(Found("wa")[0], "Wave");
    EXPECT_EQ(Found("SHEAR")[0], "Shear");
    EXPECT_EQ(Found("random")[0], "Random Shear");
}

TEST(EffectSearch, WhatPeopleCallItFindsItToo)
{
    const std::vector<std::string> blur = Found("blur");
    EXPECT_EQ(blur, (std::vector<std::string>{"Double Vision", "Filters", "Median"}));
    EXPECT_EQ(Found("grain"), std::vector<std::string>{"Noise"});
    EXPECT_EQ(Found("sobel"), std::vector<std::string>{"Filters"}) << "a kernel's name";
}

TEST(EffectSearch, EveryWordMustFit)
{
    EXPECT_TRUE(Found("wave zzz").empty());
    EXPECT_EQ(Found("polar circ"), std::vector<std::string>{"Polar Coordinates"});
}
