#pragma once

#include <cstddef>
#include <vector>

#include "Sync/Host/Publishing/PublishedDate.h"
#include "Sync/Host/Publishing/RecurrenceRule.h"

namespace kt {

/// How much work one series may be: rules come from outside, and some of them never end.
class ExpansionBudget {
public:
    explicit ExpansionBudget(std::size_t steps) : _steps(steps) {}

    /// False, and remembered, when there are not that many left.
    bool take(std::size_t steps = 1);
    std::size_t left() const { return _steps; }
    /// More steps would have found more.
    bool isUsedUp() const { return _isUsedUp; }
    /// Something was left out because of this budget or of a limit of one event.
    bool isExceeded() const { return _isExceeded; }
    void setExceeded() { _isExceeded = true; }

private:
    std::size_t _steps;
    bool _isUsedUp = false;
    bool _isExceeded = false;
};

constexpr int kLastExpandedYear = 9998;  // dates a little beyond it can still be counted with

/// A stretch of wall clocks, the end not in it.
struct ClockRange {
    CalendarDate from;
    CalendarDate to;

    bool contains(const CalendarDate& clock) const { return from <= clock && clock < to; }
};

/// The wall clocks, in the event's own zone, on which a recurring event begins within the range,
/// ascending. The event's own start is the first occurrence, whether the rule hits it or not.
/// Of a rule for hours, minutes or seconds nothing else is given: nobody reads such a month. At
/// most 1500 are given.
std::vector<CalendarDate> occurrencesOfRule(const RecurrenceRule& rule, const PublishedDate& start,
                                            const ClockRange& range, ExpansionBudget& budget);

}  // namespace kt
