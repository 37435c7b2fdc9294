#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "Sync/Foundation/Text.h"
#include "Sync/Foundation/UTF8.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"
#include "tests/Sync/PlugIns/iCal/Calendar/CalendarTextScope.h"
#include "tests/Sync/PlugIns/iCal/Calendar/UnicodeText.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Tools = KTSyncCalendarTools;

std::string fold(const std::string& line) { return Tools::splitLine(line, nullptr); }

const std::string k75(75, 'x');

TEST(SplitLine, CutsOneHundredAndFiftyCharactersOnce)
{
    EXPECT_EQ(fold(k75 + k75), k75 + "\r\n " + k75);
}

TEST(SplitLine, PutsOneCharacterMoreIntoAThirdPhysicalLine)
{
    EXPECT_EQ(fold(k75 + k75 + "y"), k75 + "\r\n " + k75 + "\r\n y");
}

TEST(SplitLine, LeavesALineThatFillsThePositionAsItIs)
{
    EXPECT_EQ(fold(k75), k75);
    EXPECT_EQ(fold(k75.substr(1)), k75.substr(1));
    EXPECT_EQ(fold(""), "");
}

class SplitLineAtSmallPositions : public testing::TestWithParam<std::size_t> {};
INSTANTIATE_TEST_SUITE_P(Positions, SplitLineAtSmallPositions, testing::Values(0, 1));
TEST_P(SplitLineAtSmallPositions, GivesTheLineBackWhateverItsLength)
{
    for (const std::string& line : {std::string(), std::string("ab"), k75 + k75})
        EXPECT_EQ(Tools::splitLine(line, GetParam(), nullptr), line);
}

TEST(SplitLine, CutsAtThePositionAskedFor)
{
    EXPECT_EQ(Tools::splitLine("abcde", 2, nullptr), "ab\r\n cd\r\n e");
}

TEST(SplitLine, CountsCharactersAndNotBytes)
{
    std::string umlauts;
    for (int count = 0; count < 75; ++count)
        umlauts += "ä";
    EXPECT_EQ(fold(umlauts), umlauts);
    EXPECT_EQ(fold(umlauts + "ö"), umlauts + "\r\n ö");
}

TEST(SplitLine, CutsASurrogatePairIntoTwoSequences)
{
    // U+1F384 is D83C DF84 in UTF-16.
    EXPECT_EQ(Tools::splitLine("a\U0001F384b", 2, nullptr),
              "a\xED\xA0\xBC\r\n \xED\xBE\x84"
              "b");
    EXPECT_EQ(Tools::splitLine("\U0001F384\U0001F384", 2, nullptr), "\U0001F384\r\n \U0001F384");
}

TEST(SplitLine, CutsInsideAnEscapeSequence)
{
    EXPECT_EQ(Tools::splitLine("a\\nb", 2, nullptr), "a\\\r\n nb");
}

TEST(SplitLineUsingFileLogger, FoldsTheLineEndOfItsFormatLikeAnyOtherCharacter)
{
    const std::string address(74 - std::string("ATTENDEE;A=B:").size(), 'm');
    EXPECT_EQ(Tools::splitLineUsingFileLogger(nullptr, "ATTENDEE%@:%@\r\n", ";A=B", address),
              "ATTENDEE;A=B:" + address + "\r" + "\r\n " + "\n");
}

TEST(SplitLineUsingFileLogger, LeavesAContinuationOfABlankAloneForOneCharacterMore)
{
    EXPECT_EQ(Tools::splitLineUsingFileLogger(nullptr, "%@\r\n", k75), k75 + "\r\n \r\n");
}

RC_GTEST_PROP(SplitLine, IsUndoneByTheReaderForAnyText, ())
{
    const std::string text = *unicodeText();
    const auto position = *rc::gen::inRange<std::size_t>(12, 90);
    const std::string folded = Tools::splitLine("DESCRIPTION:" + text, position, nullptr);
    LineList lines = linesOf(folded);
    const Dictionary properties = Tools::findAndRemovePropertiesFromLines(lines, nullptr);
    RC_ASSERT(properties["DESCRIPTION"].string() == text);
    RC_ASSERT(lines.empty());
}

RC_GTEST_PROP(SplitLine, LeavesNoPhysicalLineLongerThanThePosition, ())
{
    const std::string text = *unicodeText();
    const auto position = *rc::gen::inRange<std::size_t>(2, 90);
    bool isFirst = true;
    const std::string folded = Tools::splitLine(text, position, nullptr);
    for (std::string_view line : linesOf(folded)) {
        RC_ASSERT(utf16Length(line) <= position + (isFirst ? 0 : 1));
        RC_ASSERT(isFirst || line.front() == ' ');
        RC_ASSERT(isReadableUTF8(line));
        isFirst = false;
    }
}

class FindAndRemoveComponents : public CalendarTextTest {
protected:
    std::vector<std::vector<std::string>> find(LineList& lines)
    {
        std::vector<std::vector<std::string>> components;
        for (const LineList& component : Tools::findAndRemoveComponents("VALARM", lines, &logger))
            components.push_back(texts(component));
        return components;
    }
};

TEST_F(FindAndRemoveComponents, TakesTheComponentAndLeavesTheRest)
{
    LineList lines{"BEGIN:VALARM", "ACTION:DISPLAY", "END:VALARM", "SUMMARY:x"};
    EXPECT_THAT(find(lines), ElementsAre(ElementsAre("ACTION:DISPLAY")));
    EXPECT_THAT(lines, ElementsAre("SUMMARY:x"));
    EXPECT_THAT(logger.entries(), IsEmpty());
    EXPECT_THAT(classes.losses(), IsEmpty());
}

