#pragma once

#include <string>
#include <unordered_map>
#include <unordered_set>

#include "Sync/Host/Engine/KeptNames.h"
#include "Sync/Host/Engine/Knowledge.h"
#include "Sync/Host/Engine/SwitchedOffCalendars.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

/// Local key of the calendar that a kept record is, or belongs to.
const std::string& calendarOf(const KeptRow& row);

/// Those of the records that are, or belong to, one of the calendars.
SyncRecordList recordsOfCalendars(const SyncRecordList& records,
                                  const std::unordered_set<std::string>& calendars);

/// Local keys of calendars by what they were when they were kept.
using CalendarKeysNow = std::unordered_map<std::string, std::string>;

/// The calendars among the records that something is kept of: where they stand goes before their
/// keys.
CalendarKeysNow calendarKeysNow(const SyncRecordList& records, const StorePlaces& places,
                                const Knowledge& knowledge);

/// What the records of switched-off calendars are kept as.
struct NewlyKept {
    const SyncRecordList& records;
    const KeptNames& names;
    const RecordIdSet& stays;  // what was kept before and is not among them
    const CalendarKeysNow& calendarKeys;
    const SwitchedOffCalendars& calendars;
    const StorePlaces& places;
};

/// Makes the records of switched-off calendars what is kept. They replace what was kept before as a
/// whole, but for what stays: a record that the user deleted in a switched-off calendar is gone.
void replaceKept(LocalState& state, const Knowledge& knowledge, const NewlyKept& kept);

}  // namespace kt
