#include <gtest/gtest.h>

#include "Sync/PlugIns/iCal/Calendar/SettingsMerge.h"

namespace kt {
namespace {

const Dictionary kStored{{"Title", "Alt"}, {"Unbekannt", 1}};

TEST(MergedSettings, AreTheStoredOnesWhenTheWriterWouldWriteTheSame)
{
    const Dictionary node{{"Title", "Alt"}, {"Notes", ""}};
    EXPECT_EQ(mergedSettings(kStored, node, node), kStored);
}

TEST(MergedSettings, TakeWhatChangedAndKeepTheRest)
{
    EXPECT_EQ(mergedSettings(kStored, {{"Title", "Alt"}}, {{"Title", "Neu"}}),
              (Dictionary{{"Title", "Neu"}, {"Unbekannt", 1}}));
}

TEST(MergedSettings, LetGoWhatTheWriterWouldWriteNoMore)
{
    EXPECT_EQ(mergedSettings(kStored, {{"Title", "Alt"}}, {}), (Dictionary{{"Unbekannt", 1}}));
}

TEST(MergedMembers, KeepAllThatWasNotMovedInItsPlaceAndAddNewOnesLast)
{
    const Array stored{Value("a"), Value("fremd"), Value("b")};
    EXPECT_EQ(Value(mergedMembers(stored, {Value("a"), Value("b")}, {Value("c"), Value("b")})),
              Value(Array{Value("fremd"), Value("b"), Value("c")}));
    // One that is read as a member of another group of the same title.
    EXPECT_EQ(Value(mergedMembers(stored, {Value("b"), Value("d")}, {Value("b"), Value("d")})),
              Value(stored));
}

}  // namespace
}  // namespace kt
