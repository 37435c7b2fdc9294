#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "Sync/Host/Publishing/PublishedDate.h"
#include "Sync/Host/Publishing/RecurrenceRule.h"
#include "Sync/Host/Site/RecurrenceExpansion.h"

namespace kt {

/// Decides of one wall clock after the other, ascending, whether it is an occurrence to be given.
/// The event's own start is the first one, and counts.
class OccurrenceCollector {
public:
    OccurrenceCollector(const RecurrenceRule& rule, const PublishedDate& start,
                        const ClockRange& range, ExpansionBudget& budget);

    /// False when nothing that comes later can be an occurrence any more.
    bool take(const CalendarDate& clock);

    std::vector<CalendarDate> takeOccurrences() { return std::move(_occurrences); }

private:
    bool give(const CalendarDate& clock);

    CalendarDate _start;
    ClockRange _range;
    ExpansionBudget& _budget;
    std::optional<int> _count;
    std::optional<CalendarDate> _last;
    int _taken = 0;
    std::vector<CalendarDate> _occurrences;
};

/// Of the candidates of one period, ascending, those that BYSETPOS names.
std::vector<CalendarDate> pickedPositions(const std::vector<CalendarDate>& candidates,
                                          const std::vector<int>& positions);

}  // namespace kt
