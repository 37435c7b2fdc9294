// What a record says comes back from the file that is written for it, but for the losses named
// here.

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "Sync/PlugIns/iCal/Calendar/ItemFile.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"
#include "tests/Sync/PlugIns/iCal/Calendar/ItemGenerator.h"
#include "tests/Sync/PlugIns/iCal/Calendar/ModelFixture.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ItemRoundTrip : public ModelFixture {
public:
    void TestBody() override {}  // for properties, which make a fixture for every case

protected:
    std::shared_ptr<KTSyncCalendar> calendarWithKey()
    {
        const auto made = calendar();
        made->recordKey();
        return made;
    }
    Dictionary eventRecordBack(Dictionary record)
    {
        const auto written = calendarWithKey();
        record.set("ParentRecordKey", *written->recordKey());
        written->addEvent(eventOf(record));
        RC_ASSERT(written->storeEventsAndTasks());
        const auto read = calendarWithKey();
        RC_ASSERT(read->events() != nullptr);
        RC_ASSERT(read->events()->size() == 1u);
        RC_ASSERT(read->tasks()->empty());
        return read->events()->front()->syncRecord();
    }
    Dictionary taskRecordBack(Dictionary record)
    {
        const auto written = calendarWithKey();
        record.set("ParentRecordKey", *written->recordKey());
        written->addTask(taskOf(record));
        RC_ASSERT(written->storeEventsAndTasks());
        const auto read = calendarWithKey();
        RC_ASSERT(read->tasks() != nullptr);
        RC_ASSERT(read->tasks()->size() == 1u);
        return read->tasks()->front()->syncRecord();
    }

    // The accepted losses, each as what becomes of the record.

    /// A text without SEQUENCE reads as sequence 1.
    static void supplySequence(Dictionary& record)
    {
        if (!record.contains("Sequence"))
            record.set("Sequence", "1");
    }
    /// A day is written without a zone and read in the machine's own.
    static Value dayInLocalZone(const Value& value)
    {
        const auto held = value.objectOfClass<KTSyncEnhancedDate>();
        if (!held || !held->isAllDay())
            return value;
        return date(held->iCalDate());
    }
    static void moveDaysToLocalZone(Dictionary& record)
    {
        for (std::string_view key :
             {"StartDate", "EndDate", "RecurrenceId", "DueDate", "CompletedDate"}) {
            if (record.contains(key))
                record.set(key, dayInLocalZone(record[key]));
        }
        if (!record.contains("ExceptionDates"))
            return;
        Array dates;
        for (const Value& each : record["ExceptionDates"].array())
            dates.push_back(dayInLocalZone(each));
        record.set("ExceptionDates", dates);
    }
    /// Of an alarm's recipient the address alone is written, and a property always has a status.
    static void supplyRecipientStatus(Dictionary& record)
    {
        if (!record.contains("Alarms"))
            return;
        Array alarms;
        for (const Value& each : record["Alarms"].array()) {
            Dictionary alarm = each.dictionary();
            if (alarm.contains("EmailAddress")) {
                Dictionary recipient = alarm["EmailAddress"].dictionary();
                recipient.set("Status", "");
                alarm.set("EmailAddress", recipient);
            }
            alarms.push_back(alarm);
        }
        record.set("Alarms", alarms);
    }
    /// Without entries there is nothing to write.
    static void dropEmptySpecialFields(Dictionary& record)
    {
        if (record.contains("AppleSpecialFields") &&
            record["AppleSpecialFields"].dictionary().empty())
            record.remove("AppleSpecialFields");
    }

    Dictionary expectedBack(Dictionary record)
    {
        supplySequence(record);
        moveDaysToLocalZone(record);
        supplyRecipientStatus(record);
        dropEmptySpecialFields(record);
        // Computed anew in every record.
        record.set("ParentRecordKey", *calendarWithKey()->recordKey());
        record.set("Timezone", "Europe/Berlin");
        const auto start = record["StartDate"].objectOfClass<KTSyncEnhancedDate>();
        if (start && start->isAllDay())
            record.set("AllDay", true);
        return record;
    }
};

RC_GTEST_FIXTURE_PROP(ItemRoundTrip, AnEventsRecordComesBack, ())
{
    const Dictionary record = generatedEvent();
    const Dictionary back = eventRecordBack(record);
    RC_ASSERT(back == expectedBack(record));
    RC_ASSERT(classes.losses().empty());
}

RC_GTEST_FIXTURE_PROP(ItemRoundTrip, ATasksRecordComesBack, ())
{
    const Dictionary record = generatedTask();
    const Dictionary back = taskRecordBack(record);
    Dictionary expected = expectedBack(record);
    expected.remove("AllDay");
    expected.set("Completed", record.contains("CompletedDate"));
    RC_ASSERT(back == expected);
    RC_ASSERT(classes.losses().empty());
}

