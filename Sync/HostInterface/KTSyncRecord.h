#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/HostInterface/KTClassTable.h"

namespace kt {

inline constexpr std::string_view kConduitCalendar = "ical-calendar";
inline constexpr std::string_view kConduitEvent = "ical-event";
inline constexpr std::string_view kConduitTask = "ical-task";

/// What recordType says.
inline constexpr int kRecordTypeRecord = 0;
inline constexpr int kRecordTypeTombstone = 1;

/// One record exchanged with the sync engine. Immutable and shared.
class KTSyncRecord : public Object {
public:
    virtual const Dictionary& record() const = 0;
    virtual int recordType() const = 0;
    virtual const std::string& recordKey() const = 0;
    /// An item's calendar, a calendar's group; nullopt at top level.
    virtual const std::optional<std::string>& recordParentKey() const = 0;
    virtual const std::string& conduit() const = 0;
};

using SyncRecord = std::shared_ptr<const KTSyncRecord>;
using SyncRecordList = std::vector<SyncRecord>;
/// What a comparison gives: lists that the plug-in may thin out before they are pushed.
using SyncResult = std::vector<SyncRecordList>;
/// Record key and record, in the host's order (by conduit, then key).
using SyncRecordMap = std::vector<std::pair<std::string, SyncRecord>>;

/// The class object of KTSyncRecord.
class KTSyncRecordClass : public KTHostClass {
public:
    static constexpr std::string_view className = "KTSyncRecord";

    /// Null when the host refuses the record, for instance for a missing field.
    virtual SyncRecord syncRecordWithRecordType(int recordType, Dictionary record,
                                                const std::optional<std::string>& key,
                                                const std::optional<std::string>& parentKey,
                                                const std::string& conduit) const = 0;
};

}  // namespace kt
