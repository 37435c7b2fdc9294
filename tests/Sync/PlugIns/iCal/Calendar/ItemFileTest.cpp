#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/PlugIns/iCal/Calendar/ItemFile.h"
#include "tests/support/TemporaryFolder.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ItemFileTest : public testing::Test {
protected:
    std::optional<std::string> textOf(std::string_view bytes)
    {
        folder.write("a.ics", bytes);
        return itemFileText(folder.path("a.ics"));
    }
    TemporaryFolder folder;
};

TEST_F(ItemFileTest, TextIsTheFilesContent) { EXPECT_EQ(textOf("a\r\nä\r\n"), "a\r\nä\r\n"); }

TEST_F(ItemFileTest, AMissingFileAFolderAndAnEmptyFileHaveNoText)
{
    folder.makeFolder("folder.ics");
    EXPECT_EQ(itemFileText(folder.path("missing.ics")), std::nullopt);
    EXPECT_EQ(itemFileText(folder.path("folder.ics")), std::nullopt);
    EXPECT_EQ(textOf(""), std::nullopt);
}

TEST_F(ItemFileTest, BytesThatAreNoUTF8HaveNoText)
{
    EXPECT_EQ(textOf("SUMMARY:Fr\xFChst\xFC"
                     "ck\r\n"),
              std::nullopt);
    EXPECT_EQ(textOf("SUMMARY:\xF0\x9F\x98\r\n"), std::nullopt);
}

TEST_F(ItemFileTest, HalvesOfACharacterThatAFoldCutAreReadable)
{
    EXPECT_EQ(textOf("SUMMARY:\xED\xA0\xBD\r\n \xED\xB8\x80\r\n"),
              "SUMMARY:\xED\xA0\xBD\r\n \xED\xB8\x80\r\n");
}

TEST_F(ItemFileTest, ALineEndThatAFoldCutIsPutTogether)
{
    EXPECT_EQ(textOf("a\r\r\n \nb\r\n"), "a\r\nb\r\n");
    EXPECT_EQ(textOf("\r\r\n \n"), "\r\n");
    EXPECT_EQ(textOf("a\r\r\n \n\r\r\n \nb"), "a\r\n\r\nb");
    EXPECT_EQ(textOf("a\r\r\n \nb\r\r\n \nc\r\nd\r\r\n \n"), "a\r\nb\r\nc\r\nd\r\n");
}

TEST_F(ItemFileTest, WhatOnlyResemblesACutLineEndStays)
{
    for (const std::string text :
         {"a\r\r\n b", "a\r\n \nb", "a\r\n\r\n \nb", "a\r\r\n\nb", "\r\r\n "})
        EXPECT_EQ(textOf(text), text);
}

TEST_F(ItemFileTest, LinesEndAtCRLFOnly)
{
    EXPECT_THAT(itemFileLines("a\r\nb\nc\rd\r\n"), ElementsAre("a", "b\nc\rd", ""));
    EXPECT_THAT(itemFileLines("a"), ElementsAre("a"));
}

TEST_F(ItemFileTest, ACalendarBeginsWithOneExactLine)
{
    EXPECT_TRUE(beginsCalendar({"BEGIN:VCALENDAR", "x"}));
    for (const std::string_view line : {"BEGIN:VCALENDAR ", "begin:vcalendar",
                                        "\xEF\xBB\xBF"
                                        "BEGIN:VCALENDAR",
                                        "", "BEGIN:VEVENT"})
        EXPECT_FALSE(beginsCalendar({line, "BEGIN:VCALENDAR"})) << line;
    EXPECT_FALSE(beginsCalendar({}));
}

TEST_F(ItemFileTest, TheEnvelopeGoesWithTheCalendarsOwnProperties)
{
    LineList lines{
        "BEGIN:VCALENDAR", "VERSION:2.0",   "X-A:b", "BEGIN:VEVENT", "SUMMARY:a", "END:VEVENT",
        "X-C:d",           "END:VCALENDAR", "",      "Rest"};
    EXPECT_EQ(removeEnvelope(lines), Envelope::filled);
    EXPECT_THAT(lines, ElementsAre("BEGIN:VEVENT", "SUMMARY:a", "END:VEVENT", "X-C:d"));
}

TEST_F(ItemFileTest, TheLastEndOfACalendarCounts)
{
    LineList lines{"BEGIN:VCALENDAR", "BEGIN:A",       "END:VCALENDAR",
                   "BEGIN:VCALENDAR", "END:VCALENDAR", "END:VCALENDAR "};
    EXPECT_EQ(removeEnvelope(lines), Envelope::filled);
    EXPECT_THAT(lines, ElementsAre("BEGIN:A", "END:VCALENDAR", "BEGIN:VCALENDAR"));
}

TEST_F(ItemFileTest, NothingIsLeftOfAFileThatIsNotClosed)
{
    LineList lines{"BEGIN:VCALENDAR", "BEGIN:VEVENT", "END:VEVENT"};
    EXPECT_EQ(removeEnvelope(lines), Envelope::notClosed);
    EXPECT_THAT(lines, IsEmpty());
    LineList only{"BEGIN:VCALENDAR"};
    EXPECT_EQ(removeEnvelope(only), Envelope::notClosed);
}

TEST_F(ItemFileTest, AnEmptyCalendarIsToldFromOneWithPropertiesAlone)
{
    LineList empty{"BEGIN:VCALENDAR", "END:VCALENDAR", ""};
    EXPECT_EQ(removeEnvelope(empty), Envelope::empty);
    LineList properties{"BEGIN:VCALENDAR", "VERSION:2.0", "END:VCALENDAR", ""};
    EXPECT_EQ(removeEnvelope(properties), Envelope::filled);
    EXPECT_THAT(properties, IsEmpty());
}

TEST_F(ItemFileTest, TheEnvelopeThatIsWritten)
{
    EXPECT_EQ(kItemFileHeader,
              "BEGIN:VCALENDAR\r\n"
              "CALSCALE:GREGORIAN\r\n"
              "PRODID:-//Apple Computer\\, Inc//iCal 2.0//EN\r\n"
              "VERSION:2.0\r\n");
    EXPECT_EQ(kItemFileFooter, "END:VCALENDAR\r\n");
}

}  // namespace
}  // namespace kt::test
