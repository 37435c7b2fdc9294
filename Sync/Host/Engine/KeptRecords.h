#pragma once

#include <string>
#include <unordered_set>

#include "Sync/Host/Engine/KeptNames.h"
#include "Sync/Host/Engine/Knowledge.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

/// Local keys of the calendars that the records are, or belong to.
std::unordered_set<std::string> calendarsOf(const SyncRecordList& records);

/// Local key of the calendar that a kept record is, or belongs to.
const std::string& calendarOf(const KeptRow& row);

/// Those of the records that are, or belong to, one of the calendars.
SyncRecordList recordsOfCalendars(const SyncRecordList& records,
                                  const std::unordered_set<std::string>& calendars);

/// Makes the records of switched-off calendars what is kept, under the names given. They replace
/// what was kept before as a whole, but for what `stays`: a record that the user deleted in a
/// switched-off calendar is gone.
void replaceKept(LocalState& state, const Knowledge& knowledge, const SyncRecordList& records,
                 const KeptNames& names, const RecordIdSet& stays, const StorePlaces& places);

}  // namespace kt
