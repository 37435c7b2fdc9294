// What the writer puts into a store is read by another program's library, field by field.

#include <filesystem>
#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libical/ical.h>

#include "Sync/Foundation/FileManager.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarStore.h"
#include "tests/support/HostClassesScope.h"
#include "tests/support/PlatformScope.h"
#include "tests/support/RecordingPluginHelper.h"
#include "tests/support/TemporaryFolder.h"

namespace kt::test {
namespace {

using Component = std::unique_ptr<icalcomponent, decltype(&icalcomponent_free)>;

/// A text as people read it: files and records hold it with its escapes (RFC 5545, 3.3.11).
std::string unescaped(const std::string& text)
{
    std::string plain;
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (text[index] != '\\' || index + 1 == text.size()) {
            plain += text[index];
            continue;
        }
        const char next = text[++index];
        plain += next == 'n' || next == 'N' ? '\n' : next;
    }
    return plain;
}

std::string textOf(icalcomponent* component, icalproperty_kind kind)
{
    icalproperty* property = icalcomponent_get_first_property(component, kind);
    if (property == nullptr)
        return "";
    const char* text = icalvalue_get_text(icalproperty_get_value(property));
    return text == nullptr ? "" : text;
}

int countOf(icalcomponent* component, icalproperty_kind kind)
{
    return icalcomponent_count_properties(component, kind);
}

/// A date as libical sees it, in this system's words: iCalDate, blank, zone.
std::string dateOf(icalcomponent* component, icalproperty_kind kind)
{
    icalproperty* property = icalcomponent_get_first_property(component, kind);
    if (property == nullptr)
        return "";
    const icaltimetype time = icalvalue_get_datetimedate(icalproperty_get_value(property));
    const std::string text = icaltime_as_ical_string(time);
    if (icaltime_is_date(time))
        return text;
    if (icaltime_is_utc(time))
        return text + " Etc/UTC";
    icalparameter* zone = icalproperty_get_first_parameter(property, ICAL_TZID_PARAMETER);
    return text + " " + (zone == nullptr ? "" : icalparameter_get_tzid(zone));
}

std::string dateOf(const EnhancedDate& date)
{
    if (!date)
        return "";
    return date->isAllDay() ? date->iCalDate() : date->iCalDate() + " " + date->timezone();
}

std::string textOf(const Value& value)
{
    return value.isNil() ? "" : unescaped(std::string(value.string()));
}

/// The one thing libical objects to: a trigger at a date is written without VALUE=DATE-TIME, as
/// iCal writes it.
int triggersWithoutValueType(const KTSyncCalendarItem& item)
{
    int count = 0;
    if (item.alarms())
        for (const auto& alarm : *item.alarms())
            count += alarm->absoluteTrigger() != nullptr ? 1 : 0;
    return count;
}

void expectSharedFields(KTSyncCalendarItem& item, icalcomponent* component)
{
    EXPECT_EQ(textOf(component, ICAL_SUMMARY_PROPERTY), textOf(item.title()));
    EXPECT_EQ(textOf(component, ICAL_DESCRIPTION_PROPERTY), textOf(item.notes()));
    EXPECT_EQ(dateOf(component, ICAL_DTSTART_PROPERTY), dateOf(item.startDate()));
    EXPECT_EQ(dateOf(component, ICAL_DTSTAMP_PROPERTY), dateOf(item.dateStamp()));
    EXPECT_EQ(icalcomponent_get_uid(component), item.uid().string());
    EXPECT_EQ(icalcomponent_get_sequence(component), item.sequence().intValue());
    EXPECT_EQ(countOf(component, ICAL_ATTACH_PROPERTY),
              item.attachments() ? static_cast<int>(item.attachments()->size()) : 0);
    ASSERT_EQ(icalcomponent_count_components(component, ICAL_VALARM_COMPONENT),
              item.alarms() ? static_cast<int>(item.alarms()->size()) : 0);
    int triggers = 0;
    icalcomponent* alarm = icalcomponent_get_first_component(component, ICAL_VALARM_COMPONENT);
    for (; alarm != nullptr;
         alarm = icalcomponent_get_next_component(component, ICAL_VALARM_COMPONENT)) {
        EXPECT_EQ(countOf(alarm, ICAL_ACTION_PROPERTY), 1);
        triggers += countOf(alarm, ICAL_TRIGGER_PROPERTY);
    }
    EXPECT_EQ(triggers + triggersWithoutValueType(item),
              item.alarms() ? static_cast<int>(item.alarms()->size()) : 0);
}

void expectRule(const KTSyncRecurrenceRule* rule, icalcomponent* component)
{
    icalproperty* property = icalcomponent_get_first_property(component, ICAL_RRULE_PROPERTY);
    ASSERT_EQ(property == nullptr, rule == nullptr);
    if (rule == nullptr)
        return;
    const icalrecurrencetype read = icalproperty_get_rrule(property);
    const Dictionary record = rule->syncRecord();
    EXPECT_EQ(icalrecur_freq_to_string(read.freq), record["Frequency"].string());
    EXPECT_EQ(read.interval, record["Interval"].intValue());
    EXPECT_EQ(read.count, record["Count"].intValue());
    EXPECT_EQ(icaltime_is_null_time(read.until), record["UntilDate"].isNil());
}

void expectEvent(KTSyncEvent& event, icalcomponent* component)
{
    expectSharedFields(event, component);
    EXPECT_EQ(textOf(component, ICAL_LOCATION_PROPERTY), textOf(event.location()));
    EXPECT_EQ(dateOf(component, ICAL_DTEND_PROPERTY), dateOf(event.endDate()));
    EXPECT_EQ(dateOf(component, ICAL_RECURRENCEID_PROPERTY), dateOf(event.recurrenceId()));
    const Value exceptions = event.syncRecord()["ExceptionDates"];
    EXPECT_EQ(countOf(component, ICAL_EXDATE_PROPERTY),
              exceptions.isNil() ? 0 : static_cast<int>(exceptions.array().size()));
    expectRule(event.recurrenceRule().get(), component);
    ASSERT_EQ(countOf(component, ICAL_ATTENDEE_PROPERTY),
              event.attendees() ? static_cast<int>(event.attendees()->size()) : 0);
    icalproperty* attendee = icalcomponent_get_first_property(component, ICAL_ATTENDEE_PROPERTY);
    for (std::size_t index = 0; attendee != nullptr; ++index) {
        EXPECT_EQ(icalproperty_get_attendee(attendee),
                  (*event.attendees())[index]->address().string());
        attendee = icalcomponent_get_next_property(component, ICAL_ATTENDEE_PROPERTY);
    }
}

void expectTask(KTSyncTask& task, icalcomponent* component)
{
    expectSharedFields(task, component);
    EXPECT_EQ(dateOf(component, ICAL_DUE_PROPERTY), dateOf(task.dueDate()));
    EXPECT_EQ(dateOf(component, ICAL_COMPLETED_PROPERTY), dateOf(task.completedDate()));
    EXPECT_EQ(icalcomponent_get_status(component) == ICAL_STATUS_COMPLETED, task.isCompleted());
}

class LibicalReadsItemFiles : public testing::Test {
protected:
    LibicalReadsItemFiles()
    {
        std::filesystem::copy(std::string(KT_SOURCE_DIR) + "/samples/home-10.5", home.path(),
                              std::filesystem::copy_options::recursive);
    }

