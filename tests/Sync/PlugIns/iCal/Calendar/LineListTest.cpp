#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/PlugIns/iCal/Calendar/LineList.h"

namespace kt {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

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

TEST(LineList, LosesItsFirstAndItsLastLines)
{
    LineList lines{"a", "b", "c", "d"};
    lines.removeFirst(1);
    lines.removeLast(2);
    EXPECT_THAT(lines, ElementsAre("b"));
}

TEST(LineList, IsEmptyWhenMoreIsRemovedThanItHolds)
{
    LineList first{"a"};
    first.removeFirst(2);
    LineList last{"a"};
    last.removeLast(2);
    EXPECT_THAT(first, IsEmpty());
    EXPECT_THAT(last, IsEmpty());
}

TEST(LineList, DescribesItselfAsAnArray)
{
    EXPECT_EQ((LineList{"SUMMARY", "a b"}).description(), "(\n    SUMMARY,\n    \"a b\"\n)");
    EXPECT_EQ(LineList().description(), "(\n)");
}

}  // namespace
}  // namespace kt
