#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "Sync/Host/Publishing/Day.h"
#include "Sync/Host/Publishing/RecurrenceRule.h"

namespace kt {

/// The periods of a rule that repeats every day or less often: every day, week, month or year that
/// its interval hits, counted from the one with the start.
class RulePeriods {
public:
    struct Period {
        Day first;
        int length;  // days
    };

    RulePeriods(const RecurrenceRule& rule, Day start);

    /// Nullopt beyond the year 9999.
    std::optional<Period> at(std::int64_t index) const;
    /// One that is not behind the day; 0 for a day before the start.
    std::int64_t indexBefore(Day day) const;

private:
    RecurrenceRule::Frequency _frequency;
    std::int64_t _interval;
    Day _start;  // of the first period
};

/// On which days a rule hits. All its conditions on days have to hold at once; what the rule does
/// not say, the start does.
class RuleDays {
public:
    RuleDays(RecurrenceRule rule, Day start);

    bool contain(Day day) const;

private:
    bool hasWeekNumber(Day day) const;
    bool hasWeekday(Day day, const CalendarDate& date) const;

    RecurrenceRule _rule;
};

}  // namespace kt