TEST_F(FindAndRemoveComponents, GivesThemInTheOrderOfTheirEnds)
{
    LineList lines{"a", "BEGIN:VALARM", "b", "END:VALARM", "c", "BEGIN:VALARM", "END:VALARM", "d"};
    EXPECT_THAT(find(lines), ElementsAre(ElementsAre("b"), IsEmpty()));
    EXPECT_THAT(lines, ElementsAre("a", "c", "d"));
}

TEST_F(FindAndRemoveComponents, DropsAnOpenComponentAtASecondBegin)
{
    LineList lines{"BEGIN:VALARM", "a", "BEGIN:VALARM", "b", "END:VALARM"};
    EXPECT_THAT(find(lines), ElementsAre(ElementsAre("b")));
    EXPECT_THAT(lines, IsEmpty());
    EXPECT_THAT(lossReasons(), ElementsAre("Komponente 'VALARM' ohne END, 1 Zeilen verworfen"));
}

TEST_F(FindAndRemoveComponents, HoldsOnlyTheLinesBehindTheSecondOfTwoConsecutiveBegins)
{
    LineList lines{"BEGIN:VALARM", "BEGIN:VALARM", "ACTION:DISPLAY", "END:VALARM"};
    EXPECT_THAT(find(lines), ElementsAre(ElementsAre("ACTION:DISPLAY")));
}

TEST_F(FindAndRemoveComponents, LosesAComponentThatIsStillOpenAtTheEnd)
{
    LineList lines{"SUMMARY:x", "BEGIN:VALARM", "ACTION:DISPLAY", "TRIGGER:-PT1H"};
    EXPECT_THAT(find(lines), IsEmpty());
    EXPECT_THAT(lines, ElementsAre("SUMMARY:x"));
    EXPECT_THAT(lossReasons(), ElementsAre("Komponente 'VALARM' ohne END, 2 Zeilen verworfen"));
}

TEST_F(FindAndRemoveComponents, KeepsNestedComponentsOfOtherNamesWhole)
{
    LineList lines{"BEGIN:VEVENT", "BEGIN:VALARM", "ACTION:AUDIO", "END:VALARM", "END:VEVENT"};
    const auto events = Tools::findAndRemoveComponents("VEVENT", lines, &logger);
    ASSERT_EQ(events.size(), 1U);
    EXPECT_THAT(events[0], ElementsAre("BEGIN:VALARM", "ACTION:AUDIO", "END:VALARM"));
}

TEST_F(FindAndRemoveComponents, ComparesTheMarkersExactly)
{
    const LineList all{"begin:valarm", "BEGIN:VALARM ", "BEGIN:VALARMS", " BEGIN:VALARM"};
    LineList lines = all;
    EXPECT_THAT(find(lines), IsEmpty());
    EXPECT_EQ(lines, all);
}

TEST_F(FindAndRemoveComponents, TakesAnEndWithBlanksBehindItForALineOfTheComponent)
{
    LineList lines{"BEGIN:VALARM", "END:VALARM ", "end:valarm", "END:VALARM", "x"};
    EXPECT_THAT(find(lines), ElementsAre(ElementsAre("END:VALARM ", "end:valarm")));
    EXPECT_THAT(lines, ElementsAre("x"));
    EXPECT_THAT(logger.entries(), IsEmpty());
}

TEST_F(FindAndRemoveComponents, LeavesAnEndWithBlanksBehindItOutsideOfComponents)
{
    LineList lines{"END:VALARM ", "x"};
    EXPECT_THAT(find(lines), IsEmpty());
    EXPECT_THAT(lines, ElementsAre("END:VALARM ", "x"));
    EXPECT_THAT(logger.entries(), IsEmpty());
}

TEST_F(FindAndRemoveComponents, StopsAtAnEndWithoutBeginAndKeepsWhatItHas)
{
    LineList lines{"BEGIN:VALARM", "a", "END:VALARM", "b", "END:VALARM", "c",
                   "BEGIN:VALARM", "d", "END:VALARM"};
    EXPECT_THAT(find(lines), ElementsAre(ElementsAre("a")));
    EXPECT_THAT(lines, ElementsAre("b", "END:VALARM", "c", "BEGIN:VALARM", "d", "END:VALARM"));
    EXPECT_THAT(logger.entries(),
                ElementsAre("[KTSyncCalendarTools findAndRemoveComponents] 'VALARM':\n" +
                            lines.description() +
                            "\n>>>>>>>>>>\nEND ohne BEGIN: END:VALARM>>>>>>>>>>\n"));
    EXPECT_THAT(lossReasons(),
                ElementsAre("END ohne BEGIN: alles ab 'END:VALARM' bleibt ungelesen"));
}

TEST_F(FindAndRemoveComponents, NamesCalendarAndFileOfWhatIsLost)
{
    const LossScope scope("Arbeit", "/a/b.ics");
    LineList lines{"BEGIN:VALARM"};
    EXPECT_THAT(find(lines), IsEmpty());
    ASSERT_EQ(classes.losses().size(), 1U);
    EXPECT_EQ(classes.losses()[0].calendar, "Arbeit");
    EXPECT_EQ(classes.losses()[0].file, "/a/b.ics");
}

TEST_F(FindAndRemoveComponents, CostsOneStepALine)
{
    // Removing each line by itself would take hours here.
    std::vector<std::string_view> all;
    for (int count = 0; count < 250'000; ++count)
        all.insert(all.end(), {"BEGIN:VALARM", "ACTION:DISPLAY", "END:VALARM", "X:y"});
    LineList lines(std::move(all));
    EXPECT_EQ(Tools::findAndRemoveComponents("VALARM", lines, &logger).size(), 250'000U);
    EXPECT_EQ(lines.size(), 250'000U);
}

}  // namespace
}  // namespace kt::test
