#pragma once

#include <optional>
#include <string>

#include "Sync/Host/Site/CalendarPage.h"
#include "Sync/Host/Site/DayPlan.h"
#include "Sync/Host/Site/HtmlWriter.h"

namespace kt {

/// Addresses of other months of a calendar, in the same zone.
class MonthLinks {
public:
    MonthLinks(std::string path, const std::string& zone);

    std::string to(Month month) const;
    /// The day in the agenda of its month; nullopt for a month that cannot be shown.
    std::optional<std::string> to(Day day, Month shown) const;

private:
    std::string _path;
    std::string _zone;  // encoded
};

/// The name of a day's place in the agenda.
std::string anchorOfDay(Day day);

/// The month as a table: a row a week, at most a few entries a day, which the agenda has in full.
void appendMonthTable(HtmlWriter& html, const DayPlan& plan, const CalendarView& view,
                      const MonthLinks& links);

}  // namespace kt
