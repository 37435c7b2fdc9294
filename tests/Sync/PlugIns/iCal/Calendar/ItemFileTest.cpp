#include <string>

#include <gtest/gtest.h>

#include "Sync/PlugIns/iCal/Calendar/ItemFile.h"
#include "tests/support/TemporaryFolder.h"

namespace kt::test {
namespace {

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

TEST_F(ItemFileTest, ACutLineEndIsFoundWhereverItStands)
{
    for (std::size_t position = 0; position < 200; ++position) {
        const std::string before(position, 'a');
        ASSERT_EQ(textOf(before + "\r\r\n \nb"), before + "\r\nb") << position;
        ASSERT_EQ(textOf(before + "\r\r\n \n" + before), before + "\r\n" + before) << position;
    }
}

TEST_F(ItemFileTest, WhatOnlyResemblesACutLineEndStays)
{
    for (const std::string text :
         {"a\r\r\n b", "a\r\n \nb", "a\r\n\r\n \nb", "a\r\r\n\nb", "\r\r\n "})
        EXPECT_EQ(textOf(text), text);
}

TEST_F(ItemFileTest, ACalendarBeginsWithOneExactLine)
{
    EXPECT_TRUE(beginsCalendar("BEGIN:VCALENDAR\r\nx"));
    EXPECT_TRUE(beginsCalendar("BEGIN:VCALENDAR"));
    for (const std::string line : {"BEGIN:VCALENDAR ", "begin:vcalendar",
                                   "\xEF\xBB\xBF"
                                   "BEGIN:VCALENDAR",
                                   "", "BEGIN:VEVENT", "BEGIN:VCALENDAR\n", "BEGIN:VCALENDAR\r"})
        EXPECT_FALSE(beginsCalendar(line + "\r\nBEGIN:VCALENDAR\r\n")) << line;
    EXPECT_FALSE(beginsCalendar(""));
}

struct EnvelopeRow {
    std::string_view name;
    std::string_view text;
    Envelope envelope;
    std::string_view left;
};

class ItemFileEnvelope : public testing::TestWithParam<EnvelopeRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, ItemFileEnvelope,
    testing::Values(
        EnvelopeRow{"GoesWithTheCalendarsOwnProperties",
                    "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nX-A:b\r\nBEGIN:VEVENT\r\nSUMMARY:a\r\n"
                    "END:VEVENT\r\nX-C:d\r\nEND:VCALENDAR\r\n\r\nRest",
                    Envelope::filled, "BEGIN:VEVENT\r\nSUMMARY:a\r\nEND:VEVENT\r\nX-C:d\r\n"},
        EnvelopeRow{"EndsAtTheLastEndOfACalendar",
                    "BEGIN:VCALENDAR\r\nBEGIN:A\r\nEND:VCALENDAR\r\nBEGIN:VCALENDAR\r\n"
                    "END:VCALENDAR\r\nEND:VCALENDAR \r\n",
                    Envelope::filled, "BEGIN:A\r\nEND:VCALENDAR\r\nBEGIN:VCALENDAR\r\n"},
        EnvelopeRow{"EndsWithAWholeLineOnly",
                    "BEGIN:VCALENDAR\r\nBEGIN:A\r\nEND:VCALENDAR\r\nX-END:VCALENDAR\r\n"
                    " END:VCALENDAR\nEND:VCALENDAR\n\r\n",
                    Envelope::filled, "BEGIN:A\r\n"},
        EnvelopeRow{"EndsWithoutALineEnd", "BEGIN:VCALENDAR\r\nBEGIN:A\r\nEND:VCALENDAR",
                    Envelope::filled, "BEGIN:A\r\n"},
        EnvelopeRow{"LeavesTheOtherEndsOfLinesAlone",
                    "BEGIN:VCALENDAR\r\nA:b\nBEGIN:c\r\nBEGIN:D\nE\rF\r\nEND:VCALENDAR\r\n",
                    Envelope::filled, "BEGIN:D\nE\rF\r\n"},
        EnvelopeRow{"LeavesNothingOfAFileThatIsNotClosed",
                    "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nEND:VEVENT\r\n", Envelope::notClosed, ""},
        EnvelopeRow{"LeavesNothingOfABeginAlone", "BEGIN:VCALENDAR", Envelope::notClosed, ""},
        EnvelopeRow{"MayBeEmpty", "BEGIN:VCALENDAR\r\nEND:VCALENDAR\r\n", Envelope::empty, ""},
        EnvelopeRow{"MayHoldPropertiesAlone", "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nEND:VCALENDAR\r\n",
                    Envelope::filled, ""}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_P(ItemFileEnvelope, LeavesTheComponents)
{
    std::string_view text = GetParam().text;
    EXPECT_EQ(removeEnvelope(text), GetParam().envelope);
    EXPECT_EQ(text, GetParam().left);
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
