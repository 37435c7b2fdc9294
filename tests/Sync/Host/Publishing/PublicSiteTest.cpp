#include <gtest/gtest.h>

#include "Sync/Host/Publishing/PublicSite.h"

namespace kt {
namespace {

PublicSite site(std::string listen, int port, std::optional<std::string> address = {})
{
    return {std::move(listen), port, std::move(address)};
}

TEST(PublicSite, IsFoundWhereItListens)
{
    EXPECT_EQ(PublicSite().url(), "http://127.0.0.1:8080");
    EXPECT_EQ(site("::1", 81).url(), "http://[::1]:81");
}

TEST(PublicSite, IsFoundUnderTheNameThatItIsGiven)
{
    EXPECT_EQ(site("127.0.0.1", 8080, "https://kalender.example").url(),
              "https://kalender.example");
    EXPECT_EQ(site("127.0.0.1", 8080, "https://kalender.example//").url(),
              "https://kalender.example");
}

TEST(PublicSite, GivesACalendarOnePartOfThePath)
{
    EXPECT_EQ(pathOfCalendar("0a1b-2"), "/vl/calendar/0a1b-2");
    EXPECT_EQ(pathOfCalendar("../x"), "/vl/calendar/..%2Fx");
}

}  // namespace
}  // namespace kt
