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
