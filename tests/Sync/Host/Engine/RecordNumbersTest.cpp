#include <cstdint>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

#include "Sync/Host/Engine/HostSyncRecord.h"
#include "Sync/Host/Engine/RecordNumbers.h"

namespace kt {
namespace {

SyncRecord record()
{
    return std::make_shared<HostSyncRecord>(kRecordTypeRecord, Dictionary{}, "K", std::nullopt,
                                            std::string(kConduitTask));
}

TEST(RecordNumbers, KnowRecordsByTheObject)
{
    RecordNumbers numbers;
    std::vector<SyncRecord> records;
    for (std::uint32_t number = 0; number < 1000; ++number) {
        records.push_back(record());
        EXPECT_EQ(numbers.enter(records.back().get(), number), number);
    }
    EXPECT_EQ(numbers.size(), records.size());
    for (std::uint32_t number = 0; number < records.size(); ++number)
        EXPECT_EQ(numbers.find(records[number].get()), number);
    EXPECT_EQ(numbers.find(record().get()), std::nullopt);
}

TEST(RecordNumbers, KeepTheFirstNumberOfARecord)
{
    RecordNumbers numbers;
    const SyncRecord first = record();
    EXPECT_EQ(numbers.find(first.get()), std::nullopt);
    EXPECT_EQ(numbers.enter(first.get(), 7), 7U);
    EXPECT_EQ(numbers.enter(first.get(), 8), 7U);
    EXPECT_EQ(numbers.find(first.get()), 7U);
    EXPECT_EQ(numbers.size(), 1U);
}

}  // namespace
}  // namespace kt
