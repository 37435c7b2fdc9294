#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Host/Publishing/RecurrenceRule.h"
#include "tests/Sync/Host/Publishing/PublishingFixture.h"
#include "tests/support/PlatformScope.h"

namespace kt::test {
namespace {

using testing::ElementsAre;

std::string textOf(const Dictionary& record, const std::string& start = "20071224T100000")
{
    const auto rule = RecurrenceRule::fromRecord(record);
    return rule ? rule->text(publishedDate(start)) : "(none)";
}

struct Row {
    Dictionary record;
    std::string text;
};
class RecurrenceRules : public testing::TestWithParam<Row> {
protected:
    PlatformScope platform;
};

Array numbers(std::initializer_list<int> list)
{
    Array array;
    for (const int number : list)
        array.emplace_back(number);
    return array;
}

Array weekdays(std::initializer_list<std::pair<const char*, int>> list)
{
    Array array;
    for (const auto& [text, ordinal] : list)
        array.emplace_back(Array{Value(text), Value(ordinal)});
    return array;
}

INSTANTIATE_TEST_SUITE_P(
    Rows, RecurrenceRules,
    testing::Values(
        Row{ruleRecord("DAILY"), "FREQ=DAILY"},
        Row{ruleRecord("WEEKLY", {{"Interval", 2}, {"Count", 5}}),
            "FREQ=WEEKLY;COUNT=5;INTERVAL=2"},
        Row{ruleRecord("WEEKLY", {{"Interval", 0}, {"Count", -1}}), "FREQ=WEEKLY"},
        Row{ruleRecord("WEEKLY", {{"ByWeekday", weekdays({{"MO", 0}, {"WE", 0}, {"MO", 0}})}}),
            "FREQ=WEEKLY;BYDAY=MO,WE"},
        Row{ruleRecord("MONTHLY", {{"ByWeekday", weekdays({{"SU", 1}, {"+2TU", 0}, {"-1FR", 0}})},
                                   {"WeekStart", weekdays({{"SU", 0}})}}),
            "FREQ=MONTHLY;BYDAY=1SU,2TU,-1FR;WKST=SU"},
        Row{ruleRecord("MONTHLY", {{"ByMonthDay", numbers({31, -1, 0, 32, -32, 31})}}),
            "FREQ=MONTHLY;BYMONTHDAY=-1,31"},
        Row{ruleRecord("YEARLY", {{"ByMonth", numbers({12, 1})},
                                  {"BySP", numbers({-1})},
                                  {"ByYearDay", numbers({366})},
                                  {"ByWeekNumber", numbers({53})}}),
            "FREQ=YEARLY;BYYEARDAY=366;BYWEEKNO=53;BYMONTH=1,12;BYSETPOS=-1"},
        Row{ruleRecord("DAILY", {{"ByHours", numbers({8, 24})},
                                 {"ByMinutes", numbers({0, 60})},
                                 {"BySeconds", numbers({60, 61})}}),
            "FREQ=DAILY;BYSECOND=60;BYMINUTE=0;BYHOUR=8"},
        Row{ruleRecord("DAILY", {{"ByMonth", Array{}}}), "FREQ=DAILY"},
        // What RFC 5545 forbids with a frequency.
        Row{ruleRecord("WEEKLY", {{"ByWeekday", weekdays({{"MO", 1}, {"MO", 2}})}}),
            "FREQ=WEEKLY;BYDAY=MO"},
        Row{ruleRecord("YEARLY",
                       {{"ByWeekday", weekdays({{"MO", 1}})}, {"ByWeekNumber", numbers({20})}}),
            "FREQ=YEARLY;BYWEEKNO=20;BYDAY=MO"},
        Row{ruleRecord("MONTHLY", {{"ByWeekNumber", numbers({20})}, {"ByYearDay", numbers({9})}}),
            "FREQ=MONTHLY"},
        Row{ruleRecord("WEEKLY", {{"ByMonthDay", numbers({13})}, {"ByMonth", numbers({2})}}),
            "FREQ=WEEKLY;BYMONTH=2"},
        Row{ruleRecord("HOURLY", {{"ByYearDay", numbers({9})}}), "FREQ=HOURLY;BYYEARDAY=9"},
        Row{ruleRecord("MONTHLY", {{"BySP", numbers({1})}}), "FREQ=MONTHLY"},
        Row{ruleRecord("DAILY", {{"ByMonth", "12"}}), "FREQ=DAILY"}));

TEST_P(RecurrenceRules, AreWrittenAsOthersReadThem)
{
    EXPECT_EQ(textOf(GetParam().record), GetParam().text);
}

class NoRules : public testing::TestWithParam<Dictionary> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, NoRules,
    testing::Values(Dictionary{}, ruleRecord("daily"), ruleRecord("DAILY;X=1"),
                    ruleRecord("DAILY\r\nATTENDEE:mailto:a"), Dictionary{{"Frequency", 1}},
                    ruleRecord("DAILY", {{"ByMonth", numbers({13})}}),
                    ruleRecord("WEEKLY", {{"ByWeekday", weekdays({{"XX", 0}})}}),
                    ruleRecord("WEEKLY", {{"ByWeekday", Array{Value("MO")}}})));

TEST_P(NoRules, AreMadeOfWhatNoRuleIsMadeOf) { EXPECT_EQ(textOf(GetParam()), "(none)"); }

struct UntilRow {
    Value until;
    std::string start;
    std::string text;
};
class RulesUntil : public RecurrenceRules {};
TEST_F(RulesUntil, EndOnADayOrAtAnInstantAsTheEventBegins)
{
    const UntilRow rows[] = {
        {recordDate("20071231T225959", "Etc/UTC"), "20071224T100000", "20071231T225959Z"},
        {recordDate("20071231T225959"), "20071224T100000", "20071231T215959Z"},
        {recordDate("20071231", "Etc/UTC"), "20071224T100000", "20071231T225959Z"},
        {recordDate("20071231", "Etc/UTC"), "20071224", "20071231"},
        {recordDate("20071231T225959", "Etc/UTC"), "20071224", "20071231"},
    };
    for (const UntilRow& row : rows)
        EXPECT_EQ(textOf(ruleRecord("DAILY", {{"UntilDate", row.until}}), row.start),
                  "FREQ=DAILY;UNTIL=" + row.text);
}

TEST_F(RulesUntil, PreferTheirCount)
{
    EXPECT_EQ(textOf(ruleRecord("DAILY", {{"UntilDate", recordDate("20071231")}, {"Count", 3}})),
              "FREQ=DAILY;COUNT=3");
}

}  // namespace
}  // namespace kt::test
