#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Host/Engine/HostSyncRecord.h"
#include "Sync/Host/Engine/StandingRecords.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Standing : public testing::Test {
protected:
    Standing()
    {
        for (const char* key : {"eins", "zwei", "drei"}) {
            const auto number = static_cast<std::int64_t>(given.size() + 1);
            given.push_back(std::make_shared<HostSyncRecord>(0, Dictionary{{"Title", key}}, key,
                                                             std::nullopt,
                                                             std::string(kConduitTask)));
            rows.push_back({number, {std::string(kConduitTask), key}, key, {}, "", "", {}});
        }
        tell("/a.ics");
        for (std::size_t index = 0; index < given.size(); ++index) {
            LocalRecord local;
            local.record = given[index];
            local.seen = &rows[index];
            local.place = places.of(*given[index]);
            standing.add(local);
        }
        standing.setOther({{{std::string(kConduitTask), "vier"}}, {4}});
    }

    void tell(const std::string& file)
    {
        report.begin();
        for (const SyncRecord& record : given)
            report.reportIdentity(record, {record->recordKey(), "", "", file});
    }

    SyncRecordList given;
    std::vector<SeenRow> rows;
    HostIdentityReport report;
    StorePlaces places{report, ""};
    StandingRecords standing{7};
};

TEST_F(Standing, LeavesNothingToDoForTheVerySameRecords)
{
    const auto rest = standing.restOf(given, places);
    EXPECT_THAT(rest.records, IsEmpty());
    EXPECT_THAT(rest.knowledge.seen, ElementsAre(4));
    ASSERT_EQ(rest.knowledge.agreed.size(), 1U);
    EXPECT_EQ(rest.knowledge.agreed.front().key, "vier");
}

TEST_F(Standing, LeavesARecordThatOnlyLooksTheSame)
{
    const SyncRecord other =
        std::make_shared<HostSyncRecord>(0, given[1]->record(), given[1]->recordKey(), std::nullopt,
                                         given[1]->conduit());
    const auto rest = standing.restOf({given[0], other, given[2]}, places);
    EXPECT_THAT(rest.records, ElementsAre(other));
    EXPECT_THAT(rest.knowledge.seen, ElementsAre(4, 2));
}

TEST_F(Standing, LeavesWhatIsMissing)
{
    const auto rest = standing.restOf({given[0], given[2]}, places);
    EXPECT_THAT(rest.records, IsEmpty());
    EXPECT_THAT(rest.knowledge.seen, ElementsAre(4, 2));
}

TEST_F(Standing, LeavesWhatStandsInAnotherPlace)
{
    tell("/b.ics");
    EXPECT_EQ(standing.restOf(given, places).records, given);
}

TEST_F(Standing, TakesARecordOnce)
{
    EXPECT_THAT(standing.restOf({given[0], given[0], given[1], given[2]}, places).records,
                ElementsAre(given[0]));
}

}  // namespace
}  // namespace kt::test
