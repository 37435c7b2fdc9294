#include "Sync/Host/Publishing/PublishedItems.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <utility>

#include "Sync/Foundation/Digest.h"
#include "Sync/Host/Publishing/Day.h"
#include "Sync/Host/Publishing/PublishedText.h"

namespace kt {

namespace {

constexpr std::size_t kUIDLength = 32;
constexpr const char* kUTC = "Etc/UTC";

/// "2007-12-24T09:00:00Z" as iCalendar writes it.
std::string stampOf(const std::string& iso)
{
    const auto instant = dateWithISO8601(iso);
    return dateTimeText(calendarDateOfInstant(instant.value_or(Date{}), kUTC)) + 'Z';
}

/// Weeks, days, hours, minutes, seconds. Weeks and days go by the wall clock, the rest is time that
/// passes, whatever is done to clocks meanwhile (RFC 5545, 3.3.6).
CalendarDate clockAfterDuration(const PublishedDate& start, const Array& duration)
{
    constexpr std::int64_t kUnits[] = {7 * 86400, 86400, 3600, 60, 1};
    constexpr std::size_t kDays = 2;                 // of these units
    constexpr std::int64_t kMost = 100'000'000'000;  // 3,000 years
    std::int64_t days = 0;
    std::int64_t time = 0;
    for (std::size_t at = 0; at < duration.size() && at < std::size(kUnits); ++at)
        (at < kDays ? days : time) += duration[at].intValue() * kUnits[at];
    const CalendarDate clock = clockAfter(start.clock, days);
    if (time == 0)
        return clock;
    if (start.isAllDay)
        return clockAfter(clock, time);
    Date instant = instantOfCalendarDate(clock, start.zone);
    instant.instant += std::chrono::seconds(std::clamp(time, -kMost, kMost));
    return calendarDateOfInstant(instant, start.zone);
}

/// Where the event ends, when that is later than its start.
std::optional<PublishedDate> endOf(const PublishedDate& start, const Dictionary& record)
{
    PublishedDate end = start;
    if (const auto written = PublishedDate::fromRecord(record["EndDate"])) {
        end = *written;
        if (end.isAllDay != start.isAllDay) {
            // Half a day is no day: such an end counts as one of the start's own kind.
            end.isAllDay = start.isAllDay;
            end.clock = start.isAllDay ? (Day::of(end.clock) + 1).date() : end.clock;
        }
    } else if (record["Duration"].isArray()) {
        end.clock = clockAfterDuration(start, record["Duration"].array());
        if (start.isAllDay)
            end.clock = Day::of(end.clock).date();
    }
    const bool isLater = start.isAllDay ? end.clock > start.clock : end.instant() > start.instant();
    if (!isLater)
        return std::nullopt;
    return end;
}

std::vector<PublishedDate> datesOf(const Value& list)
{
    std::vector<PublishedDate> dates;
    if (!list.isArray())
        return dates;
    for (const Value& element : list.array()) {
        if (const auto date = PublishedDate::fromRecord(element))
            dates.push_back(*date);
    }
    return dates;
}

std::vector<PublishedAttendee> attendeesOf(const Value& list)
{
    std::vector<PublishedAttendee> attendees;
    if (!list.isArray())
        return attendees;
    for (const Value& element : list.array()) {
        if (!element.isDictionary())
            continue;
        PublishedAttendee attendee{plainTextOfField(element.dictionary()["Name"]),
                                   plainTextOfField(element.dictionary()["Address"])};
        if (!attendee.name.empty() || !attendee.address.empty())
            attendees.push_back(std::move(attendee));
    }
    return attendees;
}

/// The same instants, told in UTC.
void hideZones(std::initializer_list<PublishedDate*> dates)
{
    for (PublishedDate* date : dates) {
        if (date == nullptr || date->isAllDay)
            continue;
        date->clock = calendarDateOfInstant(date->instant(), kUTC);
        date->zone = kUTC;
    }
}

PublishedDate inZone(const PublishedDate& date, const std::string& zone)
{
    if (date.zone == zone)
        return date;
    return {calendarDateOfInstant(date.instant(), zone), zone, false};
}

/// A start of a series is named as the series names its own: a day, or a clock in its zone
/// (RFC 5545, 3.8.4.4 and 3.8.5.1).
PublishedDate asStartOfSeries(const PublishedDate& date, const PublishedDate& start)
{
    PublishedDate named = start;
    if (!start.isAllDay && !date.isAllDay)
        return inZone(date, start.zone);
    named.clock.year = date.clock.year;
    named.clock.month = date.clock.month;
    named.clock.day = date.clock.day;
    return named;
}

bool isTransparent(const Value& field) { return field == Value("TRANSPARENT"); }

}  // namespace

PublishedItems::PublishedItems(PublishingOptions options, std::string secret, std::string since)
    : _options(options),
      _secret(std::move(secret)),
      _since(stampOf(since))
{}

PublishedItem PublishedItems::item(const std::string& uidKey, const Dictionary& record) const
{
    PublishedItem item;
    item.stamp = _since;
    if (_options.anonymous) {
        // The key itself is a digest of the title: whoever guesses the title could prove it.
        item.uid = sha256DigestHex(_secret + '\n' + uidKey).substr(0, kUIDLength);
        item.isAnonymous = true;
        return item;
    }
    item.uid = showableText(uidKey);
    item.title = textOfField(record["Title"]);
    item.location = textOfField(record["Location"]);
    item.notes = textOfField(record["Notes"]);
    item.url = textOfField(record["URL"]);
    if (const Value& sequence = record["Sequence"]; sequence.isString() || sequence.isNumber())
        item.sequence = std::max(sequence.intValue(), 0);
    if (const auto stamp = PublishedDate::fromRecord(record["DateStamp"]))
        item.stamp = dateTimeText(calendarDateOfInstant(stamp->instant(), kUTC)) + 'Z';
    return item;
}

std::optional<PublishedEvent> PublishedItems::event(const std::string& key,
                                                    const Dictionary& record,
                                                    const std::optional<Series>& series) const
{
    const auto start = PublishedDate::fromRecord(record["StartDate"]);
    if (!start)
        return std::nullopt;
    PublishedEvent event;
    // Two events of one name would be one.
    if (const auto replaced = PublishedDate::fromRecord(record["RecurrenceId"]); series && replaced)
        event.recurrenceId = asStartOfSeries(*replaced, series->start);
    static_cast<PublishedItem&>(event) = item(event.recurrenceId ? series->key : key, record);
    event.start = *start;
    event.end = endOf(*start, record);
    if (const Value& rule = record["RecurrenceRule"]; rule.isDictionary())
        event.rule = RecurrenceRule::fromRecord(rule.dictionary());
    if (event.rule) {
        for (const PublishedDate& exception : datesOf(record["ExceptionDates"]))
            event.exceptions.push_back(asStartOfSeries(exception, *start));
    }
    event.isTransparent = isTransparent(record["TRANSP"]);
    if (!_options.anonymous)
        event.attendees = attendeesOf(record["Attendees"]);
    else if (!event.rule)
        hideZones({&event.start, event.end ? &*event.end : nullptr});
    else if (event.end && !event.end->isAllDay)
        event.end = inZone(*event.end, event.start.zone);
    return event;
}

std::optional<PublishedTask> PublishedItems::task(const std::string& key,
                                                  const Dictionary& record) const
{
    PublishedTask task;
    static_cast<PublishedItem&>(task) = item(key, record);
    task.start = PublishedDate::fromRecord(record["StartDate"]);
    task.due = PublishedDate::fromRecord(record["DueDate"]);
    const Value& completed = record["Completed"];
    const bool isDone = completed.isNumber() && completed.boolValue();
    if (_options.anonymous) {
        if (isDone || (!task.start && !task.due))
            return std::nullopt;
        hideZones({task.start ? &*task.start : nullptr, task.due ? &*task.due : nullptr});
        return task;
    }
    task.isCompleted = isDone;
    task.completed = PublishedDate::fromRecord(record["CompletedDate"]);
    if (const Value& priority = record["Priority"]; priority.isString() || priority.isNumber())
        task.priority = std::clamp(priority.intValue(), 0, 9);
    return task;
}

}  // namespace kt
