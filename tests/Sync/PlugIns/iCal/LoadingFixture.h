#pragma once

#include "Sync/PlugIns/iCal/ICalHelper.h"
#include "tests/Sync/PlugIns/iCal/StoreFixture.h"

namespace kt::test {

/// Loads the store of the temporary home into records.
class Loading : public StoreFixture {
protected:
    /// "conduit Title" of each record, in order.
    static std::vector<std::string> titles(const SyncRecordList& records)
    {
        std::vector<std::string> all;
        for (const SyncRecord& record : records)
            all.push_back(record->conduit() + " " + record->record()["Title"].description());
        return all;
    }
    std::optional<SyncRecordList> load()
    {
        return ICalHelper::loadCalendarsWithPluginHelper(&host, numCalendars, numEvents, numTasks,
                                                         activated, keysToSync, numSkippedCalendars,
                                                         skipped, notSelected, notExpanded);
    }
    SyncRecordList loaded()
    {
        auto records = load();
        EXPECT_TRUE(records.has_value());
        return records.value_or(SyncRecordList{});
    }
    /// The record key of the calendar or group with that title.
    static std::string keyOf(const std::string& title, std::int32_t type = kCalendarTypeNode)
    {
        KTSyncCalendar calendar(nullptr, type, std::nullopt, std::nullopt);
        calendar.setTitle(title);
        return *calendar.recordKey();
    }
    void refuse(const std::string& title)
    {
        recordClass.accepts = [title](const Dictionary& record, const std::string&) {
            return record["Title"] != Value(title);
        };
    }

    std::int32_t numCalendars = 0;
    std::int32_t numEvents = 0;
    std::int32_t numTasks = 0;
    std::int32_t numSkippedCalendars = 0;
    Dictionary activated;
    RecordKeySet keysToSync;
    SyncRecordList skipped;
    RecordKeySet notSelected;
    RecordKeySet notExpanded;
};

}  // namespace kt::test
