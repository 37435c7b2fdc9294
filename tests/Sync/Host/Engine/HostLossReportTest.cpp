#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Host/Engine/HostLossReport.h"
#include "tests/support/HostClassesScope.h"

namespace kt {
namespace {

using testing::ElementsAre;

TEST(HostLossReport, KeepsEachLossOnceInTheOrderTold)
{
    HostLossReport report;
    report.reportLoss({"Privat", "/b.ics", "unlesbar"});
    report.reportLoss({"Privat", "/a.ics", "unlesbar"});
    report.reportLoss({"Privat", "/b.ics", "unlesbar"});
    EXPECT_THAT(report.losses(), ElementsAre(KTLoss{"Privat", "/b.ics", "unlesbar"},
                                             KTLoss{"Privat", "/a.ics", "unlesbar"}));
}

TEST(HostLossReport, TellsLossesApartByAllThatIsTold)
{
    HostLossReport report;
    KTLoss loss{"Privat", "/a.ics", "unlesbar"};
    report.reportLoss(loss);
    loss.kind = KTLoss::Kind::thinned;
    report.reportLoss(loss);
    loss.uid = "uid";
    report.reportLoss(loss);
    loss.digest = "digest";
    report.reportLoss(loss);
    loss.calendarKey = "C";
    report.reportLoss(loss);
    EXPECT_EQ(report.losses().size(), 5U);
    EXPECT_EQ(report.lossesOfKind(KTLoss::Kind::thinned).size(), 4U);
    EXPECT_TRUE(report.hasKind(KTLoss::Kind::unread));
    EXPECT_FALSE(report.hasKind(KTLoss::Kind::unsafe));
}

TEST(HostLossReport, CountsRemarksBeyondItsBoundButKeepsAllElse)
{
    HostLossReport report;
    KTLoss remark{"Privat", "", "Parameter"};
    remark.kind = KTLoss::Kind::thinned;
    for (std::size_t number = 0; number < HostLossReport::kMostRemarks + 2; ++number) {
        remark.file = std::to_string(number);
        report.reportLoss(remark);
    }
    report.reportLoss({"Privat", "/a.ics", "unlesbar"});
    EXPECT_EQ(report.losses().size(), HostLossReport::kMostRemarks + 1);
    EXPECT_EQ(report.remarksLeftOut(), 2U);
    report.clear();
    EXPECT_EQ(report.remarksLeftOut(), 0U);
}

TEST(HostLossReport, StartsAfreshWhenCleared)
{
    HostLossReport report;
    report.reportLoss({"Privat", "/a.ics", "unlesbar"});
    report.clear();
    EXPECT_TRUE(report.empty());
    report.reportLoss({"Privat", "/a.ics", "unlesbar"});
    EXPECT_EQ(report.losses().size(), 1U);
}

TEST(HostLossReport, HearsWhatIsToldThroughTheClassTable)
{
    HostClassesScope classes;
    {
        LossScope scope("Privat", "/a.ics");
        reportLoss(KTLoss::Kind::unread, "Datum unlesbar");
    }
    EXPECT_THAT(classes.losses(), ElementsAre(KTLoss{"Privat", "/a.ics", "Datum unlesbar"}));
}

TEST(HostClassesScope, PutsTheTableBack)
{
    KTHostClass* before = NSClassFromString("KTSyncRecord");
    {
        HostClassesScope classes;
        EXPECT_NE(hostClass<KTSyncRecordClass>(), nullptr);
    }
    EXPECT_EQ(NSClassFromString("KTSyncRecord"), before);
}

}  // namespace
}  // namespace kt
