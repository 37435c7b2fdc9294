#include <gtest/gtest.h>

#include "Sync/Host/Site/GermanDates.h"

namespace kt {
namespace {

TEST(GermanDates, AreWrittenAsPeopleReadThem)
{
    const Day day = Day::of(2008, 3, 7);
    EXPECT_EQ(longDayTitle(day), "Freitag, 7. März 2008");
    EXPECT_EQ(shortDayText(day), "7.3.2008");
    EXPECT_EQ(isoDayText(day), "2008-03-07");
    EXPECT_EQ(monthTitle({2008, 3}), "März 2008");
    EXPECT_EQ(monthText({2008, 3}), "2008-03");
    EXPECT_EQ(shortWeekdayName(3), "Do");
    EXPECT_EQ(timeText({2008, 3, 7, 9, 5, 0}), "9:05");
}

}  // namespace
}  // namespace kt
