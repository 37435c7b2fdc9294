#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "Sync/Foundation/Exception.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncRecurrenceRule.h"
#include "tests/Sync/PlugIns/iCal/Calendar/CalendarTextScope.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct Row {
    std::string_view text;
    std::string_view written;
};
class RecurrenceTexts : public CalendarTextTable<Row> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, RecurrenceTexts,
    testing::Values(
        Row{"FREQ=WEEKLY;BYDAY=MO,WE", "FREQ=WEEKLY;INTERVAL=1;BYDAY=MO,WE"},
        Row{"FREQ=MONTHLY;BYDAY=-1SU", "FREQ=MONTHLY;INTERVAL=1;BYDAY=1SU"},
        Row{"FREQ=DAILY;COUNT=5;UNTIL=20071231T000000Z", "FREQ=DAILY;COUNT=5;INTERVAL=1"},
        Row{"FREQ=YEARLY;BYMONTH=12;BYMONTHDAY=24",
            "FREQ=YEARLY;INTERVAL=1;BYMONTH=12;BYMONTHDAY=24"},
        Row{"BYMONTHDAY=24;BYMONTH=12;FREQ=YEARLY",
            "FREQ=YEARLY;INTERVAL=1;BYMONTH=12;BYMONTHDAY=24"},
        Row{"WKST=SU;FREQ=WEEKLY", "FREQ=WEEKLY;INTERVAL=1;WKST=SU"},
        Row{"FREQ=DAILY;INTERVAL=0;COUNT=x", "FREQ=DAILY"},
        // Every part, in the one order of writing.
        Row{"WKST=MO;BYSETPOS=-1;BYMONTH=1,2;BYWEEKNO=20;BYYEARDAY=200;BYMONTHDAY=-2,3;BYDAY=TU;"
            "BYHOUR=9;BYMINUTE=8;BYSECOND=7;INTERVAL=6;COUNT=5;FREQ=SECONDLY",
            "FREQ=SECONDLY;COUNT=5;INTERVAL=6;BYSECOND=7;BYMINUTE=8;BYHOUR=9;BYYEARDAY=200;"
            "BYWEEKNO=20;BYMONTH=1,2;BYMONTHDAY=-2,3;BYSETPOS=-1;BYDAY=TU;WKST=MO"},
        // Until is read in UTC and written in UTC.
        Row{"FREQ=DAILY;UNTIL=20071231", "FREQ=DAILY;UNTIL=20071231T000000Z;INTERVAL=1"},
        Row{"FREQ=DAILY;UNTIL=20071231T101112", "FREQ=DAILY;UNTIL=20071231T101112Z;INTERVAL=1"},
        Row{"FREQ=DAILY;UNTIL=20071231T101112Z", "FREQ=DAILY;UNTIL=20071231T101112Z;INTERVAL=1"},
        Row{"FREQ=DAILY;UNTIL", "FREQ=DAILY;INTERVAL=1"},
        // A prefix is enough, a later part replaces an earlier, an unknown one is ignored.
        Row{"FREQUENCY=DAILY;X-A=1;;freq=x", "FREQ=DAILY;INTERVAL=1"},
        Row{"FREQ=DAILY;FREQ=WEEKLY;COUNT=3;COUNT=0", "FREQ=WEEKLY;INTERVAL=1"},
        Row{"FREQ=DAILY;UNTIL=20071231;UNTIL=20081231",
            "FREQ=DAILY;UNTIL=20081231T000000Z;INTERVAL=1"},
        Row{"FREQ=DAILY;UNTIL=20071231;UNTIL", "FREQ=DAILY;INTERVAL=1"},
        Row{"FREQ=DAILY;BYHOUR=1;BYHOUR=2,3;BYDAY=MO;BYDAY=TU",
            "FREQ=DAILY;INTERVAL=1;BYHOUR=2,3;BYDAY=TU"},
        Row{"FREQ=a=b", "FREQ=a=b;INTERVAL=1"},
        // Nothing is checked.
        Row{"FREQ=NIE;BYMONTH=99;INTERVAL=-2;COUNT=-1", "FREQ=NIE;BYMONTH=99"},
        Row{"", "FREQ=(null);INTERVAL=1"}, Row{"FREQ", "FREQ=(null);INTERVAL=1"},
        // There are no ranges, and what is no number is 0.
        Row{"FREQ=DAILY;BYHOUR=1-5,x,+3, 4,", "FREQ=DAILY;INTERVAL=1;BYHOUR=1,0,3,4,0"},
        // Empty lists are written too.
        Row{"FREQ=DAILY;BYHOUR;BYDAY", "FREQ=DAILY;INTERVAL=1;BYHOUR=;BYDAY="},
        Row{"FREQ=DAILY;BYHOUR=", "FREQ=DAILY;INTERVAL=1;BYHOUR=0"}));
