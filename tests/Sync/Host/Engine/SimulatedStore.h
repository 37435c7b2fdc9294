#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "Sync/HostInterface/KTSyncEnhancedDate.h"
#include "Sync/HostInterface/KTSyncRecord.h"
#include "tests/Sync/Host/Engine/HomeModel.h"

namespace kt::test {

using SimulatedItem = HomeItem;
using SimulatedCalendar = HomeCalendar;

/// A calendar store in memory that computes record keys from content, as the real ones do, and
/// gives back after a rewrite only what its layout holds.
class SimulatedStore {
public:
    explicit SimulatedStore(Layout layout = Layout::leopard) : _layout(layout) {}

    std::vector<SimulatedCalendar> calendars;

    /// Null when there is none of that title.
    SimulatedCalendar* calendar(const std::string& title);
    SimulatedItem* item(const std::string& calendarTitle, const std::string& title);
    /// How many items of that title the whole store holds.
    int count(const std::string& title) const;

    /// Every calendar's record, each followed by its items' records.
    struct Loaded {
        SyncRecord calendar;
        SyncRecordList items;
        const SimulatedCalendar* text = nullptr;
        std::vector<const SimulatedItem*> itemTexts;  // of each item's record
    };
    /// What cannot be read gives no record.
    using IsUnread = std::function<bool(const SimulatedCalendar&, const SimulatedItem*)>;
    std::vector<Loaded> load(const IsUnread& isUnread = {}) const;

    /// How a rewrite deals with what is there.
    struct Rewriting {
        std::optional<std::size_t> limit;  // cuts it off after so many calendars, as a kill would
        IsUnread stays;                    // text that cannot be read and is not given up
        std::set<std::string> full;        // titles of items and calendars that are not written
    };
    /// Replaces everything but what stays by what the records say.
    void rewrite(const SyncRecordMap& records, const Rewriting& rewriting);
    void rewrite(const SyncRecordMap& records) { rewrite(records, {}); }

    /// Paths as the plug-in tells them.
    static std::string folderOf(const SimulatedCalendar& calendar);
    std::string fileOf(const SimulatedCalendar& calendar, const SimulatedItem& item) const;
    std::string keyOf(const SimulatedCalendar& calendar) const { return calendarKey(calendar); }

    /// Changes with every rewrite and whenever somebody says so.
    std::string fingerprint() const { return std::to_string(_version); }
    void touch() { ++_version; }
    int rewrites() const { return _rewrites; }
    Layout layout() const { return _layout; }

private:
    std::string calendarKey(const SimulatedCalendar& calendar) const;
    std::optional<std::string> parentKey(const SimulatedCalendar& calendar) const;
    SyncRecord calendarRecord(const SimulatedCalendar& calendar) const;
    void addItems(Loaded& loaded, const IsUnread& isUnread) const;
    void putBack(const std::vector<SimulatedCalendar>& before, const Rewriting& rewriting);

    Layout _layout;
    int _version = 0;
    int _rewrites = 0;
};

}  // namespace kt::test
