#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Sync/Host/Engine/HandedState.h"
#include "Sync/Host/Engine/KeptNames.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

/// What a store gives back after a rewrite. Nothing is owned.
struct StoreAfterRewrite {
    const SyncRecordList& records;  // of calendars that take part ...
    const std::vector<std::optional<std::string>>&
        agreedKeys;                     // ... and what each was handed out as
    const SyncRecordList& keptRecords;  // of switched-off calendars ...
    const KeptNames& keptNames;         // ... and what each is kept under
    const StorePlaces& places;
};

/// What is to be named (title and calendar, in German) of each record that was handed out and does
/// not come back. Empty when all is there.
///
/// Left out is what no store of that layout gives back: items of birthday calendars, and of no
/// calendar; an event that is a copy of another one in its calendar; a calendar of the title and
/// type of another one, with its items; what was told as curtailed (`losses` are those of the run
/// that rewrote the store). A record of the store that belongs to nothing stems from something that
/// was handed out, and stands for one of its kind that is missing.
std::vector<std::string> faultsOfRewrite(const std::vector<HandedRecord>& handed,
                                         const StoreAfterRewrite& store,
                                         const std::vector<KTLoss>& losses);

}  // namespace kt