TEST_P(RecurrenceTexts, AreWrittenInOneOrder)
{
    const auto rule =
        KTSyncRecurrenceRule::recurrenceRuleWithRecurrenceString(GetParam().text, &logger);
    EXPECT_EQ(rule->recurrenceRule(), GetParam().written);
    EXPECT_EQ(rule->description(), GetParam().written);
    EXPECT_THAT(logger.entries(), IsEmpty());
    EXPECT_THAT(classes.losses(), IsEmpty());
}

struct WeekdayRow {
    std::string_view piece;
    std::string_view weekday;
    int ordinal;
    std::string_view written;
};
class Weekdays : public CalendarTextTable<WeekdayRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, Weekdays,
    testing::Values(WeekdayRow{"MO", "MO", 0, "MO"}, WeekdayRow{"1MO", "MO", 1, "1MO"},
                    WeekdayRow{"5MO", "MO", 5, "5MO"}, WeekdayRow{"-1SU", "SU", 1, "1SU"},
                    WeekdayRow{"20MO", "MO", 2, "2MO"}, WeekdayRow{"7MO", "MO", 0, "MO"},
                    WeekdayRow{"-10MO", "MO", 1, "1MO"}, WeekdayRow{"+2TU", "+2TU", 0, "+2TU"},
                    WeekdayRow{"-MO", "-MO", 0, "-MO"}, WeekdayRow{"0MO", "MO", 0, "MO"},
                    WeekdayRow{"6", "", 0, ""}, WeekdayRow{"2", "", 2, "2"},
                    WeekdayRow{"--1MO", "--1MO", 0, "--1MO"}));
TEST_P(Weekdays, KeepASingleDigitWithoutSign)
{
    const KTSyncRecurrenceRule rule("", &logger);
    const Array list = rule.parseWeekdayList(GetParam().piece);
    EXPECT_EQ(list, (Array{Array{GetParam().weekday, GetParam().ordinal}}));
    EXPECT_EQ(rule.weekdayListToString(list), GetParam().written);
    EXPECT_THAT(logger.entries(), IsEmpty());
}

struct ListRow {
    std::string_view part;
    std::string_view recordKey;
};
class RecurrenceLists : public CalendarTextTable<ListRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, RecurrenceLists,
    testing::Values(ListRow{"BYSECOND", "BySeconds"}, ListRow{"BYMINUTE", "ByMinutes"},
                    ListRow{"BYHOUR", "ByHours"}, ListRow{"BYMONTHDAY", "ByMonthDay"},
                    ListRow{"BYYEARDAY", "ByYearDay"}, ListRow{"BYWEEKNO", "ByWeekNumber"},
                    ListRow{"BYMONTH", "ByMonth"}, ListRow{"BYSETPOS", "BySP"}));
TEST_P(RecurrenceLists, AreArraysOfNumbersInRecords)
{
    const KTSyncRecurrenceRule rule("FREQ=DAILY;" + std::string(GetParam().part) + "=1,-2,3",
                                    &logger);
    EXPECT_EQ(rule.syncRecord(),
              (Dictionary{{"Frequency", "DAILY"},
                          {"Interval", 1},
                          {std::string(GetParam().recordKey), Array{1, -2, 3}}}));
}

class WeekdayLists : public CalendarTextTable<ListRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, WeekdayLists,
                         testing::Values(ListRow{"BYDAY", "ByWeekday"},
                                         ListRow{"WKST", "WeekStart"}));
TEST_P(WeekdayLists, AreArraysOfPairsInRecords)
{
    const KTSyncRecurrenceRule rule("FREQ=DAILY;" + std::string(GetParam().part) + "=2MO,TU",
                                    &logger);
    EXPECT_EQ(rule.syncRecord(), (Dictionary{{"Frequency", "DAILY"},
                                             {"Interval", 1},
                                             {std::string(GetParam().recordKey),
                                              Array{Array{"MO", 2}, Array{"TU", 0}}}}));
}

