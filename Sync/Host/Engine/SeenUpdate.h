#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "Sync/Host/Engine/Knowledge.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

/// One record that the store gives now, and what it stands for.
struct SeenTarget {
    SyncRecord record;
    std::string hash;
    StorePlace place;
    std::optional<std::string> agreedKey;  // nullopt: belongs to no agreed record
    const SeenRow* row = nullptr;          // the row that said so until now
};

/// What becomes of rows that no target replaces.
struct SeenRemainder {
    const std::unordered_set<std::string>&
        keptCalendars;             // local keys: their rows stay as they are
    bool isMissingUnread = false;  // all of them stay: what is missing may come back
    std::unordered_set<const SeenRow*> untouched;  // these stay, too
};

/// Makes the records of the store what was seen; rows that say the same already are not written
/// again.
void moveSeen(LocalState& state, const Knowledge& knowledge, const std::vector<SeenTarget>& targets,
              const SeenRemainder& remainder, std::string_view timezone);

}  // namespace kt
