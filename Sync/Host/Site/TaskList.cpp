#include "Sync/Host/Site/TaskList.h"

#include <algorithm>
#include <tuple>

#include "Sync/Foundation/Format.h"
#include "Sync/Host/Site/CalendarHeading.h"
#include "Sync/Host/Site/GermanDates.h"

namespace kt {

namespace {

constexpr std::size_t kMostTasks = 2000;

/// The viewer's day, and the time where there is one.
std::string dateText(const PublishedDate& date, const std::string& zone)
{
    if (date.isAllDay)
        return shortDayText(Day::of(date.clock));
    const CalendarDate clock = calendarDateOfInstant(date.instant(), zone);
    return stringWithFormat("%@, %@ Uhr", shortDayText(Day::of(clock)), timeText(clock));
}

std::vector<const PublishedTask*> sorted(const std::vector<PublishedTask>& tasks)
{
    std::vector<const PublishedTask*> order;
    for (const PublishedTask& task : tasks)
        order.push_back(&task);
    const auto rank = [](const PublishedTask* task) {
        const auto& date = task->due ? task->due : task->start;
        return std::tuple(task->isCompleted, !date, date ? date->instant() : Date{},
                          std::string_view(task->title), std::string_view(task->uid));
    };
    std::sort(order.begin(), order.end(),
              [&](const auto* left, const auto* right) { return rank(left) < rank(right); });
    return order;
}

std::string stateText(const PublishedTask& task, const std::string& zone)
{
    if (task.isCompleted)
        return task.completed ? "erledigt am " + dateText(*task.completed, zone) : "erledigt";
    if (task.due)
        return "fällig am " + dateText(*task.due, zone);
    return task.start ? "ab " + dateText(*task.start, zone) : "offen";
}

}  // namespace

void appendTasks(HtmlWriter& html, const std::vector<PublishedTask>& tasks, const std::string& zone)
{
    const auto section = html.element("section", {{"aria-labelledby", "aufgaben"}});
    html.element("h2", {{"id", "aufgaben"}}, "Aufgaben");
    if (tasks.empty()) {
        html.element("p", {}, "Es gibt keine Aufgaben.");
        return;
    }
    const auto order = sorted(tasks);
    {
        const auto list = html.element("ul", {{"class", "tasks"}});
        for (std::size_t at = 0; at < std::min(order.size(), kMostTasks); ++at) {
            const PublishedTask& task = *order[at];
            const auto item = html.element("li", {{"class", when(task.isCompleted, "done")}});
            html.element("span", {{"class", "what"}}, shownTitle(task));
            html.text(" ");
            html.element("span", {{"class", "muted"}}, "– " + stateText(task, zone));
        }
    }
    if (order.size() > kMostTasks)
        html.element("p", {{"class", "note"}},
                     stringWithFormat("%d weitere Aufgaben stehen in der Kalenderdatei.",
                                      order.size() - kMostTasks));
}

}  // namespace kt
