#pragma once

#include <vector>

#include "Sync/Host/Engine/HostIdentityReport.h"
#include "Sync/Host/Engine/Knowledge.h"
#include "Sync/Host/Engine/UnreadRecords.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

/// An item of a switched-off calendar that was seen in another calendar before.
struct MovedRecord {
    SyncRecord record;             // as the plug-in gave it, in its new calendar
    const SeenRow* row = nullptr;  // of the knowledge; what it was seen as

    RecordId agreedId() const { return {row->local.conduit, *row->agreedKey}; }
};

/// What moved into calendars that do not take part, by conduit and key. `active` is what is
/// compared, `off` what else the load holds, in the calendars `switchedOff`. Only what the store
/// itself knows the items by counts, where it stands once; an item that was in both places before
/// was not moved.
std::vector<MovedRecord> movedIntoSwitchedOff(const SyncRecordList& active,
                                              const SyncRecordList& off,
                                              const SwitchedOffCalendars& switchedOff,
                                              const StorePlaces& places,
                                              const Knowledge& knowledge);

/// What was kept of switched-off calendars and is read in another calendar now, one where it was
/// not before: it is missing in its own without anybody having lost it. Only what the store itself
/// knows the items by counts, where it stands once.
RecordIdSet movedOutOfSwitchedOff(const SyncRecordList& active, const SyncRecordList& off,
                                  const StorePlaces& places, const Knowledge& knowledge);

}  // namespace kt
