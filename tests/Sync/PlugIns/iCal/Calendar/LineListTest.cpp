#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/PlugIns/iCal/Calendar/LineList.h"

namespace kt {
namespace {

using testing::ElementsAre;

TEST(LineList, KeepsTheOrderOfWhatIsNotRemoved)
{
    LineList lines{"a", "b", "c", "d"};
    lines.removeIf([](std::string_view line) { return line == "a" || line == "c"; });
    EXPECT_THAT(lines, ElementsAre("b", "d"));
}

TEST(LineList, AsksAboutEveryLineOnceAndInOrder)
{
    LineList lines{"a", "b", "c"};
    std::string asked;
    lines.removeIf([&](std::string_view line) {
        asked += line;
        return line == "b";
    });
    EXPECT_EQ(asked, "abc");
}

TEST(LineList, DescribesItselfAsAnArray)
{
    EXPECT_EQ((LineList{"SUMMARY", "a b"}).description(), "(\n    SUMMARY,\n    \"a b\"\n)");
    EXPECT_EQ(LineList().description(), "(\n)");
}

}  // namespace
}  // namespace kt
