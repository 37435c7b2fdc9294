#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "Sync/PlugIns/iCal/Calendar/Rare.h"

namespace kt {
namespace {

TEST(Rare, IsNothingUntilItIsMade)
{
    Rare<std::string> text;
    EXPECT_FALSE(text);
    EXPECT_FALSE(text == "");
    EXPECT_FALSE(Rare<std::string>(std::nullopt).has_value());
    text.emplace() = "a";
    EXPECT_TRUE(text.has_value());
    EXPECT_EQ(*text, "a");
    EXPECT_EQ(text, "a");
    EXPECT_EQ(text->size(), 1U);
}

TEST(Rare, IsMadeOnceByWhoeverNeedsIt)
{
    Rare<std::string> text;
    text.valueOrNew() += "a";
    text.valueOrNew() += "b";
    EXPECT_EQ(*text, "ab");
    text.emplace();
    EXPECT_EQ(*text, "");
}

TEST(Rare, IsNothingOnceItWasMovedFrom)
{
    Rare<std::string> source(std::string("a"));
    const Rare<std::string> target = std::move(source);
    EXPECT_EQ(*target, "a");
    EXPECT_FALSE(source);
}

TEST(Rare, TakesTheRoomOfAPointer) { EXPECT_EQ(sizeof(Rare<std::string>), sizeof(void*)); }

}  // namespace
}  // namespace kt