RC_GTEST_FIXTURE_PROP(ItemRoundTrip, WhatCameBackOnceIsWrittenTheSameEverAfter, ())
{
    const Dictionary once = eventRecordBack(generatedEvent());
    home.remove("Library");
    RC_ASSERT(eventRecordBack(once) == once);
}

// The losses that the generator leaves out, one by one.

class ItemLoss : public ItemRoundTrip {
protected:
    Dictionary back(std::string_view key, Value value)
    {
        Dictionary record{{"Title", "Fest"}, {"StartDate", date("20071224T100000")}};
        record.set(key, std::move(value));
        return eventRecordBack(record);
    }
};

TEST_F(ItemLoss, LinksBetweenSeriesAndOccurrenceAreMadeAnewByTheLoader)
{
    EXPECT_FALSE(back("RecurrenceParentRecordKey", "serie").contains("RecurrenceParentRecordKey"));
    EXPECT_FALSE(back("RecurrenceExceptionDates", Array{date("20071225")})
                     .contains("RecurrenceExceptionDates"));
}

TEST_F(ItemLoss, OfExceptionDatesInSeveralZonesTheLastZonesStay)
{
    EXPECT_EQ(back("ExceptionDates", Array{date("20071225T100000"), date("20071226T100000Z"),
                                           date("20071227T100000")})["ExceptionDates"],
              Value(Array{date("20071226T100000Z")}));
    EXPECT_THAT(lossReasons(),
                testing::Contains("EXDATE in 'Fest': die Ausnahmen stehen in verschiedenen "
                                  "Zeitzonen, gelesen werden nur die der letzten"));
}

TEST_F(ItemLoss, AnEmptyListOfExceptionDatesIsNoneAfterwards)
{
    EXPECT_FALSE(back("ExceptionDates", Array()).contains("ExceptionDates"));
}

TEST_F(ItemLoss, AnEmptyListOfAttendeesIsNoneAfterwards)
{
    EXPECT_FALSE(back("Attendees", Array()).contains("Attendees"));
}

TEST_F(ItemLoss, AttendeesOfEqualParametersMoveTogether)
{
    const auto attendee = [](std::string_view name, std::string_view address) {
        return Dictionary{{"Name", Value(name)}, {"Address", Value(address)}, {"Status", ""}};
    };
    EXPECT_EQ(back("Attendees",
                   Array{attendee("a", "1"), attendee("b", "2"), attendee("a", "3")})["Attendees"],
              Value(Array{attendee("a", "1"), attendee("a", "3"), attendee("b", "2")}));
}

TEST_F(ItemLoss, ParametersThatReachBeyondTheFirstFoldAreCutThere)
{
    // Only the value of a property is unfolded, so the colon is looked for in the first line.
    const std::string name(70, 'n');
    const Dictionary attendee{{"Name", name}, {"Address", "mailto:max"}, {"Status", ""}};
    const Dictionary cut{{"Name", name.substr(0, 61)},
                         {"Address", "nnnnnnnn\":mailto:max"},
                         {"Status", ""}};
    EXPECT_EQ(back("Attendees", Array{attendee})["Attendees"], Value(Array{cut}));
}

TEST_F(ItemLoss, AnAttendeeWithoutAddressIsNotWritten)
{
    EXPECT_FALSE(back("Attendees", Array{Dictionary{{"Name", "Max"}}}).contains("Attendees"));
}

TEST_F(ItemLoss, AnAttendeeWithoutStatusGetsAnEmptyOne)
{
    EXPECT_EQ(back("Attendees", Array{Dictionary{{"Address", "a"}}})["Attendees"],
              Value(Array{Dictionary{{"Address", "a"}, {"Status", ""}}}));
}

TEST_F(ItemLoss, ARecipientsNameAndStatusGo)
{
    const Dictionary recipient{{"Name", "Max"}, {"Address", "a"}, {"Status", "RSVP=TRUE"}};
    const Dictionary alarm{{"Action", "EMAIL"}, {"EmailAddress", recipient}};
    EXPECT_EQ(
        elementAt(back("Alarms", Array{alarm})["Alarms"].array(), 0).dictionary()["EmailAddress"],
        Value(Dictionary{{"Address", "a"}, {"Status", ""}}));
}

TEST_F(ItemLoss, AnAbsoluteTriggerWithoutZoneBecomesAText)
{
    const auto triggerBack = [&](const EnhancedDate& trigger) {
        home.remove("Library");
        const Dictionary alarm{{"Action", "DISPLAY"}, {"AbsoluteTrigger", trigger}};
        return elementAt(back("Alarms", Array{alarm})["Alarms"].array(), 0);
    };
    EXPECT_EQ(triggerBack(date("20071224T100000Z")),
              Value(Dictionary{{"Action", "DISPLAY"}, {"RelativeTrigger", "20071224T100000Z"}}));
    EXPECT_EQ(triggerBack(date("20071224")),
              Value(Dictionary{{"Action", "DISPLAY"}, {"RelativeTrigger", "20071224"}}));
}

