#include "Sync/Host/Site/MonthTable.h"

#include <algorithm>
#include <utility>

#include "Sync/Foundation/Format.h"
#include "Sync/Host/Publishing/PercentEncoding.h"
#include "Sync/Host/Site/CalendarHeading.h"
#include "Sync/Host/Site/GermanDates.h"

namespace kt {

namespace {

constexpr std::size_t kMostEntries = 3;

void appendHeader(HtmlWriter& html)
{
    const auto head = html.element("thead");
    const auto row = html.element("tr");
    {
        const auto cell = html.element("th", {{"scope", "col"}});
        html.element("abbr", {{"title", "Kalenderwoche"}}, "KW");
    }
    for (int weekday = 0; weekday < 7; ++weekday) {
        const auto cell = html.element("th", {{"scope", "col"}});
        html.element("abbr", {{"title", weekdayName(weekday)}}, shortWeekdayName(weekday));
    }
}

void appendEntry(HtmlWriter& html, const Occurrence& occurrence, Day day)
{
    const TimeOnDay time = timeOnDay(occurrence, day);
    const bool isAllDay = time.kind == TimeOnDay::Kind::allDay;
    const std::string title = shownTitle(*occurrence.event);
    const auto item =
        html.element("li", {{"class", isAllDay ? "allday" : "timed"}, {"title", title}});
    if (!isAllDay) {
        html.element("span", {{"class", "time"}}, shortTimeText(time));
        html.text(" ");
    }
    html.text(title);
}

/// The number of the day, and how many entries it has for whoever cannot see them.
void appendNumber(HtmlWriter& html, Day day, std::size_t entries,
                  const std::optional<std::string>& address)
{
    const std::string number = std::to_string(day.date().day);
    const std::string iso = isoDayText(day);
    if (entries == 0 || !address) {
        html.element("time", {{"datetime", iso}}, number);
        return;
    }
    const std::string label = stringWithFormat("%@, %d %@", longDayTitle(day), entries,
                                               entries == 1 ? "Eintrag" : "Einträge");
    const auto link = html.element("a", {{"href", *address}, {"aria-label", label}});
    html.element("time", {{"datetime", iso}}, number);
}

void appendDay(HtmlWriter& html, const DayPlan& plan, Day day, const CalendarView& view,
               const MonthLinks& links)
{
    const auto& entries = plan.on(day);
    const bool isOutside = Month::of(day) != view.month;
    std::string classes = isOutside ? "outside" : "";
    if (day == view.today)
        classes += classes.empty() ? "today" : " today";
    const auto cell = html.element("td", {{"class", when(!classes.empty(), classes)}});
    appendNumber(html, day, entries.size(), links.to(day, view.month));
    if (entries.empty())
        return;
    const auto list = html.element("ul");
    const std::size_t shown = entries.size() <= kMostEntries + 1 ? entries.size() : kMostEntries;
    for (std::size_t at = 0; at < shown; ++at)
        appendEntry(html, *entries[at], day);
    if (shown < entries.size())
        html.element("li", {{"class", "more"}},
                     stringWithFormat("+ %d weitere", entries.size() - shown));
}

}  // namespace

MonthLinks::MonthLinks(std::string path, const std::string& zone)
    : _path(std::move(path)),
      _zone(percentEncoded(zone))
{}

std::string MonthLinks::to(Month month) const
{
    return _path + "?month=" + monthText(month) + "&zone=" + _zone;
}

std::optional<std::string> MonthLinks::to(Day day, Month shown) const
{
    const Month month = Month::of(day);
    if (month == shown)
        return "#" + anchorOfDay(day);
    if (month < kFirstMonth || month > kLastMonth)
        return std::nullopt;
    return to(month) + "#" + anchorOfDay(day);
}

std::string anchorOfDay(Day day) { return "tag-" + isoDayText(day); }

void appendMonthTable(HtmlWriter& html, const DayPlan& plan, const CalendarView& view,
                      const MonthLinks& links)
{
    const MonthGrid grid = MonthGrid::of(view.month);
    const auto table = html.element("table", {{"class", "month"}});
    html.element("caption", {{"class", "hidden"}},
                 stringWithFormat("%@, ein Tag je Zelle", monthTitle(view.month)));
    appendHeader(html);
    const auto body = html.element("tbody");
    for (Day monday = grid.first; monday < grid.last; monday = monday + 7) {
        const auto row = html.element("tr");
        html.element("th", {{"scope", "row"}}, std::to_string(monday.weekOfYear()));
        for (int weekday = 0; weekday < 7; ++weekday)
            appendDay(html, plan, monday + weekday, view, links);
    }
}

}  // namespace kt
