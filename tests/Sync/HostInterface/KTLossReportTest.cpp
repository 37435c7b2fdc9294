#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/HostInterface/KTLossReport.h"

namespace kt {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Report : public KTLossReport {
public:
    void reportLoss(const KTLoss& loss) override { losses.push_back(loss); }

    std::vector<KTLoss> losses;
};

/// The report in force, and the table put back that was there before.
class LossReport : public testing::Test {
protected:
    LossReport()
    {
        KTClassTable table;
        table.setClass(KTLossReport::className, &report);
        setHostClassTable(table);
    }
    ~LossReport() override { setHostClassTable(_before); }

    Report report;

private:
    KTClassTable _before = hostClassTable();
};

TEST_F(LossReport, NamesNeitherCalendarNorFileOutsideAllScopes)
{
    reportLoss(KTLoss::Kind::unread, "a");
    EXPECT_THAT(report.losses, ElementsAre(KTLoss{"", "", "a"}));
}

TEST_F(LossReport, NestsItsScopes)
{
    {
        const LossScope calendar("Privat", "");
        reportLoss(KTLoss::Kind::unread, "a");
        {
            const LossScope file("", "a.ics");
            reportLoss(KTLoss::Kind::unread, "b");
            const LossScope other("Arbeit", "b.ics");
            reportLoss(KTLoss::Kind::unread, "c");
        }
        reportLoss(KTLoss::Kind::unread, "d");
    }
    reportLoss(KTLoss::Kind::unread, "e");
    EXPECT_THAT(report.losses,
                ElementsAre(KTLoss{"Privat", "", "a"}, KTLoss{"Privat", "a.ics", "b"},
                            KTLoss{"Arbeit", "b.ics", "c"}, KTLoss{"Privat", "", "d"},
                            KTLoss{"", "", "e"}));
}

TEST_F(LossReport, KeepsItsScopesToTheirThread)
{
    const LossScope scope("Privat", "a.ics");
    std::thread([] { reportLoss(KTLoss::Kind::unread, "a"); }).join();
    EXPECT_THAT(report.losses, ElementsAre(KTLoss{"", "", "a"}));
}

TEST_F(LossReport, IsNotMissedByWhoTells)
{
    setHostClassTable({});
    reportLoss(KTLoss::Kind::unread, "a");
    EXPECT_THAT(report.losses, IsEmpty());
}

}  // namespace
}  // namespace kt
