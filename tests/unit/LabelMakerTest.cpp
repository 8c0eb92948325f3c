#include "click/LabelMaker.h"

#include "platform/fake/FakePreferenceStore.h"
#include "preferences/Preferences.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>

namespace tarnvik {
namespace {

using Labels = std::vector<std::string>;

std::vector<std::string> defaultAlphabet()
{
    fake::FakePreferenceStore store;
    return LabelMaker::labelCharacters(Preferences(store));
}

TEST(LabelMaker, FollowsTheDocumentedSequence)
{
    const auto abc = defaultAlphabet();
    EXPECT_EQ(abc, (Labels {"S", "A", "D", "F", "J", "K", "L", "E", "W", "C", "M", "P", "G", "H"}));
    EXPECT_EQ(LabelMaker::makeLabels(abc, 0), Labels {});
    EXPECT_EQ(LabelMaker::makeLabels(abc, 1), Labels {"S"});
    EXPECT_EQ(LabelMaker::makeLabels(abc, 14), abc);

    auto fifteen = LabelMaker::makeLabels(abc, 15);
    EXPECT_EQ(fifteen.front(), "A");
    EXPECT_EQ(fifteen[12], "H");
    EXPECT_EQ(fifteen[13], "SS");
    EXPECT_EQ(fifteen[14], "SA");

    auto twentyEight = LabelMaker::makeLabels(abc, 28);
    EXPECT_EQ(twentyEight.front(), "D");
    EXPECT_EQ(twentyEight[12], "SS");
    EXPECT_EQ(twentyEight[25], "SH");
    EXPECT_EQ(twentyEight[26], "AS");
    EXPECT_EQ(twentyEight[27], "AA");
}

TEST(LabelMaker, LabelsAreExactlyCountedPrefixFreeAndShortestFirst)
{
    const auto abc = defaultAlphabet();
    for (long count : {2L, 13L, 196L, 197L, 500L, 2745L, 2746L, 10000L}) {
        auto labels = LabelMaker::makeLabels(abc, count);
        ASSERT_EQ(labels.size(), static_cast<std::size_t>(count));
        EXPECT_TRUE(std::is_sorted(labels.begin(), labels.end(),
                                   [](auto &a, auto &b) { return a.size() < b.size(); }));
        std::set<std::string> sorted(labels.begin(), labels.end());
        ASSERT_EQ(sorted.size(), labels.size());
        // In sorted order a prefix stands right before the labels it starts.
        for (auto it = sorted.begin(); std::next(it) != sorted.end(); ++it)
            EXPECT_FALSE(std::next(it)->starts_with(*it)) << *it << " " << count;
    }
}

TEST(LabelMaker, AlphabetComesFromThePreferenceWhenItHasMoreThanThreeCharacters)
{
    fake::FakePreferenceStore store;
    Preferences preferences(store);
    const auto stock = LabelMaker::labelCharacters(preferences);

    preferences.setString(Preferences::Keys::labelCharacters, "abc");
    EXPECT_EQ(LabelMaker::labelCharacters(preferences), stock);
    preferences.setString(Preferences::Keys::labelCharacters, "aAbBcC");
    EXPECT_EQ(LabelMaker::labelCharacters(preferences), stock) << "three after upper-casing";

    preferences.setString(Preferences::Keys::labelCharacters, "abcd");
    auto custom = LabelMaker::labelCharacters(preferences);
    std::sort(custom.begin(), custom.end());
    EXPECT_EQ(custom, (Labels {"A", "B", "C", "D"}));

    preferences.setString(Preferences::Keys::labelCharacters, "äöüé\u0065\u0301");
    custom = LabelMaker::labelCharacters(preferences);
    std::sort(custom.begin(), custom.end());
    EXPECT_EQ(custom, (Labels {"E\u0301", "Ä", "É", "Ö", "Ü"}))
        << "whole characters, accents and all";
}

} // namespace
} // namespace tarnvik
