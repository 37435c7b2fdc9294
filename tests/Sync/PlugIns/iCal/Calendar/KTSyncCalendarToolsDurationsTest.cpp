#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"
#include "tests/Sync/PlugIns/iCal/Calendar/CalendarTextScope.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Tools = KTSyncCalendarTools;

struct WriteRow {
    Value duration;
    std::string_view text;
    std::string_view failure = {};
};
class DurationArrays : public CalendarTextTable<WriteRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, DurationArrays,
                         testing::Values(WriteRow{Array{0, 1, 2, 0, 30}, "P1DT2H30S"},
                                         WriteRow{Array{2, 0, 0, 0, 0}, "P2W"},
                                         WriteRow{Array{0, 0, 0, 0, 0}, "PT0H"},
                                         WriteRow{nullptr, "PT1H"},
                                         WriteRow{Array{1, 2, 3, 4, 5}, "P1W2DT3H4M5S"},
                                         WriteRow{Array{0, 0, 0, 15, 0}, "PT15M"},
                                         // What stands behind the fifth number does not count.
                                         WriteRow{Array{0, 0, 0, 0, 0, 7}, "PT0H"}));
TEST_P(DurationArrays, AreWritten)
{
    EXPECT_EQ(Tools::iCalDurationString(GetParam().duration, &logger), GetParam().text);
    EXPECT_THAT(logger.entries(), IsEmpty());
}

class BrokenDurationArrays : public CalendarTextTable<WriteRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, BrokenDurationArrays,
    testing::Values(WriteRow{Array{1, 2}, "P1W2D", "Index 2 liegt hinter dem Ende (Anzahl: 2)"},
                    WriteRow{Array{}, "P", "Index 0 liegt hinter dem Ende (Anzahl: 0)"},
                    WriteRow{Array{0, 0, 0, 0}, "P", "Index 4 liegt hinter dem Ende (Anzahl: 4)"},
                    WriteRow{Array{0, 0, 1}, "PT1H", "Index 3 liegt hinter dem Ende (Anzahl: 3)"},
                    WriteRow{"PT1H", "P", "Liste erwartet, Text gefunden"},
                    WriteRow{Array{1, Array{}}, "P1W", "Zahl oder Text erwartet, Liste gefunden"}));
TEST_P(BrokenDurationArrays, AreWrittenAsFarAsTheyGoAndLogged)
{
    EXPECT_EQ(Tools::iCalDurationString(GetParam().duration, &logger), GetParam().text);
    EXPECT_THAT(logger.entries(),
                ElementsAre("iCalDuratonString:\n" + GetParam().duration.description() + "\n" +
                            std::string(GetParam().failure)));
}

struct ReadRow {
    std::string_view text;
    Array duration;
};
class DurationTexts : public CalendarTextTable<ReadRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, DurationTexts,
    testing::Values(ReadRow{"PT1H30M", {0, 0, 1, 30, 0}}, ReadRow{"-P1W", {1, 0, 0, 0, 0}},
                    ReadRow{"-PT15M", {0, 0, 0, 15, 0}}, ReadRow{"PT15M", {0, 0, 0, 15, 0}},
                    ReadRow{"+P1DT2H3M4S", {0, 1, 2, 3, 4}},
                    // A later number of a kind replaces the earlier.
                    ReadRow{"PT1H2H", {0, 0, 2, 0, 0}},
                    // Unknown designators store nothing but end a number; so does a missing one.
                    ReadRow{"P1Y2X3D", {0, 3, 0, 0, 0}},
                    ReadRow{"P1\xC3\xA4"
                            "D",
                            {0, 0, 0, 0, 0}},
                    ReadRow{"PT1H5", {0, 0, 1, 0, 0}}, ReadRow{"PT1HM", {0, 0, 1, 0, 0}},
                    ReadRow{"P1TD", {0, 1, 0, 0, 0}},
                    ReadRow{"P99999999999W", {2147483647, 0, 0, 0, 0}}));
TEST_P(DurationTexts, AreRead)
{
    EXPECT_EQ(Tools::parseICalDuration(GetParam().text, &logger), Value(GetParam().duration));
    EXPECT_THAT(logger.entries(), IsEmpty());
}

class DurationTextsWithoutDigit : public CalendarTextTable<std::string> {};
INSTANTIATE_TEST_SUITE_P(Texts, DurationTextsWithoutDigit, testing::Values("P", "", "-PTM"));
TEST_P(DurationTextsWithoutDigit, GiveNilAndALogLine)
{
    EXPECT_EQ(Tools::parseICalDuration(GetParam(), &logger), Value());
    EXPECT_THAT(logger.entries(),
                ElementsAre("parseICalDuration '" + GetParam() + "':\nIndex " +
                            std::to_string(GetParam().size()) + " liegt hinter dem Textende"));
}

class ParseICalDuration : public CalendarTextTest {};

TEST_F(ParseICalDuration, GivesNilForNil)
{
    EXPECT_EQ(Tools::parseICalDuration(nullptr, &logger), Value());
    EXPECT_THAT(logger.entries(), IsEmpty());
}

TEST_F(ParseICalDuration, LogsWhatIsNoTextAndGivesNil)
{
    EXPECT_EQ(Tools::parseICalDuration(Array{"PT1H"}, &logger), Value());
    EXPECT_THAT(logger.entries(), ElementsAre("parseICalDuration '(\n    PT1H\n)':\n"
                                              "Text erwartet, Liste gefunden"));
}

RC_GTEST_PROP(Durations, SurviveARoundTrip, ())
{
    const auto numbers =
        *rc::gen::container<std::vector<std::int32_t>>(5,
                                                       rc::gen::inRange<std::int32_t>(0, 100'000));
    const Value duration = Array(numbers.begin(), numbers.end());
    const std::string text = Tools::iCalDurationString(duration, nullptr);
    RC_ASSERT(Tools::parseICalDuration(text, nullptr) == duration);
}

}  // namespace
}  // namespace kt::test
