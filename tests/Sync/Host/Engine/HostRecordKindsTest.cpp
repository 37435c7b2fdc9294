#include <memory>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "Sync/Foundation/KeyedArchive.h"
#include "Sync/Foundation/PropertyList.h"
#include "Sync/Host/Engine/HostRecordKinds.h"
#include "Sync/HostInterface/KTSyncRecord.h"
#include "tests/Sync/Host/Engine/HomeModel.h"

namespace kt::test {
namespace {

struct Row {
    std::string name;
    std::string_view conduit;
    Dictionary record;  // the fields in question
};

std::string nameOf(const testing::TestParamInfo<Row>& info) { return info.param.name; }

// An archive of a subscription's settings.
Value archive(const Dictionary& settings) { return Data{archivedDataWithRootObject(settings)}; }

Value address() { return std::make_shared<URL>("http://example.invalid"); }

// An archive whose root is an object that it does not have.
Value hostileArchive()
{
    return Data{
        binaryPropertyList(Dictionary{{"$version", 100000},
                                      {"$archiver", "NSKeyedArchiver"},
                                      {"$top", Dictionary{{"root", Dictionary{{"CF$UID", 99}}}}},
                                      {"$objects", Array{"$null"}}})};
}

Value nested(int levels)
{
    Value value = "innen";
    for (int level = 0; level < levels; ++level)
        value = Dictionary{{"in", value}};
    return value;
}

const Dictionary kSubscription{{"SubscriptionURL", "http://example.invalid"}, {"AutoRefresh", 1}};

class RightKinds : public testing::TestWithParam<Row> {};

INSTANTIATE_TEST_SUITE_P(
    Rule1, RightKinds,
    testing::Values(
        Row{"Nothing", kConduitCalendar, {}},
        Row{"RuleWithAFieldWithoutAName",
            kConduitEvent,
            {{"RecurrenceRule", Dictionary{{"", "x"}}}}},
        Row{"Publisher", kConduitCalendar, {{"Publisher", Dictionary{{"UploadURL", "u"}}}}},
        Row{"PublisherOfOlderRecords", kConduitCalendar, {{"Publisher", Array{Dictionary{}}}}},
        Row{"PublisherOfOlderRecordsThatIsNone", kConduitCalendar, {{"Publisher", Array{}}}},
        Row{"PublisherOfManyLevels", kConduitCalendar, {{"Publisher", nested(32)}}},
        Row{"Subscriber", kConduitCalendar, {{"Subscriber", kSubscription}}},
        Row{"SubscriberThatIsData", kConduitCalendar, {{"Subscriber", Data{"x"}}}},
        Row{"ArchivedSubscription",
            kConduitCalendar,
            {{"SubscriberData", archive({{"RemoteURL", address()}, {"Filter", 2}})}}},
        Row{"DataThatIsNoArchive", kConduitCalendar, {{"SubscriberData", Data{"x"}}}},
        Row{"ArchiveThatNobodyLooksInto",
            kConduitCalendar,
            {{"Subscriber", kSubscription}, {"SubscriberData", hostileArchive()}}},
        Row{"OrderAsText", kConduitCalendar, {{"Order", "3"}}},
        Row{"FieldThatNobodyKnows", kConduitCalendar, {{"Wetter", Array{1, "schön"}}}},
        Row{"RawTexts", kConduitEvent, {{"Notes", Array{"a", "b"}}, {"Sequence", 3}}},
        Row{"Dates",
            kConduitEvent,
            {{"StartDate", date("20071224")}, {"ExceptionDates", Array{date("20071225")}}}},
        Row{"RecurrenceRule",
            kConduitEvent,
            {{"RecurrenceRule", Dictionary{{"Frequency", "WEEKLY"},
                                           {"Interval", 2},
                                           {"UntilDate", date("20081224")},
                                           {"ByMonth", Array{1, 2}}}}}},
        Row{"Alarms",
            kConduitTask,
            {{"Alarms", Array{Dictionary{{"Action", "DISPLAY"}, {"RelativeTrigger", "-PT15M"}}}}}},
        Row{"AttachmentThatIsAnAddress", kConduitTask, {{"Attachment", "http://example.invalid"}}},
        Row{"AttachmentWithAFile",
            kConduitTask,
            {{"Attachments",
              Array{Dictionary{{"Data", "ical://x/y"}, {"BinaryData", Data{"x"}}}}}}}),
    nameOf);

TEST_P(RightKinds, AreTaken)
{
    EXPECT_TRUE(areFieldsOfRightKinds(GetParam().record, GetParam().conduit));
}

class WrongKinds : public testing::TestWithParam<Row> {};

INSTANTIATE_TEST_SUITE_P(
    OfCalendars, WrongKinds,
    testing::Values(Row{"Parent", kConduitCalendar, {{"ParentRecordKey", 5}}},
                    Row{"ImapFolder", kConduitCalendar, {{"IMAPFolderKey", Data{"x"}}}},
                    Row{"Order", kConduitCalendar, {{"Order", Array{}}}},
                    Row{"AlarmsDisabled", kConduitCalendar, {{"AlarmsDisabled", Dictionary{}}}},
                    Row{"SourceKeyOfAGroup", kConduitCalendar, {{"SourceKey", 5}}},
                    Row{"Publisher", kConduitCalendar, {{"Publisher", "http://example.invalid"}}},
                    Row{"PublisherOfOlderRecords", kConduitCalendar, {{"Publisher", Array{"u"}}}},
                    Row{"PublisherWithADateThatHasAZone",
                        kConduitCalendar,
                        {{"Publisher", Dictionary{{"PublishDate", date("20071224")}}}}},
                    Row{"PublisherOfTooManyLevels", kConduitCalendar, {{"Publisher", nested(33)}}},
                    Row{"Subscriber", kConduitCalendar, {{"Subscriber", "http://example.invalid"}}},
                    Row{"SubscribersAddress",
                        kConduitCalendar,
                        {{"Subscriber", Dictionary{{"SubscriptionURL", 5}}}}},
                    Row{"SubscribersFilter",
                        kConduitCalendar,
                        {{"Subscriber", Dictionary{{"AlarmFilter", Array{}}}}}},
                    Row{"SubscriberThatNamesTheCalendar",
                        kConduitCalendar,
                        {{"Subscriber", Dictionary{{"SubscriptionURL", "u"}, {"Key", "anderer"}}}}},
                    Row{"SubscriberData", kConduitCalendar, {{"SubscriberData", "x"}}},
                    Row{"HostileArchive", kConduitCalendar, {{"SubscriberData", hostileArchive()}}},
                    Row{"ArchivedFilter",
                        kConduitCalendar,
                        {{"SubscriberData", archive({{"Filter", Array{1}}})}}},
                    Row{"ArchivedSettingThatIsAnAddress",
                        kConduitCalendar,
                        {{"SubscriberData", archive({{"AutoRefresh", address()}})}}}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    OfItems, WrongKinds,
    testing::Values(
        Row{"StartDate", kConduitEvent, {{"StartDate", "20071224"}}},
        Row{"EndDate", kConduitEvent, {{"EndDate", 5}}},
        Row{"DueDate", kConduitTask, {{"DueDate", Date{}}}},
        Row{"ExceptionDates", kConduitEvent, {{"ExceptionDates", "20071224"}}},
        Row{"OneExceptionDate", kConduitEvent, {{"ExceptionDates", Array{"20071224"}}}},
        Row{"RecurrenceExceptionDates", kConduitEvent, {{"RecurrenceExceptionDates", 5}}},
        Row{"SeriesOfAnOccurrence", kConduitEvent, {{"RecurrenceParentRecordKey", 5}}},
        Row{"RecurrenceRule", kConduitEvent, {{"RecurrenceRule", "FREQ=DAILY"}}},
        Row{"Interval",
            kConduitEvent,
            {{"RecurrenceRule", Dictionary{{"Interval", Dictionary{}}}}}},
        Row{"UntilDate",
            kConduitEvent,
            {{"RecurrenceRule", Dictionary{{"UntilDate", "20071224"}}}}},
        Row{"ByMonth", kConduitEvent, {{"RecurrenceRule", Dictionary{{"ByMonth", "1,2"}}}}},
        Row{"Attendees", kConduitEvent, {{"Attendees", Dictionary{}}}},
        Row{"OneAttendee", kConduitEvent, {{"Attendees", Array{"Anna"}}}},
        Row{"Alarms", kConduitTask, {{"Alarms", "DISPLAY"}}},
        Row{"OneAlarm", kConduitTask, {{"Alarms", Array{"DISPLAY"}}}},
        Row{"AlarmsTrigger",
            kConduitTask,
            {{"Alarms", Array{Dictionary{{"AbsoluteTrigger", "20071224"}}}}}},
        Row{"AlarmsRecipient",
            kConduitTask,
            {{"Alarms", Array{Dictionary{{"EmailAddress", "anna@example.invalid"}}}}}},
        Row{"Attachment", kConduitTask, {{"Attachment", 5}}},
        Row{"Attachments", kConduitTask, {{"Attachments", Array{"http://example.invalid"}}}},
        Row{"FileOfAnAttachment",
            kConduitTask,
            {{"Attachments", Array{Dictionary{{"Data", "ical://x/y"}, {"BinaryData", "x"}}}}}},
        Row{"AddressOfAFile",
            kConduitTask,
            {{"Attachments", Array{Dictionary{{"Data", 5}, {"BinaryData", Data{"x"}}}}}}},
        Row{"SpecialFields", kConduitEvent, {{"AppleSpecialFields", Array{}}}}),
    nameOf);

TEST_P(WrongKinds, AreRefused)
{
    EXPECT_FALSE(areFieldsOfRightKinds(GetParam().record, GetParam().conduit));
}

}  // namespace
}  // namespace kt::test
