#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_set>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/HostInterface/KTSyncPluginHelper.h"
#include "Sync/HostInterface/KTSyncRecord.h"
#include "Sync/PlugIns/iCal/Calendar/LoadedStore.h"

namespace kt {

using RecordKeySet = std::unordered_set<std::string>;

/// The bridge between iCal's calendars and the host's sync records. Without state.
class ICalHelper {
public:
    /// Every calendar, group, event and task of the store as a record: each calendar's own first,
    /// then its events, then its tasks. Nullopt when the store could not be read.
    /// The counters go up, they are not reset. `activatedCalendars` (record key to 0 or 1) gains
    /// entries for calendars seen for the first time and for groups, which always take part.
    /// `skippedRecords` takes the records of switched-off calendars and of their items, which are
    /// not counted; `notSelectedCalendars` and `notExpandedGroups` keep how iCal shows them.
    /// What raises costs only itself, or at most its calendar; a foreign object passes.
    /// `loaded`, where given, takes what a careful rewrite compares with; the calendars' items are
    /// dropped then, since their records hold them. Files that stand as `earlier` found them are
    /// not read again, unless they gave losses or hold attachments: the records are those of then.
    static std::optional<SyncRecordList> loadCalendarsWithPluginHelper(
        KTSyncPluginHelper* pluginHelper, std::int32_t& numCalendars, std::int32_t& numEvents,
        std::int32_t& numTasks, Dictionary& activatedCalendars,
        RecordKeySet& calendarRecordKeysToSync, std::int32_t& numSkippedCalendars,
        SyncRecordList& skippedRecords, RecordKeySet& notSelectedCalendars,
        RecordKeySet& notExpandedGroups, LoadedStore* loaded = nullptr,
        const LoadedStore* earlier = nullptr);

    /// Rewrites the whole store from these records, the host's complete local state. False without
    /// records and when the store could not be written. Records that make no calendar or item are
    /// logged and left out, items of a calendar that is not there are left out without a word.
    /// The counters go up, they are not reset. Passes on the Exception of a record that cannot be
    /// taken; nothing has been written by then.
    /// With `loaded`, and a host that asks for careful writing, every text of the store that did
    /// not change, or that could not be read, stays as it is.
    static bool saveCalendars(const std::optional<SyncRecordList>& records,
                              KTSyncPluginHelper* withPluginHelper, std::int32_t& numCalendars,
                              std::int32_t& numEvents, std::int32_t& numTasks,
                              const RecordKeySet& notSelectedCalendars,
                              const RecordKeySet& notExpandedGroups,
                              const LoadedStore* loaded = nullptr);
};

}  // namespace kt
