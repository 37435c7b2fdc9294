#pragma once

#include <string>
#include <string_view>

#include "Sync/HostInterface/KTClassTable.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

/// What the store itself knows a record by. A record key is made of content and changes with it;
/// this does not.
struct KTStoreIdentity {
    std::string uid{};           // of an item, as written; empty without one
    std::string recurrenceId{};  // of a detached occurrence, its iCalDate
    std::string sourceKey{};     // of a calendar or group; empty without one
    std::string file{};          // path: an item's file, a calendar's folder

    friend bool operator==(const KTStoreIdentity&, const KTStoreIdentity&) = default;
};

/// The host's optional class that wants to know which text of the store a record was made from;
/// without it nothing changes.
class KTIdentityReport : public KTHostClass {
public:
    static constexpr std::string_view className = "KTIdentityReport";

    /// Told for every record that loading the store yields, switched-off calendars included, as
    /// soon as it was made. Records of equal keys are told apart by the object.
    virtual void reportIdentity(const SyncRecord& record, const KTStoreIdentity& identity) = 0;
};

}  // namespace kt