TEST_F(ItemLoss, OfTwoTriggersTheRelativeOneStays)
{
    const Dictionary alarm{{"Action", "DISPLAY"},
                           {"AbsoluteTrigger", date("20071224T100000")},
                           {"RelativeTrigger", "-PT15M"}};
    EXPECT_EQ(back("Alarms", Array{alarm})["Alarms"],
              Value(Array{Dictionary{{"Action", "DISPLAY"}, {"RelativeTrigger", "-PT15M"}}}));
}

TEST_F(ItemLoss, ACountDisplacesAnUntilDate)
{
    const Dictionary rule{{"Frequency", "DAILY"},
                          {"Interval", 1},
                          {"Count", 5},
                          {"UntilDate", date("20071224T100000Z")}};
    EXPECT_FALSE(back("RecurrenceRule", rule)["RecurrenceRule"].dictionary().contains("UntilDate"));
}

TEST_F(ItemLoss, AnUntilDateBecomesAnInstantInUTC)
{
    const Dictionary rule{{"Frequency", "DAILY"}, {"Interval", 1}, {"UntilDate", date("20071224")}};
    EXPECT_EQ(back("RecurrenceRule", rule)["RecurrenceRule"].dictionary()["UntilDate"],
              Value(date("20071223T230000Z")));
}

TEST_F(ItemLoss, AnArrayIsWrittenAsItDescribesItselfOnOneLine)
{
    EXPECT_EQ(back("Notes", Array{"a", "b"})["Notes"], Value("(\\n    a,\\n    b\\n)"));
    home.remove("Library");
    EXPECT_EQ(back("URL", Array{"a", "b"})["URL"], Value("(     a,     b )"));
    home.remove("Library");
    EXPECT_EQ(back("AppleSpecialFields", Dictionary{{"X-A", Array{"a"}}})["AppleSpecialFields"],
              Value(Dictionary{{"X-A", "(\n    a\n)"}}));
}

TEST_F(ItemLoss, ParametersOfXPropertiesGo)
{
    const auto read = event("SUMMARY:a\nX-A;VALUE=TEXT:b");
    EXPECT_EQ(read->syncRecord()["AppleSpecialFields"], Value(Dictionary{{"X-A", "b"}}));
}

TEST_F(ItemLoss, PropertiesThatNobodyKnowsGo)
{
    const auto read =
        event("SUMMARY:a\nCLASS:PRIVATE\nCATEGORIES:b\nORGANIZER:c\nSTATUS:TENTATIVE");
    EXPECT_THAT(keysOf(read->syncRecord()),
                ElementsAre("Title", "Sequence", "ParentRecordKey", "Timezone"));
}

TEST_F(ItemLoss, AnAlarmsDescriptionGoes)
{
    const auto read =
        event("SUMMARY:a\nBEGIN:VALARM\nACTION:DISPLAY\nDESCRIPTION:b\nTRIGGER:-PT1M\nEND:VALARM");
    EXPECT_EQ(read->syncRecord()["Alarms"],
              Value(Array{Dictionary{{"Action", "DISPLAY"}, {"RelativeTrigger", "-PT1M"}}}));
}

TEST_F(ItemLoss, AStatusOtherThanCompletedGoes)
{
    EXPECT_EQ(task("SUMMARY:a\nSTATUS:IN-PROCESS")->iCalLines().find("STATUS"), std::string::npos);
}

TEST_F(ItemLoss, ACompletedTaskWithoutDateIsOpenAfterwardsAndAnOpenOneWithDateCompleted)
{
    const auto flagBack = [&](std::string_view lines) {
        home.remove("Library");
        return taskRecordBack(task(lines)->syncRecord())["Completed"].boolValue();
    };
    EXPECT_FALSE(flagBack("SUMMARY:a\nSTATUS:COMPLETED"));
    EXPECT_TRUE(flagBack("SUMMARY:a\nSTATUS:NEEDS-ACTION\nCOMPLETED:20071224T100000Z"));
}

TEST_F(ItemLoss, AQuotedZoneEndsAtItsFirstColonAndLosesTheQuoteThatIsLeftOpen)
{
    const auto read = event("SUMMARY:a\nDTSTART;TZID=\"(GMT+01:00) Wien\":20071224T100000");
    EXPECT_EQ(read->startDate()->timezone(), "\"(GMT+01");
    EXPECT_EQ(eventRecordBack(read->syncRecord())["StartDate"],
              Value(date("20071224T100000", "(GMT+01")));
    EXPECT_FALSE(classes.losses().empty());
}

TEST_F(ItemLoss, TheUIDGivesWayToTheRecordKey)
{
    const auto written = calendarWithKey();
    written->addEvent(event("SUMMARY:a\nUID:u"));
    EXPECT_TRUE(written->storeEventsAndTasks());
    EXPECT_EQ(calendarWithKey()->events()->front()->uid(),
              Value(written->events()->front()->recordKey()));
}

}  // namespace
}  // namespace kt::test
