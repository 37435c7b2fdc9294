// Whatever record the host lets through, a rewrite gets over it: none may stop the store halfway.

#include <array>
#include <string>
#include <string_view>

#include <rapidcheck/gtest.h>

#include "Sync/Host/Engine/HostSyncRecord.h"
#include "Sync/PlugIns/iCal/ICalHelper.h"
#include "tests/Sync/PlugIns/iCal/Calendar/ItemGenerator.h"
#include "tests/Sync/PlugIns/iCal/StoreFixture.h"

namespace kt::test {
namespace {

constexpr std::array<std::string_view, 26> kItemFields{"URL",
                                                       "Notes",
                                                       "Sequence",
                                                       "Location",
                                                       "TRANSP",
                                                       "Status",
                                                       "Priority",
                                                       "AllDay",
                                                       "Timezone",
                                                       "Duration",
                                                       "DateStamp",
                                                       "StartDate",
                                                       "EndDate",
                                                       "DueDate",
                                                       "CompletedDate",
                                                       "RecurrenceId",
                                                       "RecurrenceRule",
                                                       "ExceptionDates",
                                                       "RecurrenceExceptionDates",
                                                       "RecurrenceParentRecordKey",
                                                       "Attendees",
                                                       "Attachment",
                                                       "Attachments",
                                                       "Alarms",
                                                       "UID",
                                                       "AppleSpecialFields"};
constexpr std::array<std::string_view, 9> kCalendarFields{"IMAPFolderKey",  "Order",
                                                          "Publisher",      "Subscriber",
                                                          "SubscriberData", "AlarmsDisabled",
                                                          "SourceKey",      "AlarmDisabled",
                                                          "Wetter"};
constexpr std::array<std::string_view, 29> kInnerFields{"Name",
                                                        "Address",
                                                        "Status",
                                                        "Action",
                                                        "EmailAddress",
                                                        "Attachment",
                                                        "Data",
                                                        "Type",
                                                        "Value",
                                                        "Encoding",
                                                        "BinaryData",
                                                        "Attachments",
                                                        "Frequency",
                                                        "Interval",
                                                        "Count",
                                                        "UntilDate",
                                                        "ByWeekday",
                                                        "ByMonth",
                                                        "ByMinutes",
                                                        "ByYearDay",
                                                        "AbsoluteTrigger",
                                                        "RelativeTrigger",
                                                        "WeekStart",
                                                        "ByMonthDay",
                                                        "BySeconds",
                                                        "ByHours",
                                                        "ByWeekNumber",
                                                        "BySP",
                                                        "X-FREMD"};

Value anyValue(int depth);

Value anyInner(int depth)
{
    Dictionary inner;
    const int count = *rc::gen::inRange(0, 5);
    for (int index = 0; index < count; ++index)
        inner.set(*rc::gen::elementOf(kInnerFields), anyValue(depth - 1));
    return inner;
}

/// Anything that a record can hold, dates and what stands inside of items more often than chance.
Value anyValue(int depth)
{
    const int kind = *rc::gen::inRange(0, depth > 0 ? 8 : 5);
    if (kind == 0)
        return generatedDate();
    if (kind < 4) {
        Value value = *values(Alphabet::withoutHalves, 1);
        return value.isNil() ? Value(*anyTexts()) : value;
    }
    if (kind == 4)
        return *anyTexts();
    if (kind == 5)
        return anyInner(depth);
    Array array;
    const int count = *rc::gen::inRange(0, 3);
    for (int index = 0; index < count; ++index)
        array.push_back(kind == 6 ? anyInner(depth) : anyValue(depth - 1));
    return array;
}

class SavingAnyRecord : public StoreFixture {
protected:
    static constexpr const char* kNodeFile = "Library/Application Support/iCal/nodes.plist";

    /// Some of the fields with any values, as far as the host would take the record.
    template <std::size_t count>
    static Dictionary filled(Dictionary record, const std::array<std::string_view, count>& fields,
                             std::string_view conduit)
    {
        for (const std::string_view field : fields) {
            if (*rc::gen::inRange(0, 4) != 0)
                continue;
            Dictionary more = record;
            more.set(field, anyValue(3));
            if (isAcceptableRecord(more, "k", std::string(conduit)))
                record = std::move(more);
        }
        return record;
    }
    static SyncRecord record(std::string_view conduit, const std::string& key, Dictionary fields)
    {
        return std::make_shared<HostSyncRecord>(kRecordTypeRecord, std::move(fields), key,
                                                std::nullopt, std::string(conduit));
    }
    static Dictionary calendar(const std::string& title, const std::string& key)
    {
        return Dictionary{{"Type", "CalendarNode"},
                          {"Title", title},
                          {"Color", "#0252D4"},
                          {"Notes", ""},
                          {"SourceKey", key}};
    }
    static SyncRecordList anyRecords()
    {
        Dictionary any = calendar(*anyTexts(), "A");
        any.set("Type", *rc::gen::element<std::string>("CalendarNode", "CalendarSubscriber"));
        const Dictionary item{{"Title", *anyTexts()}, {"ParentRecordKey", "A"}};
        return {record(kConduitCalendar, "A", filled(any, kCalendarFields, kConduitCalendar)),
                record(kConduitEvent, "e", filled(item, kItemFields, kConduitEvent)),
                record(kConduitTask, "t", filled(item, kItemFields, kConduitTask)),
                record(kConduitCalendar, "B", calendar("Nachbar", "B")),
                record(kConduitEvent, "n",
                       Dictionary{{"Title", "Nachbars Termin"}, {"ParentRecordKey", "B"}})};
    }
    /// The rewrite ends well, and the neighbour comes back whole.
    void expectSaved(const SyncRecordList& records)
    {
        std::int32_t calendarCount = 0;
        std::int32_t eventCount = 0;
        std::int32_t taskCount = 0;
        RC_ASSERT(ICalHelper::saveCalendars(records, &host, calendarCount, eventCount, taskCount,
                                            {}, {}));
        RC_ASSERT(calendarCount == 2);
        RC_ASSERT(eventCount == 2);
        RC_ASSERT(taskCount == 1);
        const auto stored = readStore();
        const auto neighbour = titled(stored, "Nachbar");
        RC_ASSERT(neighbour != nullptr);
        RC_ASSERT(neighbour->events() != nullptr);
        RC_ASSERT(neighbour->events()->size() == 1U);
        RC_ASSERT(neighbour->events()->front()->title() == Value("Nachbars Termin"));
        RC_ASSERT(stored.size() == 2U);
    }
};

RC_GTEST_FIXTURE_PROP(SavingAnyRecord, OfTheNewerLayoutEndsWell, ())
{
    const SyncRecordList records = anyRecords();
    for (const SyncRecord& each : records)
        RC_LOG() << each->description() << "\n";
    expectSaved(records);
}

RC_GTEST_FIXTURE_PROP(SavingAnyRecord, OfTheOlderLayoutEndsWell, ())
{
    host.script.macOSVersion = 4;
    home.write(kNodeFile, xmlPropertyList(Dictionary{{"Version", 2}, {"List", Array{}}}));
    const SyncRecordList records = anyRecords();
    for (const SyncRecord& each : records)
        RC_LOG() << each->description() << "\n";
    expectSaved(records);
}

}  // namespace
}  // namespace kt::test
