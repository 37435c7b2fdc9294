#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"
#include "Sync/PlugIns/iCal/Calendar/ParsedCalendars.h"

namespace kt {
namespace {

std::shared_ptr<KTSyncCalendar> calendar()
{
    return std::make_shared<KTSyncCalendar>(nullptr, 0, std::nullopt, std::nullopt);
}

TEST(ParsedCalendars, KeepsTheOrderInWhichKeysWereFirstSet)
{
    ParsedCalendars calendars;
    for (const char* key : {"c", "a", "b", "a"})
        calendars.set(key, calendar());
    std::vector<std::string> keys;
    for (const auto& entry : calendars)
        keys.push_back(entry.first);
    EXPECT_THAT(keys, ::testing::ElementsAre("c", "a", "b"));
}

TEST(ParsedCalendars, GivesAnEarlierCalendarsPlaceToALaterOneOfTheSameKey)
{
    ParsedCalendars calendars;
    const auto later = calendar();
    calendars.set("a", calendar());
    calendars.set("b", calendar());
    calendars.set("a", later);
    EXPECT_EQ(calendars.size(), 2u);
    EXPECT_EQ(calendars.find("a"), later);
    EXPECT_EQ(calendars.begin()->second, later);
}

TEST(ParsedCalendars, FindsNothingUnderAnUnknownKey)
{
    const ParsedCalendars calendars;
    EXPECT_TRUE(calendars.empty());
    EXPECT_EQ(calendars.find("a"), nullptr);
}

}  // namespace
}  // namespace kt