class RecurrenceRule : public CalendarTextTest {
protected:
    static std::string text(const Dictionary& record)
    {
        return KTSyncRecurrenceRule(record, nullptr).recurrenceRule();
    }
};

TEST_F(RecurrenceRule, KeepsTheDateItselfInItsRecord)
{
    const Dictionary record =
        KTSyncRecurrenceRule("FREQ=DAILY;UNTIL=20071231;COUNT=2", &logger).syncRecord();
    EXPECT_EQ(record["UntilDate"].description(), "20071231 Etc/UTC");
    EXPECT_EQ(record["Count"], Value(2));
    EXPECT_EQ(record.size(), 4U);
}

TEST_F(RecurrenceRule, HasAnIntervalOfOneWhereTheRecordHasNone)
{
    EXPECT_EQ(text({{"Frequency", "DAILY"}}), "FREQ=DAILY;INTERVAL=1");
    EXPECT_EQ(text({{"Frequency", "DAILY"}, {"Interval", "3"}}), "FREQ=DAILY;INTERVAL=3");
}

TEST_F(RecurrenceRule, DropsACountOfZeroOnItsWayBack)
{
    const Dictionary record =
        KTSyncRecurrenceRule(Dictionary{{"Frequency", "DAILY"}, {"Count", 0}}, nullptr)
            .syncRecord();
    EXPECT_EQ(record, (Dictionary{{"Frequency", "DAILY"}, {"Interval", 1}}));
}

TEST_F(RecurrenceRule, StopsAtAnEmptyWeekdayAndKeepsTheDaysBefore)
{
    const KTSyncRecurrenceRule rule("FREQ=WEEKLY;BYDAY=MO,WE,", &logger);
    EXPECT_EQ(rule.recurrenceRule(), "FREQ=WEEKLY;INTERVAL=1;BYDAY=MO,WE");
    EXPECT_THAT(logger.entries(), ElementsAre("[KTSyncRecurrenceRule parseWeekdayList]: "
                                              "'MO,WE,'\nIndex 0 liegt hinter dem Textende"));
}

TEST_F(RecurrenceRule, StopsAtALoneMinusSign)
{
    EXPECT_THAT(KTSyncRecurrenceRule("", &logger).parseWeekdayList("MO,-,TU"),
                ElementsAre(Value(Array{"MO", 0})));
    EXPECT_EQ(logger.entries().size(), 1U);
}

TEST_F(RecurrenceRule, TellsOfAnUntilThatIsNoDate)
{
    EXPECT_EQ(KTSyncRecurrenceRule("FREQ=DAILY;UNTIL=20071332", &logger).recurrenceRule(),
              "FREQ=DAILY;INTERVAL=1");
    EXPECT_THAT(lossReasons(), ElementsAre("UNTIL: '20071332' ist kein Datum"));
    EXPECT_EQ(KTSyncRecurrenceRule("FREQ=DAILY;UNTIL=nie", &logger).recurrenceRule(),
              "FREQ=DAILY;INTERVAL=1");
    EXPECT_THAT(logger.entries(), ElementsAre("Unbekanntes Datumsformat: 'nie'"));
}

TEST_F(RecurrenceRule, IsFoldedAsALine)
{
    std::string seconds = "0";
    for (int second = 1; second < 60; ++second)
        seconds += "," + std::to_string(second);
    const KTSyncRecurrenceRule rule("FREQ=DAILY;BYSECOND=" + seconds, &logger);
    EXPECT_THAT(rule.iCalLines(), testing::HasSubstr("\r\n "));
    EXPECT_EQ(rule.iCalLines(),
              KTSyncCalendarTools::splitLine("RRULE:" + rule.recurrenceRule() + "\r\n", nullptr));
    EXPECT_EQ(KTSyncRecurrenceRule("FREQ=DAILY", &logger).iCalLines(),
              "RRULE:FREQ=DAILY;INTERVAL=1\r\n");
}

