#include <gtest/gtest.h>

#include "Sync/Additions/KTDictionaryAdditions.h"

namespace kt {
namespace {

TEST(SetObjectFromDictionary, CopiesTheEntryOfThatKeyAlone)
{
    Dictionary receiver{{"a", 1}};
    setObjectFromDictionary(receiver, {{"a", 2}, {"b", 3}}, "a");
    EXPECT_EQ(receiver, (Dictionary{{"a", 2}}));
}

TEST(SetObjectFromDictionary, AddsAKeyThatIsNewToTheReceiver)
{
    Dictionary receiver{{"a", 1}};
    setObjectFromDictionary(receiver, {{"b", 3}, {"c", 4}}, "b");
    EXPECT_EQ(receiver, (Dictionary{{"a", 1}, {"b", 3}}));
}

TEST(SetObjectFromDictionary, LeavesAnExistingEntryInPlaceForAnAbsentKey)
{
    Dictionary receiver{{"a", 1}};
    setObjectFromDictionary(receiver, {{"b", 3}}, "a");
    EXPECT_EQ(receiver, (Dictionary{{"a", 1}}));
}

}  // namespace
}  // namespace kt
