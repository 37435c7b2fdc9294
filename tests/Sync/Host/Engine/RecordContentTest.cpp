#include <gtest/gtest.h>

#include "Sync/Host/Engine/HostSyncRecord.h"
#include "Sync/Host/Engine/RecordContent.h"

namespace kt {
namespace {

TEST(RecordContent, IsEmptyByItself) { EXPECT_TRUE(RecordContent().dictionary().empty()); }

TEST(RecordContent, IsSharedByWhoeverHoldsIt)
{
    const RecordContent first(Dictionary{{"Title", "Zahnarzt"}});
    const RecordContent second = first;
    EXPECT_EQ(&first.dictionary(), &second.dictionary());
    EXPECT_EQ(second["Title"], Value("Zahnarzt"));
}

TEST(RecordContent, IsThatOfARecordAndOutlivesIt)
{
    SyncRecord record = std::make_shared<HostSyncRecord>(0, Dictionary{{"Title", "Zahnarzt"}}, "E",
                                                         "C", "ical-event");
    const RecordContent content(record);
    EXPECT_EQ(&content.dictionary(), &record->record());
    record.reset();
    EXPECT_EQ(content["Title"], Value("Zahnarzt"));
}

TEST(RecordContent, ChangesNobodyElses)
{
    const RecordContent before(Dictionary{{"Title", "Zahnarzt"}, {"Order", 1}});
    RecordContent changed = before;
    changed.set("Order", 2);
    EXPECT_EQ(changed.dictionary(), (Dictionary{{"Title", "Zahnarzt"}, {"Order", 2}}));
    EXPECT_EQ(before["Order"], Value(1));
}

}  // namespace
}  // namespace kt
