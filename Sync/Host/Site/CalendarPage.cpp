#include "Sync/Host/Site/CalendarPage.h"

#include <algorithm>

#include "Sync/Foundation/Format.h"
#include "Sync/Host/Publishing/PublicSite.h"
#include "Sync/Host/Site/Agenda.h"
#include "Sync/Host/Site/CalendarHeading.h"
#include "Sync/Host/Site/GermanDates.h"
#include "Sync/Host/Site/MonthTable.h"
#include "Sync/Host/Site/PageFrame.h"
#include "Sync/Host/Site/TaskList.h"
#include "Sync/Host/Site/TimeZoneChoice.h"

namespace kt {

namespace {

void appendHeading(HtmlWriter& html, const PublishedHead& head)
{
    {
        const auto heading = html.element("h1");
        appendSwatch(html, head);
        html.text(shownTitle(head));
    }
    appendNotes(html, head);
    if (head.options.anonymous)
        html.element("p", {{"class", "note"}},
                     "Dieser Kalender zeigt nur, wann etwas ist, nicht was, wer oder wo.");
    const auto paragraph = html.element("p");
    html.element("a", {{"href", pathOfCalendar(head.key) + ".ics"}, {"type", "text/calendar"}},
                 "Im eigenen Kalenderprogramm abonnieren (.ics)");
}

/// The year stands apart, because a telephone has no room for it.
void appendMonthLink(HtmlWriter& html, const std::string& address, std::string_view relation,
                     Month month)
{
    const bool isEarlier = relation == "prev";
    const auto link = html.element("a", {{"href", address}, {"rel", relation}});
    html.text(isEarlier ? "‹ " : "");
    html.text(monthName(month.month));
    html.element("span", {{"class", "year"}}, " " + std::to_string(month.year));
    html.text(isEarlier ? "" : " ›");
}

void appendMonthLinks(HtmlWriter& html, const MonthLinks& links, const CalendarView& view)
{
    const auto navigation = html.element("nav", {{"class", "bar"}, {"aria-label", "Monate"}});
    html.element("h2", {{"id", "monat"}}, monthTitle(view.month));
    const Month before = view.month + -1;
    const Month after = view.month + 1;
    if (before >= kFirstMonth)
        appendMonthLink(html, links.to(before), "prev", before);
    html.element("a", {{"href", links.to(Month::of(view.today))}}, "Heute");
    if (after <= kLastMonth)
        appendMonthLink(html, links.to(after), "next", after);
}

void appendZones(HtmlWriter& html, const std::string& chosen)
{
    const auto select = html.element("select", {{"id", "zone"}, {"name", "zone"}});
    const auto append = [&](const std::string& zone) {
        html.element("option", {{"value", zone}, {"selected", when(zone == chosen, "")}}, zone);
    };
    const auto& zones = choosableZones();
    if (!std::binary_search(zones.begin(), zones.end(), chosen))
        append(chosen);
    for (const std::string& zone : zones)
        append(zone);
}

void appendForm(HtmlWriter& html, const PublishedHead& head, const CalendarView& view)
{
    const auto form =
        html.element("form", {{"method", "get"}, {"action", pathOfCalendar(head.key)}});
    {
        const auto field = html.element("div");
        html.element("label", {{"for", "month"}}, "Monat");
        html.empty("input", {{"id", "month"},
                             {"name", "month"},
                             {"type", "month"},
                             {"required", ""},
                             {"pattern", "[0-9]{4}-[0-9]{2}"},
                             {"min", monthText(kFirstMonth)},
                             {"max", monthText(kLastMonth)},
                             {"value", monthText(view.month)}});
    }
    {
        const auto field = html.element("div");
        html.element("label", {{"for", "zone"}}, "Zeitzone");
        appendZones(html, view.zone);
    }
    html.element("button", {{"type", "submit"}}, "Anzeigen");
}

void appendEvents(HtmlWriter& html, const PublishedCalendar& calendar, const CalendarView& view)
{
    const MonthGrid grid = MonthGrid::of(view.month);
    const OccurrenceList list =
        occurrencesOfEvents(calendar.events, grid.first, grid.last, view.zone);
    const DayPlan plan(list.occurrences, grid.first, grid.last);
    const MonthLinks links(pathOfCalendar(calendar.head.key), view.zone);
    {
        const auto section = html.element("section", {{"aria-labelledby", "monat"}});
        appendMonthLinks(html, links, view);
        appendMonthTable(html, plan, view, links);
        if (!list.isComplete)
            html.element("p", {{"class", "note"}},
                         "Nicht alle Wiederholungen in diesem Monat können gezeigt werden.");
        if (list.hasOnlyBeginnings)
            html.element("p", {{"class", "note"}},
                         "Was sich stündlich oder öfter wiederholt, steht hier nur an seinem "
                         "Anfang.");
    }
    appendForm(html, calendar.head, view);
    if (!appendAgenda(html, plan, view))
        html.element("p", {{"class", "note"}},
                     "Weitere Termine dieses Monats stehen in der Kalenderdatei.");
}

}  // namespace

std::string calendarPage(const PublishedCalendar& calendar, const CalendarView& view)
{
    const std::string title = shownTitle(calendar.head) + " – " + monthTitle(view.month);
    const std::string file = pathOfCalendar(calendar.head.key) + ".ics";
    return PageFrame{title, file}.around([&](HtmlWriter& html) {
        appendHeading(html, calendar.head);
        if (calendar.head.options.events)
            appendEvents(html, calendar, view);
        else
            appendForm(html, calendar.head, view);
        if (calendar.head.options.tasks)
            appendTasks(html, calendar.tasks, view.zone);
    });
}

}  // namespace kt
