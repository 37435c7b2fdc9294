#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/Exception.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncAttachment.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncAttendee.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncRecurrenceRule.h"
#include "tests/Sync/PlugIns/iCal/Calendar/CalendarTextScope.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Tools = KTSyncCalendarTools;

class ValueFilter : public CalendarTextTest {
protected:
    Dictionary filter(Dictionary properties)
    {
        return Tools::filterICalValuesInComponents(std::move(properties), "Asia/Tokyo", &logger);
    }
    static std::vector<std::string> descriptions(const Value& array)
    {
        std::vector<std::string> all;
        for (const Value& element : array.array())
            all.push_back(element.description());
        return all;
    }
};

class DateProperties : public CalendarTextTable<std::string> {};
INSTANTIATE_TEST_SUITE_P(Names, DateProperties,
                         testing::Values("DTSTART", "DTEND", "DUE", "COMPLETED", "DTSTAMP",
                                         "RECURRENCE-ID"));

TEST_P(DateProperties, BecomeDatesInTheDefaultZone)
{
    const Dictionary values = Tools::filterICalValuesInComponents({{GetParam(), "20071224T100000"}},
                                                                  "Asia/Tokyo", &logger);
    EXPECT_EQ(Tools::enhancedDate(values[GetParam()])->description(), "20071224T100000 Asia/Tokyo");
}

TEST_P(DateProperties, BecomeDatesInTheZoneOfTheirKeys)
{
    const Dictionary values = Tools::filterICalValuesInComponents(
        {{GetParam() + ";TZID=America/New_York", "20071224T100000"}}, "Asia/Tokyo", &logger);
    EXPECT_EQ(Tools::enhancedDate(values[GetParam()])->description(),
              "20071224T100000 America/New_York");
}

TEST_P(DateProperties, StayRawWithoutADate)
{
    const Dictionary values =
        Tools::filterICalValuesInComponents({{GetParam(), "20071332"}}, "Asia/Tokyo", &logger);
    EXPECT_EQ(values, (Dictionary{{GetParam(), "20071332"}}));
    EXPECT_THAT(lossReasons(), ElementsAre(GetParam() + ": '20071332' ist kein Datum"));
}

TEST_P(DateProperties, StayRawWhenTheyOccurTwice)
{
    const Dictionary properties{{GetParam(), Array{"20071224", "20071225"}}};
    EXPECT_EQ(Tools::filterICalValuesInComponents(properties, "Asia/Tokyo", &logger), properties);
    EXPECT_THAT(logger.entries(),
                ElementsAre("Unbekanntes Datumsformat: '(\n    20071224,\n    20071225\n)'"));
    EXPECT_EQ(lossReasons().size(), 1U);
}

TEST_F(ValueFilter, SaysThatADateIsAllDay)
{
    const Dictionary values = filter({{"DTSTART;VALUE=DATE", "20071224"}});
    EXPECT_TRUE(Tools::enhancedDate(values["DTSTART"])->isAllDay());
    EXPECT_EQ(values["ALLDAY"], Value(true));
    EXPECT_EQ(values["ALLDAY"].kind(), Value::Kind::boolean);
}

TEST_F(ValueFilter, CallsADateAllDayByTheLengthOfItsTextAlone)
{
    EXPECT_EQ(filter({{"DTSTART", "20071224T100000"}})["ALLDAY"], Value(false));
    EXPECT_EQ(filter({{"DTSTART", "x20071224"}})["ALLDAY"], Value(false));
    EXPECT_FALSE(filter({{"DTSTART", "20071332"}}).contains("ALLDAY"));
    EXPECT_FALSE(filter({{"DTEND", "20071224"}}).contains("ALLDAY"));
}

TEST_F(ValueFilter, KeepsAllDayOfAStartDateWhoseSecondKeyIsNoDate)
{
    const Dictionary values = filter({{"DTSTART", "20071224"}, {"DTSTART;X=Y", "heute"}});
    EXPECT_EQ(values["DTSTART"], Value("heute"));
    EXPECT_EQ(values["ALLDAY"], Value(true));
    EXPECT_THAT(lossReasons(), ElementsAre("DTSTART: 'heute' ist kein Datum"));
}

TEST_F(ValueFilter, TakesATriggerAsADateForItsKeyAlone)
{
    EXPECT_EQ(filter({{"TRIGGER;TZID=Europe/Berlin", "20071224T090000"}})["TRIGGER"].description(),
              "20071224T090000 Europe/Berlin");
    EXPECT_EQ(filter({{"TRIGGER;VALUE=DATE-TIME", "20071224T090000Z"}}),
              (Dictionary{{"TRIGGER", "20071224T090000Z"}}));
    EXPECT_EQ(filter({{"TRIGGER;X=Y;TZID=Europe/Berlin", "20071224T090000"}}),
              (Dictionary{{"TRIGGER", "20071224T090000"}}));
    EXPECT_THAT(classes.losses(), IsEmpty());
}

