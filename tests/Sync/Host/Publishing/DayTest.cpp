#include <gtest/gtest.h>

#include "Sync/Host/Publishing/Day.h"

namespace kt {
namespace {

TEST(Day, CountsFromTheEpoch)
{
    EXPECT_EQ(Day::of(1970, 1, 1).number, 0);
    EXPECT_EQ(Day::of(1969, 12, 31).number, -1);
    EXPECT_EQ(Day::of(2000, 3, 1) - Day::of(2000, 2, 28), 2);
    EXPECT_EQ(Day::of(1900, 3, 1) - Day::of(1900, 2, 28), 1);
}

TEST(Day, KnowsItsWeekday)
{
    EXPECT_EQ(Day::of(2007, 12, 24).weekday(), 0);
    EXPECT_EQ(Day::of(1969, 12, 28).weekday(), 6);
    EXPECT_EQ(Day::of(1583, 1, 1).weekday(), 5);
}

struct WeekRow {
    int year, month, day, week;
};
class WeekOfYear : public testing::TestWithParam<WeekRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, WeekOfYear,
                         testing::Values(WeekRow{2007, 12, 31, 1}, WeekRow{2008, 12, 28, 52},
                                         WeekRow{2009, 12, 31, 53}, WeekRow{2010, 1, 3, 53},
                                         WeekRow{2010, 1, 4, 1}, WeekRow{2026, 11, 21, 47}));

TEST_P(WeekOfYear, BelongsToTheYearOfItsThursday)
{
    const WeekRow& row = GetParam();
    EXPECT_EQ(Day::of(row.year, row.month, row.day).weekOfYear(), row.week);
}

TEST(Month, HasItsDays)
{
    const Month month{2008, 2};
    EXPECT_EQ(month.firstDay(), Day::of(2008, 2, 1));
    EXPECT_EQ(month.lastDay(), Day::of(2008, 2, 29));
    EXPECT_EQ(Month::of(Day::of(2008, 2, 29)), month);
}

TEST(Month, IsCountedAcrossYears)
{
    EXPECT_EQ((Month{2007, 12} + 1), (Month{2008, 1}));
    EXPECT_EQ((Month{2008, 1} + -1), (Month{2007, 12}));
    EXPECT_EQ((Month{2008, 1} + 25), (Month{2010, 2}));
}

}  // namespace
}  // namespace kt
