#pragma once

#include <string>
#include <unordered_set>

#include "Sync/Host/Engine/Knowledge.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

/// Local keys of the calendars that the records are, or belong to.
std::unordered_set<std::string> calendarsOf(const SyncRecordList& records);

/// What is known about the store when kept records are replaced.
struct KeptReplacement {
    std::unordered_set<std::string>
        activeCalendars;           // local keys: no longer kept, whatever was kept of them
    bool isMissingUnread = false;  // what is missing in a switched-off calendar was not deleted
};

/// Makes the records of switched-off calendars what is kept. They replace what was kept before as a
/// whole: a record that the user deleted in a switched-off calendar is gone.
void replaceKept(LocalState& state, const Knowledge& knowledge, const SyncRecordList& records,
                 const KeptReplacement& replacement);

/// The records of the store and, of calendars that were kept and are switched on now, what the
/// store lacks. Only for runs in which missing does not mean deleted: what was kept is nowhere
/// else.
SyncRecordList withKeptRecordsThatAreMissing(const SyncRecordList& records, LocalState& state,
                                             const Knowledge& knowledge);

}  // namespace kt
