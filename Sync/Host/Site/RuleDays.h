#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <functional>
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

/// Numbers up to `most`, counted from the beginning or, negative, from the end of what they count.
template <int most>
class NumberSet {
public:
    explicit NumberSet(const std::vector<int>& numbers)
    {
        for (const int number : numbers)
            add(number);
    }
    NumberSet() = default;

    void add(int number) { _numbers.set(static_cast<std::size_t>(number + most)); }
    bool isEmpty() const { return _numbers.none(); }
    /// Whether the set names the number, of 1 to `size`.
    bool names(int number, int size) const
    {
        return _numbers.test(static_cast<std::size_t>(number + most)) ||
               _numbers.test(static_cast<std::size_t>(number - size - 1 + most));
    }
    /// The same, and every number where nothing is named.
    bool allows(int number, int size) const { return isEmpty() || names(number, size); }

private:
    std::bitset<2 * most + 1> _numbers;
};

/// On which days a rule hits. All its conditions on days have to hold at once; what a rule for days
/// and longer does not say, the start does.
class RuleDays {
public:
    RuleDays(RecurrenceRule rule, Day start);

    bool contain(Day day) const;

    /// Calls `found` with the days from `first` to before `end`, ascending, for as long as it says
    /// true, and `step` before each piece of work: a month that counts, a day that may. False when
    /// either said no.
    bool each(Day first, Day end, const std::function<bool()>& step,
              const std::function<bool(Day)>& found) const;

private:
    bool eachOfMonth(Day first, Day end, const std::function<bool()>& step,
                     const std::function<bool(Day)>& found) const;
    bool hasWeekNumber(Day day) const;
    bool hasWeekday(Day day, const CalendarDate& date) const;

    struct Weekday {
        bool isWanted = false;   // every such day
        NumberSet<53> ordinals;  // or some
    };

    RecurrenceRule::Frequency _frequency;
    int _weekStart;
    NumberSet<31> _monthDays;
    NumberSet<366> _yearDays;
    NumberSet<53> _weekNumbers;
    NumberSet<12> _months;
    bool _hasWeekdays = false;
    std::array<Weekday, 7> _weekdays;
};

}  // namespace kt
