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
    constexpr std::string_view kText = "a\r\nb\r\nc\r\nd\r\ne\r\n";
    FileLines lines(kText);
    lines.remove({kText.substr(3, 3)});
    EXPECT_THAT(visited(lines), ElementsAre("a", "c", "d", "e"));
    lines.remove({kText.substr(0, 3), kText.substr(9, 3)});
    EXPECT_THAT(visited(lines), ElementsAre("c", "e"));
    lines.remove({kText.substr(0, 9)});  // what is gone already included
    EXPECT_THAT(lines.lines(), ElementsAre("e"));
    lines.remove({kText});
    EXPECT_THAT(visited(lines), IsEmpty());
}

TEST(FileLines, PutTheLinesOfAStretchInPlaceOfOthers)
{
    constexpr std::string_view kText = "a\r\nb\r\nc\r\n";
    const FileLines lines(kText);
    LineList list{"x", "y", "z"};
    lines.putLines(kText.substr(3), list);
    EXPECT_THAT(list, ElementsAre("b", "c"));
}

TEST(FileLines, KnowWhichLinesMayHoldHalvesOfACharacter)
{
    constexpr std::string_view kText = "ä\r\n\xED\xA0\xBD\r\n";
    const FileLines lines(kText);
    EXPECT_FALSE(lines.linesIn(kText.substr(0, 4)).mayHoldHalves());
    EXPECT_TRUE(lines.lines().mayHoldHalves());
    EXPECT_TRUE(LineList({"a"}).mayHoldHalves()) << "nobody has looked";
}

std::vector<std::string> markersOf(std::string_view name, const FileLines& lines)
{
    std::vector<std::string> markers;
    lines.forEachMarker(name, [&](const FileLines::Marker& marker) {
        markers.push_back((marker.isBegin ? "+" : "-") + std::string(marker.line));
    });
    return markers;
}

TEST(FileLines, FindTheMarkersOfAComponent)
{
    const FileLines lines("BEGIN:A\r\nx\r\nEND:A\r\nBEGIN:AB\r\nEND:BA\r\nEND:A\r\n");
    EXPECT_THAT(markersOf("A", lines), ElementsAre("+BEGIN:A", "-END:A", "-END:A"));
    EXPECT_THAT(markersOf("AB", lines), ElementsAre("+BEGIN:AB"));
    EXPECT_THAT(markersOf("C", lines), IsEmpty());
    EXPECT_THAT(markersOf("A", FileLines("")), IsEmpty());
}

TEST(FileLines, TakeNothingElseForAMarker)
{
    for (const std::string_view text :
         {"XBEGIN:A\r\n", " BEGIN:A\r\n", "BEGIN: A\r\n", "BEGIN:A \r\n", "begin:A\r\n",
          "BEGIN:a\r\n", "BEGIN:A\r\r\n", "x\nBEGIN:A\r\n", "x\rEND:A\r\n", "BEGINEND:A\r\n",
          "A\r\n", ":A\r\n", "END:AA\r\n", "BEGIN:A\n\r\n"})
        EXPECT_THAT(markersOf("A", FileLines(text)), IsEmpty()) << text;
}

TEST(FileLines, FindNoMarkerInWhatWasTakenOut)
{
    constexpr std::string_view kText = "BEGIN:A\r\nEND:A\r\nBEGIN:A\r\nEND:A\r\n";
    FileLines lines(kText);
    lines.remove({kText.substr(0, 9), kText.substr(25)});
    EXPECT_THAT(markersOf("A", lines), ElementsAre("-END:A", "+BEGIN:A"));
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

TEST(FileLines, LoseAComponentThatIsNotClosed)
{
    FileLines lines("x\r\nBEGIN:A\r\nEND:A\r\nBEGIN:A\r\ny\r\nz\r\n");
    EXPECT_EQ(takenOut("A", lines).size(), 1U);
    EXPECT_THAT(visited(lines), ElementsAre("x"));
}

TEST(FileLines, StayFromAnEndWithoutABeginOn)
{
    FileLines lines("BEGIN:A\r\nx\r\nEND:A\r\nEND:A\r\nBEGIN:A\r\nEND:A\r\n");
    EXPECT_EQ(takenOut("A", lines).size(), 1U);
    EXPECT_THAT(visited(lines), ElementsAre("END:A", "BEGIN:A", "END:A"));
}

}  // namespace
}  // namespace kt
