#include "Sync/Host/Site/Agenda.h"

#include <algorithm>

#include "Sync/Host/Publishing/PublishedText.h"
#include "Sync/Host/Site/CalendarHeading.h"
#include "Sync/Host/Site/GermanDates.h"
#include "Sync/Host/Site/MonthTable.h"

namespace kt {

namespace {

// Characters; the file has it all.
constexpr std::size_t kLongestNotes = 500;
constexpr std::size_t kLongestLine = 200;
constexpr std::size_t kLongestAddress = 1000;
constexpr std::size_t kMostNames = 50;
// What the entries of a page may come to, in bytes: those of many days count on each.
constexpr std::size_t kLongestAgenda = 8 * 1024 * 1024;

std::string namesOf(const std::vector<PublishedAttendee>& attendees)
{
    std::string names;
    std::size_t left = kMostNames;
    for (const PublishedAttendee& attendee : attendees) {
        if (attendee.name.empty())
            continue;
        if (left-- == 0)
            return names + " …";
        names += names.empty() ? "Mit " : ", ";
        names += clippedText(attendee.name, kLongestLine);
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
    if (address.empty() || address.size() > kLongestAddress)
        return;
    const auto paragraph = html.element("p", {{"class", "more"}});
    html.element("a", {{"href", address}, {"rel", "nofollow noopener noreferrer"}}, address);
}

void appendEntry(HtmlWriter& html, const Occurrence& occurrence, Day day, Month month)
{
    const PublishedEvent& event = *occurrence.event;
    const auto item = html.element("li");
    html.element("span", {{"class", "time"}}, timeText(timeOnDay(occurrence, day)));
    html.element("span", {{"class", "what"}}, shownTitle(event));
    if (occurrence.firstDay != occurrence.lastDay)
        appendLine(html,
                   shortDayText(occurrence.firstDay) + " bis " + shortDayText(occurrence.lastDay));
    // What goes on for weeks is told about once.
    if (day != std::max(occurrence.firstDay, month.firstDay()))
        return;
    appendLine(html, clippedText(event.location, kLongestLine));
    appendLine(html, namesOf(event.attendees));
    appendLine(html, clippedText(event.notes, kLongestNotes));
    appendAddress(html, event.url);
}

}  // namespace

bool appendAgenda(HtmlWriter& html, const DayPlan& plan, const CalendarView& view)
{
    const auto section = html.element("section", {{"aria-labelledby", "agenda"}});
    html.element("h2", {{"id", "agenda"}}, "Termine im " + monthTitle(view.month));
    html.element("p", {{"class", "note"}}, "Zeiten in der Zeitzone " + view.zone);
    const std::size_t longest = html.html().size() + kLongestAgenda;
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
        for (const Occurrence* occurrence : entries) {
            if (html.html().size() > longest)
                return false;
            appendEntry(html, *occurrence, day, view.month);
        }
    }
    if (isEmpty)
        html.element("p", {}, "In diesem Monat gibt es keine Termine.");
    return true;
}

}  // namespace kt