TEST_F(ValueFilter, KeepsATriggerRawThatIsNoDate)
{
    EXPECT_EQ(filter({{"TRIGGER;TZID=Europe/Berlin", "-PT15M"}}),
              (Dictionary{{"TRIGGER", "-PT15M"}}));
    EXPECT_THAT(lossReasons(), ElementsAre("TRIGGER: '-PT15M' ist kein Datum"));
}

TEST_F(ValueFilter, LetsTheLaterOfTwoKeysOfOneNameWin)
{
    EXPECT_EQ(filter({{"TRIGGER;TZID=Europe/Berlin", "20071224T090000"}, {"TRIGGER", "-PT1H"}}),
              (Dictionary{{"TRIGGER", "-PT1H"}}));
    EXPECT_EQ(filter({{"TRIGGER", "-PT1H"},
                      {"TRIGGER;TZID=Europe/Berlin", "20071224T090000"}})["TRIGGER"]
                  .description(),
              "20071224T090000 Europe/Berlin");
    EXPECT_EQ(filter({{"X-A;B=C", "1"}, {"X-A", "2"}}), (Dictionary{{"X-A", "2"}}));
    EXPECT_EQ(
        filter({{"DTSTART", "20071224"}, {"DTSTART;X=Y", "20071225"}})["DTSTART"].description(),
        "20071225 Asia/Tokyo");
}

TEST_F(ValueFilter, LetsAStartDateSayWhetherItIsAllDayWhateverAPropertyOfThatNameSays)
{
    const Dictionary values = filter({{"X-A", "1"}, {"ALLDAY", "NO"}, {"DTSTART", "20071224"}});
    EXPECT_EQ(values["ALLDAY"].kind(), Value::Kind::boolean);
    EXPECT_EQ(filter({{"DTSTART", "20071224"}, {"ALLDAY", "NO"}})["ALLDAY"], Value("NO"));
}

TEST_F(ValueFilter, GathersAttendeesOverAllTheirKeys)
{
    const Dictionary values = filter({{"ATTENDEE;CN=A", "a"},
                                      {"ORGANIZER", "c"},
                                      {"SUMMARY", "s"},
                                      {"ATTENDEE;CN=B", Array{"b", "bb"}}});
    EXPECT_THAT(descriptions(values["ATTENDEE"]),
                ElementsAre("Name:'A', Address:'a', Status:''", "Name:'B', Address:'b', Status:''",
                            "Name:'B', Address:'bb', Status:''"));
    EXPECT_THAT(descriptions(values["ORGANIZER"]), ElementsAre("Name:'', Address:'c', Status:''"));
    EXPECT_EQ(values["SUMMARY"], Value("s"));
}

TEST_F(ValueFilter, GathersAttachmentsOverAllTheirKeys)
{
    const Dictionary values =
        filter({{"ATTACH", Array{"http://a", "http://b"}}, {"ATTACH;FMTTYPE=x/y", "http://c"}});
    EXPECT_THAT(descriptions(values["ATTACH"]),
                ElementsAre("ATTACH:http://a\r\n", "ATTACH:http://b\r\n",
                            "ATTACH;FMTTYPE=x/y:http://c\r\n"));
}

TEST_F(ValueFilter, KeepsTheExceptionDatesOfTheLastKeyOnly)
{
    const Dictionary values = filter(
        {{"EXDATE", "20071224"}, {"EXDATE;VALUE=DATE", Array{"20071225,20071226", "20071227"}}});
    EXPECT_THAT(descriptions(values["EXDATE"]),
                ElementsAre("20071225 Asia/Tokyo", "20071226 Asia/Tokyo", "20071227 Asia/Tokyo"));
}

TEST_F(ValueFilter, MakesARuleOfARecurrenceText)
{
    const Dictionary values = filter({{"RRULE", "FREQ=DAILY"}});
    const auto rule = values["RRULE"].objectOfClass<KTSyncRecurrenceRule>();
    ASSERT_NE(rule, nullptr);
    EXPECT_EQ(rule->recurrenceRule(), "FREQ=DAILY;INTERVAL=1");
}

TEST_F(ValueFilter, MakesAnArrayOfADurationText)
{
    EXPECT_EQ(filter({{"DURATION;X=Y", "PT1H"}}), (Dictionary{{"DURATION", Array{0, 0, 1, 0, 0}}}));
}

