#include "Sync/Host/Site/CalendarFile.h"

#include <algorithm>
#include <map>

#include "Sync/Host/Publishing/Day.h"
#include "Sync/Host/Publishing/PublishedText.h"
#include "Sync/Host/Site/ContentLines.h"
#include "Sync/Host/Site/TimeZoneComponent.h"

namespace kt {

namespace {

constexpr std::string_view kBusy = "Belegt";
constexpr std::string_view kTask = "Aufgabe";

/// The zones in use and the earliest year of each.
class Zones {
public:
    bool isEmpty() const { return _firstYears.empty(); }

    void add(const std::optional<PublishedDate>& date)
    {
        if (!date || date->isAllDay || date->isUTC())
            return;
        const auto [found, isNew] = _firstYears.emplace(date->zone, date->clock.year);
        if (!isNew)
            found->second = std::min(found->second, date->clock.year);
    }

    void appendTo(ContentLines& lines) const
    {
        for (const auto& [zone, year] : _firstYears)
            appendTimeZone(lines, zone, year);
    }

private:
    std::map<std::string, int> _firstYears;
};

Zones zonesOf(const PublishedCalendar& calendar)
{
    Zones zones;
    for (const PublishedEvent& event : calendar.events) {
        zones.add(event.start);
        zones.add(event.end);
        zones.add(event.recurrenceId);
        for (const PublishedDate& exception : event.exceptions)
            zones.add(exception);
    }
    for (const PublishedTask& task : calendar.tasks) {
        zones.add(task.start);
        zones.add(task.due);
    }
    return zones;
}

void appendText(ContentLines& lines, std::string_view name, const std::string& text)
{
    if (!text.empty())
        lines.text(name, text);
}

void appendItem(ContentLines& lines, const PublishedItem& item, std::string_view anonymousTitle)
{
    lines.text("UID", item.uid);
    lines.value("DTSTAMP", item.stamp);
    lines.text("SUMMARY", item.isAnonymous ? anonymousTitle : std::string_view(item.title));
    appendText(lines, "LOCATION", item.location);
    appendText(lines, "DESCRIPTION", item.notes);
    if (const std::string address = webAddress(item.url); !address.empty())
        lines.value("URL", address);
    if (item.sequence)
        lines.value("SEQUENCE", std::to_string(*item.sequence));
}

bool isAddress(const std::string& text)
{
    return text.find(':') != std::string::npos && text.find_first_of(" \t\n\"<>") == text.npos;
}

void appendAttendees(ContentLines& lines, const std::vector<PublishedAttendee>& attendees)
{
    for (const PublishedAttendee& attendee : attendees) {
        if (!isAddress(attendee.address))
            continue;
        const std::string name =
            attendee.name.empty() ? "" : ";CN=" + quotedParameter(attendee.name);
        lines.value("ATTENDEE" + name, attendee.address);
    }
}

void appendEvent(ContentLines& lines, const PublishedEvent& event)
{
    lines.begin("VEVENT");
    appendItem(lines, event, kBusy);
    lines.date("DTSTART", event.start);
    if (event.end)
        lines.date("DTEND", *event.end);
    if (event.rule)
        lines.value("RRULE", event.rule->text(event.start));
    for (const PublishedDate& exception : event.exceptions)
        lines.date("EXDATE", exception);
    if (event.recurrenceId)
        lines.date("RECURRENCE-ID", *event.recurrenceId);
    lines.value("TRANSP", event.isTransparent ? "TRANSPARENT" : "OPAQUE");
    appendAttendees(lines, event.attendees);
    lines.end("VEVENT");
}

/// COMPLETED is always an instant (3.8.2.1).
PublishedDate inUTC(const PublishedDate& date)
{
    return {calendarDateOfInstant(date.instant(), "Etc/UTC"), "Etc/UTC", false};
}

void appendTask(ContentLines& lines, const PublishedTask& task)
{
    lines.begin("VTODO");
    appendItem(lines, task, kTask);
    // A start that is of another kind than the end of the task, or later, is no start (3.8.2.3).
    if (task.start && (!task.due || (task.start->isAllDay == task.due->isAllDay &&
                                     task.start->instant() < task.due->instant())))
        lines.date("DTSTART", *task.start);
    if (task.due)
        lines.date("DUE", *task.due);
    if (task.isCompleted)
        lines.value("STATUS", "COMPLETED");
    if (task.completed)
        lines.date("COMPLETED", inUTC(*task.completed));
    if (task.priority != 0)
        lines.value("PRIORITY", std::to_string(task.priority));
    lines.end("VTODO");
}

void appendHead(ContentLines& lines, const PublishedHead& head)
{
    lines.value("VERSION", "2.0");
    lines.value("PRODID", "-//VeloraSuite//Public Calendars 1.0//DE");
    lines.value("CALSCALE", "GREGORIAN");
    lines.text("NAME", head.title);
    lines.value("REFRESH-INTERVAL;VALUE=DURATION", "PT1H");
    if (head.options.anonymous)
        return;
    // What programs from before RFC 7986 look for.
    lines.text("X-WR-CALNAME", head.title);
    appendText(lines, "X-WR-CALDESC", head.notes);
    appendText(lines, "X-APPLE-CALENDAR-COLOR", head.color);
}

}  // namespace

std::string calendarFile(const PublishedCalendar& calendar)
{
    ContentLines lines;
    lines.begin("VCALENDAR");
    appendHead(lines, calendar.head);
    const Zones zones = zonesOf(calendar);
    zones.appendTo(lines);
    // There has to be something in it (RFC 5545, 3.6); this tells nothing.
    if (zones.isEmpty() && calendar.events.empty() && calendar.tasks.empty())
        appendTimeZone(lines, "Etc/UTC", 1970);
    for (const PublishedEvent& event : calendar.events)
        appendEvent(lines, event);
    for (const PublishedTask& task : calendar.tasks)
        appendTask(lines, task);
    lines.end("VCALENDAR");
    return lines.lines();
}

}  // namespace kt