    /// Reads the sample store and writes it again: then every file is this system's own.
    std::vector<std::shared_ptr<KTSyncCalendar>> rewritten()
    {
        const auto store = KTSyncCalendarStore::calendarStoreWithPluginHelper(&host);
        auto calendars = *store->calendarsList();
        for (const auto& calendar : calendars)
            calendar->events();
        EXPECT_TRUE(store->storeCalendars(calendars));
        return calendars;
    }

    Component parsed(KTSyncCalendar& calendar, const std::string& recordKey)
    {
        const auto text = FileManager::defaultManager().contentsAtPath(
            *calendar.corestoragePath() + "/Events/" + recordKey + ".ics");
        return Component(text ? icalparser_parse_string(text->c_str()) : nullptr,
                         icalcomponent_free);
    }

    TemporaryFolder home;
    PlatformScope platform{home.path()};
    HostClassesScope classes;
    RecordingPluginHelper host;
};

TEST_F(LibicalReadsItemFiles, EveryEventOfTheSampleStoreWithTheSameFields)
{
    int compared = 0;
    for (const auto& calendar : rewritten()) {
        if (calendar->calendarType() == kCalendarTypeGroup ||
            calendar->calendarType() == kCalendarTypeBirthday)
            continue;
        for (const auto& event : *calendar->events()) {
            SCOPED_TRACE(event->description());
            const Component file = parsed(*calendar, *event->recordKey());
            ASSERT_NE(file, nullptr);
            ASSERT_EQ(icalcomponent_count_errors(file.get()), triggersWithoutValueType(*event));
            icalcomponent* component =
                icalcomponent_get_first_component(file.get(), ICAL_VEVENT_COMPONENT);
            ASSERT_NE(component, nullptr);
            expectEvent(*event, component);
            ++compared;
        }
    }
    EXPECT_EQ(compared, 13);
}

TEST_F(LibicalReadsItemFiles, EveryTaskOfTheSampleStoreWithTheSameFields)
{
    int compared = 0;
    for (const auto& calendar : rewritten()) {
        if (calendar->calendarType() == kCalendarTypeGroup ||
            calendar->calendarType() == kCalendarTypeBirthday)
            continue;
        for (const auto& task : *calendar->tasks()) {
            SCOPED_TRACE(task->description());
            const Component file = parsed(*calendar, *task->recordKey());
            ASSERT_NE(file, nullptr);
            ASSERT_EQ(icalcomponent_count_errors(file.get()), triggersWithoutValueType(*task));
            icalcomponent* component =
                icalcomponent_get_first_component(file.get(), ICAL_VTODO_COMPONENT);
            ASSERT_NE(component, nullptr);
            expectTask(*task, component);
            ++compared;
        }
    }
    EXPECT_EQ(compared, 4);
}

}  // namespace
}  // namespace kt::test
