#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Sync/Host/Engine/LocalRecords.h"
#include "Sync/Host/Engine/UnreadTexts.h"
#include "tests/Sync/Host/Engine/RowsAndRecords.h"

namespace kt::test {
namespace {

class RecordsOfARun : public RowsAndRecords {
protected:
    const LocalRecord& load(const SyncRecord& record)
    {
        const UnreadTexts texts({}, places, knowledge);
        const SwitchedOffCalendars off;
        std::vector<LocalRecord> loaded = loadedRecords({record});
        takePlaces(loaded, places);
        return local
            .emplace(std::move(loaded), knowledge, RemoteChanges(), state,
                     LocalRecords::Base::agreed, StoreReading{places, texts, off})
            .all()
            .front();
    }
    static Dictionary changed(Dictionary record)
    {
        record.set("Notes", "später");
        return record;
    }

    Knowledge knowledge{state};
    std::optional<LocalRecords> local;
};

TEST_F(RecordsOfARun, AreWhatTheyWereByTheirPlaces)
{
    agree(taskId("agreed"), in("C"));
    see(taskId("former"), "agreed", withUid("u"), in("C"));
    const LocalRecord& record = load(given(taskId("now"), withUid("u"), changed(in("C"))));
    EXPECT_EQ(record.agreedId, taskId("agreed"));
    EXPECT_EQ(record.seen, &knowledge.seen().front());
    EXPECT_TRUE(local->isRowTaken(*record.seen));
}

TEST_F(RecordsOfARun, BelongToNobodyAsLongAsTheyAreAsARewriteBroughtThem)
{
    see(taskId("T"), std::nullopt, withUid("u"), in("C"));
    const LocalRecord& record = load(given(taskId("T"), withUid("u"), in("C")));
    EXPECT_TRUE(record.isLeftOver);
    EXPECT_EQ(local->recordAgreedAs(taskId("T")), nullptr);
}

TEST_F(RecordsOfARun, AreNewWhereSomebodyEditsWhatBelongedToNobody)
{
    see(taskId("T"), std::nullopt, withUid("u"), in("C"));
    const LocalRecord& record = load(given(taskId("T"), withUid("u"), changed(in("C"))));
    EXPECT_FALSE(record.isLeftOver);
    EXPECT_EQ(record.seen, nullptr);
    EXPECT_EQ(local->recordAgreedAs(taskId("T")), &record);
}

}  // namespace
}  // namespace kt::test
