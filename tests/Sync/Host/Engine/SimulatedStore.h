#pragma once

#include <string>
#include <vector>

#include "Sync/HostInterface/KTSyncRecord.h"
#include "tests/Sync/Host/Engine/HomeModel.h"

namespace kt::test {

/// A calendar store in memory that computes record keys from content, as the real ones do.
class SimulatedStore {
public:
    std::vector<HomeCalendar> calendars;

    /// Null when there is none of that title.
    HomeCalendar* calendar(const std::string& title);

    /// Every calendar's record, each followed by its items' records.
    struct Loaded {
        SyncRecord calendar;
        SyncRecordList items;
        const HomeCalendar* text = nullptr;
        std::vector<const HomeItem*> itemTexts;  // of each item's record
    };
    std::vector<Loaded> load() const;
    /// Replaces everything by what the records say.
    void rewrite(const SyncRecordMap& records);

    /// Paths as the plug-in tells them.
    static std::string folderOf(const HomeCalendar& calendar);
    static std::string fileOf(const HomeCalendar& calendar, const HomeItem& item);

    /// Changes with every rewrite.
    std::string fingerprint() const { return std::to_string(_version); }

private:
    int _version = 0;
};

}  // namespace kt::test