TEST_F(ValueFilter, LeavesAnyOtherPropertyRaw)
{
    EXPECT_EQ(filter({{"X-WR-ALARMUID;A=B", "x\\n"}, {"LOCATION", Array{"a", "b"}}, {"", "e"}}),
              (Dictionary{{"X-WR-ALARMUID", "x\\n"}, {"LOCATION", Array{"a", "b"}}, {"", "e"}}));
}

TEST_F(ValueFilter, KeepsTheOrderOfTheProperties)
{
    std::string names;
    for (const auto& [name, value] : filter(
             {{"X-C", "1"}, {"DTEND", "20071224"}, {"X-A", "1"}, {"ATTENDEE", "a"}, {"X-B", "1"}}))
        names += name + " ";
    EXPECT_EQ(names, "X-C DTEND X-A ATTENDEE X-B ");
}

TEST_F(ValueFilter, LogsThePropertiesAsTheyWereAndThrowsOnForAnUnreadableExceptionDate)
{
    const Dictionary properties{{"SUMMARY", "a text"}, {"EXDATE", "20071224,heute"}, {"X-B", "c"}};
    std::string description;
    try {
        filter(properties);
    } catch (const Exception& exception) {
        description = exception.description();
    }
    EXPECT_NE(description, "");
    EXPECT_THAT(logger.entries(),
                ElementsAre("Unbekanntes Datumsformat: 'heute'",
                            "filterICalValuesInComponents:\n" + description + "\nKey:'" +
                                properties.description() + "', Property:'EXDATE'"));
}

TEST_F(ValueFilter, ThrowsOnForADurationWithoutDigits)
{
    EXPECT_THROW(filter({{"DURATION", "P"}}), Exception);
    ASSERT_EQ(logger.entries().size(), 2U);
    EXPECT_THAT(logger.entries()[0], HasSubstr("parseICalDuration 'P':\n"));
    EXPECT_THAT(logger.entries()[1], HasSubstr("', Property:'DURATION'"));
}

TEST_F(ValueFilter, ThrowsOnForTwoRecurrenceRules)
{
    EXPECT_THROW(filter({{"RRULE", Array{"FREQ=DAILY", "FREQ=WEEKLY"}}}), Exception);
    ASSERT_EQ(logger.entries().size(), 2U);
    EXPECT_THAT(logger.entries()[0],
                HasSubstr("[KTSyncRecurrenceRule initWithRecurrenceString]:\n(\n"));
    EXPECT_THAT(logger.entries()[1], HasSubstr("', Property:'RRULE'"));
}

/// Throws at the first entry that begins with a text, as a full disk might make it.
class FailingLogger : public RecordingFileLogger {
public:
    explicit FailingLogger(std::string_view start) : _start(start) {}
    void logEntry(std::string_view entry) override
    {
        RecordingFileLogger::logEntry(entry);
        if (!std::exchange(_hasFailed, true) && entry.starts_with(_start))
            throw Exception(NSGenericException, "voll");
    }

private:
    std::string _start;
    bool _hasFailed = false;
};

TEST_F(ValueFilter, LogsAFailingAttachmentTwiceAndThrowsOn)
{
    FailingLogger failing("Attachment: '");
    EXPECT_THROW(Tools::filterICalValuesInComponents({{"ATTACH;A=B", "ical://a/b"}}, "Asia/Tokyo",
                                                     &failing),
                 Exception);
    EXPECT_THAT(platform.consoleLines(), ElementsAre("attachment: voll"));
    EXPECT_THAT(failing.entries(),
                ElementsAre("Attachment: 'ical://a/b'",
                            "[KTSyncAttachment initWithURI:ical://a/b properties:ATTACH;A=B:\nvoll",
                            "attachment: voll",
                            "filterICalValuesInComponents:\nvoll\nKey:'{\n    \"ATTACH;A=B\" = "
                            "ical://a/b;\n}', Property:'ATTACH;A=B'"));
}

TEST_F(ValueFilter, CostsOneStepAValue)
{
    Dictionary properties;
    for (int count = 0; count < 100'000; ++count)
        properties.set("ATTENDEE;CN=" + std::to_string(count), "mailto:a");
    properties.set("EXDATE", Array(200'000, Value("20071224")));
    const Dictionary values = filter(std::move(properties));
    EXPECT_EQ(values["ATTENDEE"].array().size(), 100'000U);
    EXPECT_EQ(values["EXDATE"].array().size(), 200'000U);
}

}  // namespace
}  // namespace kt::test