TEST_F(RecurrenceRule, IsNilForNil)
{
    EXPECT_EQ(KTSyncRecurrenceRule::recurrenceRuleWithRecurrenceString(nullptr, &logger), nullptr);
    EXPECT_EQ(KTSyncRecurrenceRule::recurrenceRuleWithSyncRecord(nullptr, &logger), nullptr);
}

TEST_F(RecurrenceRule, LogsWhatIsNoTextAndThrowsOn)
{
    EXPECT_THROW(KTSyncRecurrenceRule(Array{"FREQ=DAILY"}, &logger), Exception);
    EXPECT_THAT(logger.entries(),
                ElementsAre(
                    "[KTSyncRecurrenceRule initWithRecurrenceString]:\n(\n    \"FREQ=DAILY\"\n)\n"
                    "Text erwartet, Liste gefunden"));
}

TEST_F(RecurrenceRule, LogsARecordOfTheWrongKindAndThrowsOn)
{
    const Dictionary record{{"Interval", Array{}}};
    EXPECT_THROW(KTSyncRecurrenceRule(record, &logger), Exception);
    EXPECT_THAT(logger.entries(),
                ElementsAre("[KTSyncRecurrenceRule initWithSyncRecord]:\n" + record.description() +
                            "\nZahl oder Text erwartet, Liste gefunden"));
}

TEST_F(RecurrenceRule, LogsWhatStandsInTheRecordsPlaceAndThrowsOn)
{
    EXPECT_THROW(KTSyncRecurrenceRule::recurrenceRuleWithSyncRecord("FREQ=DAILY", &logger),
                 Exception);
    EXPECT_THAT(logger.entries(),
                ElementsAre("[KTSyncRecurrenceRule initWithSyncRecord]:\nFREQ=DAILY\n"
                            "Wörterbuch erwartet, Text gefunden"));
}

TEST_F(RecurrenceRule, LogsAMissingFrequencyAndThrowsOn)
{
    const KTSyncRecurrenceRule rule("COUNT=2", &logger);
    EXPECT_THROW(rule.syncRecord(), Exception);
    EXPECT_THAT(logger.entries(), ElementsAre("[KTSyncRecurrenceRule syncRecord]:\nnil kann nicht "
                                              "in ein Wörterbuch (Schlüssel: Frequency)"));
}

TEST_F(RecurrenceRule, LogsTheTextSoFarForAListOfTheWrongKindAndThrowsOn)
{
    const KTSyncRecurrenceRule rule(Dictionary{{"Frequency", "DAILY"}, {"ByHours", "9"}}, &logger);
    EXPECT_THROW(rule.recurrenceRule(), Exception);
    EXPECT_THAT(logger.entries(),
                ElementsAre("[KTSyncRecurrenceRule recurrenceRule]:\nFREQ=DAILY;INTERVAL=1\n"
                            "Liste erwartet, Text gefunden"));
}

TEST_F(RecurrenceRule, ThrowsOnForAnUntilDateOfTheWrongKind)
{
    const Dictionary record{{"Frequency", "DAILY"}, {"UntilDate", "20071231"}};
    EXPECT_THROW(KTSyncRecurrenceRule(record, &logger).recurrenceRule(), Exception);
    EXPECT_EQ(KTSyncRecurrenceRule(record, &logger).syncRecord()["UntilDate"], Value("20071231"));
}

TEST_F(RecurrenceRule, WritesTheWeekdaysBeforeOneOfTheWrongKind)
{
    const Array days{Array{"MO", 1}, Array{"TU"}, Array{"WE", 0}};
    const KTSyncRecurrenceRule rule(Dictionary{{"Frequency", "WEEKLY"}, {"ByWeekday", days}},
                                    &logger);
    EXPECT_EQ(rule.recurrenceRule(), "FREQ=WEEKLY;INTERVAL=1;BYDAY=1MO");
    EXPECT_THAT(logger.entries(), ElementsAre("[KTSyncRecurrenceRule weekdayListToString]:\n" +
                                              Value(days).description() +
                                              "\nIndex 1 liegt hinter dem Ende (Anzahl: 1)"));
}

TEST_F(RecurrenceRule, LogsAPartThatIsNoTextAndThrowsOn)
{
    EXPECT_THROW(KTSyncRecurrenceRule("", &logger).valueForProperty(7), Exception);
    EXPECT_THAT(logger.entries(), ElementsAre("[KTSyncRecurrenceRule valueForProperty]: '7'\n"
                                              "Text erwartet, ganze Zahl gefunden"));
}

