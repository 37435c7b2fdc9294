#pragma once

#include <unordered_set>
#include <vector>

#include "Sync/Host/Engine/LocalRecords.h"

namespace kt {

/// Where a server was put back and has lost what is agreed, an older copy of a store may have
/// brought that back there under another name. Both are one item, known by what it was entered
/// with: this store's record of it takes the name that it has there. The names that such items were
/// agreed under are returned.
std::unordered_set<RecordId, RecordIdHash> nameWhatWasEnteredAgain(
    std::vector<LocalRecord>& records, const RemoteChanges& remote, const Knowledge& knowledge,
    LocalState& state);

}  // namespace kt
