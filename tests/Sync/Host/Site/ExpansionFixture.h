#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Sync/Host/Site/RecurrenceExpansion.h"
#include "tests/Sync/Host/Publishing/PublishingFixture.h"
#include "tests/support/PlatformScope.h"

namespace kt::test {

inline constexpr std::size_t kPlenty = 5'000'000;

inline std::vector<std::string> textsOf(const std::vector<CalendarDate>& clocks)
{
    std::vector<std::string> texts;
    for (const CalendarDate& clock : clocks)
        texts.push_back(dateTimeText(clock));
    return texts;
}

inline ClockRange between(const std::string& from, const std::string& to)
{
    return {clockOf(from + "T000000"), clockOf(to + "T000000")};
}

/// The days, as "0102", of the rule's occurrences within a year or so.
class Expansions : public testing::Test {
protected:
    std::vector<std::string> days(const RecurrenceRule& rule, const std::string& start,
                                  const std::string& from, const std::string& to)
    {
        ExpansionBudget budget(kPlenty);
        std::vector<std::string> days;
        for (const CalendarDate& clock :
             occurrencesOfRule(rule, publishedDate(start), between(from, to), budget))
            days.push_back(clock.descriptionWithCalendarFormat("%m%d"));
        EXPECT_FALSE(budget.isExceeded());
        return days;
    }

    std::vector<std::string> clocks(const RecurrenceRule& rule, const std::string& start,
                                    const std::string& from, const std::string& to)
    {
        ExpansionBudget budget(kPlenty);
        const auto found =
            textsOf(occurrencesOfRule(rule, publishedDate(start), between(from, to), budget));
        EXPECT_FALSE(budget.isExceeded());
        return found;
    }

    static RecurrenceRule rule(RecurrenceRule::Frequency frequency)
    {
        RecurrenceRule rule;
        rule.frequency = frequency;
        return rule;
    }

    PlatformScope platform;
};

}  // namespace kt::test
