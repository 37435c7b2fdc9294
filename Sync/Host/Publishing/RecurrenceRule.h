#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/Host/Publishing/PublishedDate.h"

namespace kt {

/// A recurrence rule that others can be shown (RFC 5545, 3.3.10): what a record may carry unchecked
/// is checked here once, so that nothing else can stand in it than what such a rule is made of.
struct RecurrenceRule {
    enum class Frequency { secondly, minutely, hourly, daily, weekly, monthly, yearly };
    struct Weekday {
        int day = 0;      // 0 Monday to 6 Sunday
        int ordinal = 0;  // -53 to 53; 0 for every such day

        friend bool operator==(const Weekday&, const Weekday&) = default;
    };

    Frequency frequency = Frequency::daily;
    int interval = 1;                    // from 1 on
    std::optional<int> count;            // from 1 on
    std::optional<PublishedDate> until;  // not beside a count
    std::vector<int> seconds;            // 0 to 60
    std::vector<int> minutes;            // 0 to 59
    std::vector<int> hours;              // 0 to 23
    std::vector<int> monthDays;          // 1 to 31, or from the month's end -1 to -31
    std::vector<int> yearDays;           // 1 to 366, or -1 to -366
    std::vector<int> weekNumbers;        // 1 to 53, or -1 to -53
    std::vector<int> months;             // 1 to 12
    std::vector<int> positions;          // 1 to 366, or -1 to -366
    std::vector<Weekday> weekdays;
    int weekStart = 0;  // 0 Monday to 6 Sunday

    /// Repeats by the hour, minute or second.
    bool isSubDaily() const { return frequency < Frequency::daily; }

    /// From the sub-dictionary of a sync record. Parts out of range, and those that the frequency
    /// forbids, are left out; nullopt when there is no such frequency, or when a list has nothing
    /// left.
    static std::optional<RecurrenceRule> fromRecord(const Dictionary& record);
    /// The text behind "RRULE:", for an event with that start.
    std::string text(const PublishedDate& start) const;
};

}  // namespace kt
