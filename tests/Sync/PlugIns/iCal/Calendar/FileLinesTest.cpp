#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/PlugIns/iCal/Calendar/FileLines.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"

namespace kt {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string_view> visited(const FileLines& lines)
{
    std::vector<std::string_view> all;
    lines.forEach([&](std::string_view line) { all.push_back(line); });
    return all;
}

FileComponents takenOut(std::string_view name, FileLines& lines)
{
    return KTSyncCalendarTools::findAndRemoveComponents(name, lines, nullptr);
}

TEST(FileLines, EndAtCRLFOnly)
{
    EXPECT_THAT(visited(FileLines("a\r\nb\nc\rd\r\n\r\n\r\r\n")),
                ElementsAre("a", "b\nc\rd", "", "\r"));
    EXPECT_THAT(visited(FileLines("")), IsEmpty());
}

TEST(FileLines, KeepTheOrderOfWhatIsNotTakenOut)
{
    FileLines lines("a\r\nb\r\nc\r\nd\r\ne\r\n");
    const auto takeOut = [&](std::string_view some) {
        lines.removeIf([&](std::string_view line) { return some.find(line) != some.npos; });
    };
    takeOut("b");
    EXPECT_THAT(visited(lines), ElementsAre("a", "c", "d", "e"));
    takeOut("ad");
    EXPECT_THAT(visited(lines), ElementsAre("c", "e"));
    takeOut("c");
    EXPECT_THAT(lines.lines(), ElementsAre("e"));
    takeOut("e");
    EXPECT_THAT(visited(lines), IsEmpty());
}

TEST(FileLines, AskAboutEveryLineThatIsLeftOnceAndInOrder)
{
    FileLines lines("a\r\nb\r\nc\r\nd\r\n");
    lines.removeIf([](std::string_view line) { return line == "b" || line == "c"; });
    std::string asked;
    lines.removeIf([&](std::string_view line) {
        asked += line;
        return false;
    });
    EXPECT_EQ(asked, "ad");
}

TEST(FileLines, GiveTheLinesOfAComponentWhenAsked)
{
    FileLines lines("BEGIN:A\r\nx\r\nEND:A\r\ny\r\nBEGIN:A\r\nEND:A\r\n");
    const FileComponents components = takenOut("A", lines);
    ASSERT_EQ(components.size(), 2U);
    EXPECT_THAT(components[0], ElementsAre("x"));
    EXPECT_THAT(components[1], IsEmpty());
    EXPECT_THAT(visited(lines), ElementsAre("y"));
}

TEST(FileLines, GiveAComponentWithoutWhatWasTakenOutOfItBefore)
{
    FileLines lines("BEGIN:B\r\nBEGIN:A\r\nx\r\nEND:A\r\ny\r\nBEGIN:A\r\nEND:A\r\nz\r\nEND:B\r\n");
    EXPECT_EQ(takenOut("A", lines).size(), 2U);
    const FileComponents components = takenOut("B", lines);
    ASSERT_EQ(components.size(), 1U);
    EXPECT_THAT(components[0], ElementsAre("y", "z"));
}

TEST(FileLines, DropWhatStandsInFrontOfASecondBegin)
{
    FileLines lines("BEGIN:A\r\nx\r\nBEGIN:A\r\ny\r\nEND:A\r\n");
    const FileComponents components = takenOut("A", lines);
    ASSERT_EQ(components.size(), 1U);
    EXPECT_THAT(components[0], ElementsAre("y"));
    EXPECT_THAT(visited(lines), IsEmpty());
}

TEST(FileLines, StayFromAnEndWithoutABeginOn)
{
    FileLines lines("BEGIN:A\r\nx\r\nEND:A\r\nEND:A\r\nBEGIN:A\r\nEND:A\r\n");
    EXPECT_EQ(takenOut("A", lines).size(), 1U);
    EXPECT_THAT(visited(lines), ElementsAre("END:A", "BEGIN:A", "END:A"));
}

}  // namespace
}  // namespace kt
