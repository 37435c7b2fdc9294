#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "Sync/Host/Engine/Knowledge.h"
#include "Sync/Host/Engine/LocalRecords.h"
#include "Sync/Host/Engine/RecordNumbers.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

/// What a session found in the store as it was seen, and left so. Where a rewrite follows, and the
/// store gives the very same record after it, nothing is to be settled for it: most of a store.
class StandingRecords {
public:
    StandingRecords() = default;
    /// `stateVersion` is that of the state after the session (LocalState::versionOfOthers).
    explicit StandingRecords(std::int64_t stateVersion) : _stateVersion(stateVersion) {}

    /// A record that equals its row.
    void add(const LocalRecord& local);
    /// What the state has to say of everything else.
    void setOther(KnowledgePart other) { _other = std::move(other); }

    bool empty() const { return _records.empty(); }
    std::int64_t stateVersion() const { return _stateVersion; }

    /// What is to be settled after all.
    struct Rest {
        SyncRecordList records;
        KnowledgePart knowledge;
    };
    Rest restOf(const SyncRecordList& given, const StorePlaces& places) const;

private:
    struct Standing {
        SyncRecord record;  // held, so that no other comes to stand in its place
        std::int64_t seenRow = 0;
        std::size_t place = 0;  // hash of it
    };

    KnowledgePart _other;
    std::int64_t _stateVersion = 0;
    std::vector<Standing> _records;
    RecordNumbers _numbers;  // among them
};

}  // namespace kt
