#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Sync/Host/Engine/HostIdentityReport.h"
#include "Sync/Host/Engine/HostSyncRecord.h"

namespace kt {
namespace {

SyncRecord record(std::string_view conduit, const std::string& key)
{
    return std::make_shared<HostSyncRecord>(0, Dictionary{}, key, std::nullopt,
                                            std::string(conduit));
}

TEST(HostIdentityReport, TellsRecordsOfOneKeyApart)
{
    HostIdentityReport report;
    report.begin();
    const SyncRecord first = record(kConduitTask, "T");
    const SyncRecord second = record(kConduitTask, "T");
    report.reportIdentity(first, {"uid-1", "", "", "/home/1.ics"});
    report.reportIdentity(second, {"uid-2", "", "", "/home/2.ics"});
    ASSERT_TRUE(report.identityOf(*first));
    EXPECT_EQ(report.identityOf(*first)->uid, "uid-1");
    EXPECT_EQ(report.identityOf(*second)->uid, "uid-2");
    EXPECT_FALSE(report.identityOf(*record(kConduitTask, "T")));
}

TEST(HostIdentityReport, GivesFilesOfManyFoldersAsTheyWereTold)
{
    HostIdentityReport report;
    report.begin();
    const std::vector<std::string> files{"/a/1.ics", "/a/2.ics", "/b/1.ics", "/a/1.ics",
                                         "/a",       "/",        "1.ics",    ""};
    std::vector<SyncRecord> told;
    for (const std::string& file : files) {
        told.push_back(record(kConduitTask, "T"));
        report.reportIdentity(told.back(), {"uid", "20071224", "source", file});
    }
    for (std::size_t index = 0; index < files.size(); ++index)
        EXPECT_EQ(report.identityOf(*told[index]),
                  (KTStoreIdentity{"uid", "20071224", "source", files[index]}));
}

TEST(HostIdentityReport, TakesWhatItIsToldLast)
{
    HostIdentityReport report;
    report.begin();
    const SyncRecord first = record(kConduitTask, "T");
    report.reportIdentity(first, {"former", "", "", "/a/1.ics"});
    report.reportIdentity(record(kConduitTask, "T"), {});
    report.reportIdentity(first, {"now", "", "", "/b/2.ics"});
    EXPECT_EQ(report.size(), 2U);
    EXPECT_EQ(report.identityOf(*first), (KTStoreIdentity{"now", "", "", "/b/2.ics"}));
}

TEST(HostIdentityReport, KnowsTheCalendarsOfTheLoad)
{
    HostIdentityReport report;
    report.begin();
    report.reportIdentity(record(kConduitCalendar, "C"), {});
    report.reportIdentity(record(kConduitTask, "T"), {});
    EXPECT_TRUE(report.hasCalendar("C"));
    EXPECT_FALSE(report.hasCalendar("T"));
}

TEST(HostIdentityReport, KeepsRecordsOnlyWhileARunIsOn)
{
    HostIdentityReport report;
    const SyncRecord told = record(kConduitTask, "T");
    report.reportIdentity(told, {});
    EXPECT_EQ(told.use_count(), 1);
    report.begin();
    report.reportIdentity(told, {});
    EXPECT_EQ(told.use_count(), 2);
    report.end();
    EXPECT_EQ(told.use_count(), 1);
    EXPECT_TRUE(report.empty());
}

TEST(StorePlaces, AreRelativeToTheHome)
{
    HostIdentityReport report;
    report.begin();
    const SyncRecord told = record(kConduitTask, "T");
    report.reportIdentity(told, {"uid", "", "", "/home/anna/Library/a.ics"});
    EXPECT_EQ(StorePlaces(report, "/home/anna").of(*told), (StorePlace{"uid", "Library/a.ics"}));
    EXPECT_EQ(StorePlaces(report, "/home/ann").of(*told).file, "/home/anna/Library/a.ics");
    EXPECT_EQ(StorePlaces(report, "").relative("/x/y.calendar/"), "/x/y.calendar");
    report.reportIdentity(told, {"", "", "key", "/home/anna/Library/y.calendar/"});
    EXPECT_EQ(StorePlaces(report, "/home/anna/").of(*told).file, "Library/y.calendar");
    EXPECT_EQ(StorePlaces(report, "/home/anna").of(*record(kConduitTask, "T")), StorePlace{});
}

}  // namespace
}  // namespace kt
