#pragma once

#include <vector>

#include "Sync/Host/Engine/LocalRecords.h"

namespace kt {

/// Names items that this device knows nothing of by what the server knows them by: the UID they
/// were entered with, or the key that a rewrite made their UID of. That outlives an edit of title
/// or time, of which a device that lost its state knows nothing. So it does a rewrite that gave an
/// item another UID, when an older copy of the store brings the former one back.
void nameByOrigin(std::vector<LocalRecord>& records, const RemoteChanges& remote,
                  const Knowledge& knowledge, LocalState& state);

}  // namespace kt
