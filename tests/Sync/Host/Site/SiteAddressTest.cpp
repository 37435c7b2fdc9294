#include <string>

#include <gtest/gtest.h>

#include "Sync/Host/Site/SiteAddress.h"

namespace kt {
namespace {

using Kind = SiteAddress::Kind;
using Refusal = SiteAddress::Refusal;

struct Row {
    std::string target;
    Kind kind;
    std::string key;
};
class SiteAddresses : public testing::TestWithParam<Row> {};
INSTANTIATE_TEST_SUITE_P(Rows, SiteAddresses,
                         testing::Values(Row{"/", Kind::root, ""},
                                         Row{"/vl/calendar/", Kind::root, ""},
                                         Row{"/vl/calendar", Kind::listing, ""},
                                         Row{"/vl/calendar?x=1", Kind::listing, ""},
                                         Row{"/vl/calendar.css", Kind::styleSheet, ""},
                                         Row{"/vl/calendar/0a1b", Kind::calendar, "0a1b"},
                                         Row{"/vl/calendar/0a%31b-2", Kind::calendar, "0a1b-2"},
                                         Row{"/vl/calendar/0a1b.ics", Kind::calendarFile, "0a1b"},
                                         Row{"/vl/calendar/a+b", Kind::calendar, "a+b"},
                                         Row{"/vl/calendar/..x", Kind::calendar, "..x"},
                                         Row{"http://x/vl/calendar", Kind::listing, ""},
                                         Row{"HTTPS://x:80/vl/calendar/a", Kind::calendar, "a"},
                                         Row{"http://x", Kind::root, ""},
                                         Row{"http://x?y", Kind::root, ""}));

TEST_P(SiteAddresses, StandForWhatTheSiteHas)
{
    const auto result = SiteAddress::fromTarget(GetParam().target);
    ASSERT_TRUE(result.address.has_value());
    EXPECT_EQ(result.address->kind, GetParam().kind);
    EXPECT_EQ(result.address->key, GetParam().key);
}

struct RefusedRow {
    std::string target;
    Refusal refusal;
};
class RefusedSiteAddresses : public testing::TestWithParam<RefusedRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, RefusedSiteAddresses,
    testing::Values(RefusedRow{"", Refusal::malformed},
                    RefusedRow{"vl/calendar", Refusal::malformed},
                    RefusedRow{"http:///vl/calendar", Refusal::malformed},
                    RefusedRow{"http:/vl/calendar", Refusal::malformed},
                    RefusedRow{"ftp://x/vl/calendar", Refusal::malformed},
                    RefusedRow{"http://x//vl/calendar", Refusal::unknown},
                    RefusedRow{"*", Refusal::malformed},
                    RefusedRow{"/vl/calendar#a", Refusal::malformed},
                    RefusedRow{"/vl/calendar/%", Refusal::malformed},
                    RefusedRow{"/vl/calendar/%zz", Refusal::malformed},
                    RefusedRow{"/vl/calendar/a%00b", Refusal::malformed},
                    RefusedRow{"/vl/calendar/%0d%0ax", Refusal::malformed},
                    RefusedRow{"/vl/calendar/%FF", Refusal::malformed},
                    RefusedRow{"/vl/calendar/a?month=%", Refusal::malformed},
                    RefusedRow{"/etc/passwd", Refusal::unknown},
                    RefusedRow{"/vl/calendar/..", Refusal::unknown},
                    RefusedRow{"/vl/calendar/.", Refusal::unknown},
                    RefusedRow{"/vl/calendar/%2e%2e", Refusal::unknown},
                    RefusedRow{"/vl/calendar/../calendar", Refusal::unknown},
                    RefusedRow{"/vl/calendar/a/b", Refusal::unknown},
                    RefusedRow{"/vl/calendar/a%2Fb", Refusal::unknown},
                    RefusedRow{"/vl/calendar/..%2f..%2fetc%2fpasswd", Refusal::unknown},
                    RefusedRow{"/vl/calendar//", Refusal::unknown},
                    RefusedRow{"//vl/calendar", Refusal::unknown},
                    RefusedRow{"/vl/calendar/.ics", Refusal::unknown},
                    RefusedRow{"/vl/calendar/...ics", Refusal::unknown},
                    RefusedRow{"/vl/calendar/" + std::string(256, 'a'), Refusal::unknown},
                    RefusedRow{"/vl/calendars", Refusal::unknown},
                    RefusedRow{"/VL/calendar", Refusal::unknown}));

TEST_P(RefusedSiteAddresses, AreMalformedOrUnknown)
{
    const auto result = SiteAddress::fromTarget(GetParam().target);
    EXPECT_FALSE(result.address.has_value());
    EXPECT_EQ(result.refusal, GetParam().refusal);
}

TEST(SiteAddress, CarriesWhatAFormSends)
{
    const auto result =
        SiteAddress::fromTarget("/vl/calendar/a?utm=x&month=2007-12&zone=Europe%2FBerlin&zone=b");
    EXPECT_EQ(result.address->month, "2007-12");
    EXPECT_EQ(result.address->zone, "Europe/Berlin");
    EXPECT_EQ(SiteAddress::fromTarget("/vl/calendar/a?month").address->month, "");
    EXPECT_EQ(SiteAddress::fromTarget("/vl/calendar/a").address->zone, std::nullopt);
}

}  // namespace
}  // namespace kt
