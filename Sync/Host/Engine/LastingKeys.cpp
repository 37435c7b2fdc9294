#include "Sync/Host/Engine/LastingKeys.h"

#include "Sync/Host/Engine/LocalState.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

std::string lastingCalendarKey(const std::string& statePath, const std::string& localKey)
{
    LocalState state(statePath, StateAccess::readOnly);
    for (const SeenRow& row : state.seenRows()) {
        if (row.local.conduit == kConduitCalendar && row.local.key == localKey && row.agreedKey)
            return *row.agreedKey;
    }
    return localKey;
}

}  // namespace kt
