#pragma once

#include <vector>

#include "Sync/Host/Engine/LocalRecords.h"

namespace kt {

/// Names new items that are agreed, but were never seen, by their content. A calendar can come from
/// the server while it is switched off here: no run sees its items until it is switched on, and
/// then under keys of their content, which others may have edited.
void nameWhatWasNeverSeen(std::vector<LocalRecord>& records, const Knowledge& knowledge,
                          LocalState& state);

}  // namespace kt