TEST_F(RecurrenceRule, ReadsMinusOneWithoutALogLineWhereThereIsNoText)
{
    const KTSyncRecurrenceRule rule("", &logger);
    EXPECT_EQ(rule.parseInt(Array{}), -1);
    EXPECT_EQ(rule.parseInt(nullptr), 0);
    EXPECT_EQ(rule.parseInt("-12x"), -12);
    EXPECT_EQ(rule.parseInt("99999999999"), 2147483647);
    EXPECT_THAT(logger.entries(), IsEmpty());
}

TEST_F(RecurrenceRule, LogsAListThatIsNoTextAndGivesNone)
{
    EXPECT_THAT(KTSyncRecurrenceRule("", &logger).parseIntList(7), IsEmpty());
    EXPECT_THAT(KTSyncRecurrenceRule("", &logger).parseWeekdayList(7), IsEmpty());
    EXPECT_THAT(
        logger.entries(),
        ElementsAre("[KTSyncRecurrenceRule parseIntList]: '7'\nText erwartet, ganze Zahl gefunden",
                    "[KTSyncRecurrenceRule parseWeekdayList]: '7'\n"
                    "Text erwartet, ganze Zahl gefunden"));
}

TEST_F(RecurrenceRule, LogsAWeekdayThatIsNoTextAndGivesItBack)
{
    EXPECT_EQ(KTSyncRecurrenceRule("", &logger).trimWeekday(7), Value(7));
    EXPECT_THAT(logger.entries(),
                ElementsAre(
                    "[KTSyncRecurrenceRule trimWeekday]: '7'\nText erwartet, ganze Zahl gefunden"));
}

TEST_F(RecurrenceRule, KeepsWhatARecordHoldsInPlaceOfAList)
{
    const Dictionary record{{"Frequency", 1},
                            {"Interval", 2},
                            {"ByHours", "9"},
                            {"WeekStart", true}};
    EXPECT_EQ(KTSyncRecurrenceRule(record, &logger).syncRecord(), record);
}

std::string randomRule()
{
    const auto numbers = [](int first, int last) {
        const auto all =
            *rc::gen::nonEmpty(rc::gen::container<std::vector<int>>(rc::gen::inRange(first, last)));
        std::string text;
        for (int number : all)
            text += (text.empty() ? "" : ",") + std::to_string(number);
        return text;
    };
    std::string rule =
        "FREQ=" + *rc::gen::elementOf(std::vector<std::string>{"DAILY", "WEEKLY", "YEARLY"});
    if (*rc::gen::arbitrary<bool>())
        rule += ";COUNT=" + std::to_string(*rc::gen::inRange(1, 1000));
    else if (*rc::gen::arbitrary<bool>())
        rule += ";UNTIL=20" + std::to_string(*rc::gen::inRange(10, 99)) + "0131T101112Z";
    rule += ";INTERVAL=" + std::to_string(*rc::gen::inRange(1, 99));
    for (const char* part : {"BYSECOND", "BYMINUTE", "BYHOUR", "BYYEARDAY", "BYWEEKNO", "BYMONTH",
                             "BYMONTHDAY", "BYSETPOS"})
        if (*rc::gen::arbitrary<bool>())
            rule += std::string(";") + part + "=" + numbers(-366, 367);
    if (*rc::gen::arbitrary<bool>())
        rule += ";BYDAY=" + *rc::gen::elementOf(std::vector<std::string>{"MO", "2TU", "5FR,SA"});
    if (*rc::gen::arbitrary<bool>())
        rule += ";WKST=MO";
    return rule;
}

TEST_F(RecurrenceRule, SurvivesARoundTripThroughTextAndRecord)
{
    EXPECT_TRUE(rc::check([&] {
        const std::string text = randomRule();
        const KTSyncRecurrenceRule rule(text, nullptr);
        RC_ASSERT(rule.recurrenceRule() == text);
        const KTSyncRecurrenceRule again(rule.syncRecord(), nullptr);
        RC_ASSERT(again.recurrenceRule() == text);
        RC_ASSERT(again.syncRecord() == rule.syncRecord());
    }));
}

}  // namespace
}  // namespace kt::test
