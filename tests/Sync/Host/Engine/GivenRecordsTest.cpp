#include <string>

#include <gtest/gtest.h>

#include "Sync/Host/Engine/GivenRecords.h"
#include "tests/Sync/Host/Engine/RowsAndRecords.h"

namespace kt::test {
namespace {

class WhatTheStoreGave : public RowsAndRecords {
protected:
    SyncRecord item(const std::string& key) { return given(taskId(key), withUid(key), in("C")); }

    GivenRecords records;
};

TEST_F(WhatTheStoreGave, IsFoundByItsAgreedKeyAndContent)
{
    const SyncRecord local = item("local");
    const SyncRecord same = item("same");
    records.add(taskId("agreed"), local, "hash");
    records.add(taskId("same"), same, "hash");
    EXPECT_EQ(records.find(taskId("agreed"), "hash"), local);
    EXPECT_EQ(records.find(taskId("same"), "hash"), same);
    EXPECT_EQ(records.find(taskId("local"), "hash"), nullptr);
    EXPECT_EQ(records.find(taskId("agreed"), "other"), nullptr);
}

TEST_F(WhatTheStoreGave, IsFoundWithoutItsContent)
{
    const SyncRecord local = item("local");
    records.add(taskId("agreed"), local, "hash");
    EXPECT_EQ(records.find(taskId("agreed")), local);
    EXPECT_EQ(records.find(taskId("local")), nullptr);
    EXPECT_EQ(records.find({std::string(kConduitEvent), "agreed"}), nullptr);
}

TEST_F(WhatTheStoreGave, IsTheFirstOfEachKey)
{
    const SyncRecord first = item("first");
    records.add(taskId("agreed"), first, "hash");
    records.add(taskId("agreed"), item("second"), "hash");
    EXPECT_EQ(records.find(taskId("agreed")), first);
}

TEST_F(WhatTheStoreGave, IsOfACalendarNothingButIt)
{
    const SyncRecord calendar = given(calendarId("local"), folderAt("c"), titled("C"));
    records.add(calendarId("agreed"), calendar, "hash");
    EXPECT_EQ(records.find(calendarId("agreed")), calendar);
    EXPECT_EQ(records.find(calendarId("local")), nullptr);
    EXPECT_EQ(records.find(calendarId("agreed"), "hash"), nullptr);
    EXPECT_EQ(records.find(taskId("agreed")), nullptr);
}

TEST_F(WhatTheStoreGave, IsKnownByKeysThatNobodyElseHolds)
{
    std::string key = "a key that is longer than what a string holds in itself";
    const SyncRecord local = item("local");
    records.add(taskId(key), local, "hash");
    const GivenRecords moved = std::move(records);
    EXPECT_EQ(moved.find(taskId(key)), local);
}

}  // namespace
}  // namespace kt::test
