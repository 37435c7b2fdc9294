#include "Sync/Host/Publishing/Agenda.h"

#include <algorithm>

#include "Sync/Foundation/Text.h"
#include "Sync/Host/Publishing/CalendarHeading.h"
#include "Sync/Host/Publishing/GermanDates.h"
#include "Sync/Host/Publishing/MonthTable.h"
#include "Sync/Host/Publishing/PublishedText.h"

namespace kt {

namespace {

constexpr std::size_t kLongestNotes = 500;  // characters; the file has them in full

std::string clipped(const std::string& text)
{
    if (utf16Length(text) <= kLongestNotes)
        return text;
    return showableText(utf16Substring(text, 0, kLongestNotes)) + " …";
}

std::string namesOf(const std::vector<PublishedAttendee>& attendees)
{
    std::string names;
    for (const PublishedAttendee& attendee : attendees) {
        if (attendee.name.empty())
            continue;
        names += names.empty() ? "Mit " : ", ";
        names += attendee.name;
    }
    return names;
}

void appendLine(HtmlWriter& html, const std::string& text)
{
    if (text.empty())
        return;
    const auto paragraph = html.element("p", {{"class", "more"}});
    html.lines(text);
}

void appendAddress(HtmlWriter& html, const std::string& url)
{
    const std::string address = webAddress(url);
    if (address.empty())
        return;
    const auto paragraph = html.element("p", {{"class", "more"}});
    html.element("a", {{"href", address}, {"rel", "nofollow noopener noreferrer"}}, address);
}

void appendEntry(HtmlWriter& html, const Occurrence& occurrence, Day day, Month month)
{
    const PublishedEvent& event = *occurrence.event;
    const auto item = html.element("li");
    html.element("span", {{"class", "time"}}, timeOnDay(occurrence, day));
    html.element("span", {{"class", "what"}}, shownTitle(event));
    if (occurrence.firstDay != occurrence.lastDay)
        appendLine(html,
                   shortDayText(occurrence.firstDay) + " bis " + shortDayText(occurrence.lastDay));
    // What goes on for weeks is told about once.
    if (day != std::max(occurrence.firstDay, month.firstDay()))
        return;
    appendLine(html, event.location);
    appendLine(html, namesOf(event.attendees));
    appendLine(html, clipped(event.notes));
    appendAddress(html, event.url);
}

}  // namespace

void appendAgenda(HtmlWriter& html, const DayPlan& plan, const CalendarView& view)
{
    const auto section = html.element("section", {{"aria-labelledby", "agenda"}});
    html.element("h2", {{"id", "agenda"}}, "Termine im " + monthTitle(view.month));
    html.element("p", {{"class", "note"}}, "Zeiten in der Zeitzone " + view.zone);
    bool isEmpty = true;
    for (Day day = view.month.firstDay(); day <= view.month.lastDay(); day = day + 1) {
        const auto& entries = plan.on(day);
        if (entries.empty())
            continue;
        isEmpty = false;
        const auto box = html.element("div", {{"class", "day"}, {"id", anchorOfDay(day)}});
        {
            const auto heading = html.element("h3");
            html.element("time", {{"datetime", isoDayText(day)}}, longDayTitle(day));
        }
        const auto list = html.element("ul");
        for (const Occurrence* occurrence : entries)
            appendEntry(html, *occurrence, day, view.month);
    }
    if (isEmpty)
        html.element("p", {}, "In diesem Monat gibt es keine Termine.");
}

}  // namespace kt
