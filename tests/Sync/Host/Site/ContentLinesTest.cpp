#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/Text.h"
#include "Sync/Host/Site/ContentLines.h"
#include "tests/Sync/Host/Publishing/PublishingFixture.h"
#include "tests/support/PlatformScope.h"

namespace kt::test {
namespace {

template <class Body>
std::string linesOf(Body body)
{
    ContentLines lines;
    body(lines);
    return lines.lines();
}

TEST(ContentLines, EndInCRLF)
{
    EXPECT_EQ(linesOf([](auto& lines) { lines.begin("VEVENT"); }), "BEGIN:VEVENT\r\n");
    EXPECT_EQ(linesOf([](auto& lines) { lines.end("VEVENT"); }), "END:VEVENT\r\n");
}

TEST(ContentLines, EscapeTexts)
{
    EXPECT_EQ(linesOf([](auto& lines) { lines.text("SUMMARY", "a,b;c\\d\ne:f\"g"); }),
              "SUMMARY:a\\,b\\;c\\\\d\\ne:f\"g\r\n");
}

TEST(ContentLines, CannotBeEndedByWhatStandsInThem)
{
    EXPECT_EQ(linesOf([](auto& lines) { lines.value("UID", "a\r\nATTENDEE:b\x01"); }),
              "UID:aATTENDEE:b\r\n");
    EXPECT_EQ(linesOf([](auto& lines) { lines.text("SUMMARY", "a\r\nEND:VEVENT"); }),
              "SUMMARY:a\\nEND:VEVENT\r\n");
}

TEST(ContentLines, AreFoldedAfterSeventyFiveOctetsAndNeverInACharacter)
{
    const std::string title = "Grüße " + std::string(120, 'x') + "äöü€🎄" + std::string(80, 'y');
    const std::string text = linesOf([&](auto& lines) { lines.text("SUMMARY", title); });
    std::string unfolded;
    for (const std::string_view line : componentsSeparatedByString(text, "\r\n")) {
        EXPECT_LE(line.size(), 75U);
        EXPECT_TRUE(isReadableUTF8(line)) << line;
        unfolded += unfolded.empty() ? line : line.substr(line.empty() ? 0 : 1);
    }
    EXPECT_EQ(unfolded, "SUMMARY:" + title);
}

TEST(ContentLines, FoldAtTheLimitAndNotBeforeIt)
{
    const auto written = [](std::size_t size) {
        return linesOf([&](auto& lines) { lines.value("X", std::string(size - 2, 'a')); });
    };
    EXPECT_EQ(written(75).find("\r\n "), std::string::npos);
    EXPECT_EQ(written(76), "X:" + std::string(73, 'a') + "\r\n a\r\n");
}

TEST(ContentLines, WriteDatesAsTheyAre)
{
    const PlatformScope platform;
    const auto written = [](const PublishedDate& date) {
        return linesOf([&](auto& lines) { lines.date("DTSTART", date); });
    };
    EXPECT_EQ(written(publishedDate("20071224T100000")),
              "DTSTART;TZID=Europe/Berlin:20071224T100000\r\n");
    EXPECT_EQ(written(publishedDate("20071224")), "DTSTART;VALUE=DATE:20071224\r\n");
    EXPECT_EQ(written(publishedDate("20071224T100000", "Etc/UTC")), "DTSTART:20071224T100000Z\r\n");
    EXPECT_EQ(written(publishedDate("20071224T100000", "Mars/Olympus\r\nX")),
              "DTSTART;TZID=Europe/Berlin:20071224T100000\r\n");
}

TEST(QuotedParameters, HoldNoQuotesAndNoControls)
{
    EXPECT_EQ(quotedParameter("Anna \"die\nGroße\"; a:b"), "\"Anna dieGroße; a:b\"");
}

}  // namespace
}  // namespace kt::test
