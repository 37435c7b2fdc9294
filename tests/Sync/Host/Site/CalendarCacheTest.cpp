#include <gtest/gtest.h>

#include "Sync/Host/Site/CalendarCache.h"
#include "tests/Sync/Host/Publishing/PublishingFixture.h"
#include "tests/support/PlatformScope.h"

namespace kt::test {
namespace {

class CalendarCaches : public testing::Test {
protected:
    std::shared_ptr<const CachedCalendar> get(const std::string& key = "C1")
    {
        const auto session = server.open();
        return cache.calendar(*session, key);
    }

    PlatformScope platform;
    FilledServer server;
    CalendarCache cache{2};
};

TEST_F(CalendarCaches, ReadACalendarOnce)
{
    server.share("EVENTS  ");
    const auto first = get();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(get(), first);
}

TEST_F(CalendarCaches, ReadItAgainWhenSomethingHasChanged)
{
    server.share("EVENTS  ");
    const auto first = get();
    server.put("ical-event", "E1", eventRecord("Neu", "20071224"));
    const auto second = get();
    EXPECT_NE(second, first);
    EXPECT_EQ(second->calendar.events.size(), 1U);
    server.share("EVENTS  ANON");
    EXPECT_NE(get(), second);
}

TEST_F(CalendarCaches, HaveNothingThatIsNotPublic)
{
    EXPECT_EQ(get(), nullptr);
    server.share("EVENTS  ");
    const auto held = get();
    server.unshare();
    EXPECT_EQ(get(), nullptr);
    EXPECT_EQ(held->calendar.head.title, "Verein");  // a page under way keeps what it has
}

TEST_F(CalendarCaches, KeepNoMoreThanTheirCapacity)
{
    for (const char* key : {"C2", "C3"}) {
        server.put("ical-calendar", key, calendarRecord(key));
        server.share("EVENTS  ", key);
    }
    server.share("EVENTS  ");
    const auto first = get();
    const auto second = get("C2");
    EXPECT_EQ(get(), first);
    get("C3");
    EXPECT_EQ(get(), first);
    EXPECT_NE(get("C2"), second);
}

}  // namespace
}  // namespace kt::test
