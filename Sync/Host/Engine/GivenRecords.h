#pragma once

#include <deque>
#include <string>
#include <unordered_map>

#include "Sync/Host/Server/RecordId.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

/// Records that the store gave in this run, by what they are agreed as, each with its contentHash:
/// most of a store is as it is agreed, and need not be read from the state as well.
class GivenRecords {
public:
    GivenRecords() = default;
    GivenRecords(GivenRecords&&) = default;
    GivenRecords& operator=(GivenRecords&&) = default;

    /// The first record that is given for an id stays.
    void add(const RecordId& agreedId, const SyncRecord& record, const std::string& hash)
    {
        if (agreedId.conduit == kConduitCalendar) {
            _calendars.try_emplace(agreedId.key, record);
            return;
        }
        if (_records.contains(agreedId))
            return;
        const bool isOwnKey = agreedId.key == record->recordKey();
        _records.try_emplace(RecordIdView{record->conduit(),
                                          isOwnKey ? record->recordKey()
                                                   : _keys.emplace_back(agreedId.key)},
                             Given{record, hash});
    }
    void reserve(std::size_t count) { _records.reserve(count); }

    /// Null when nothing of that content was given for it, and for calendars: what is handed of
    /// them may be put right on the way.
    SyncRecord find(const RecordId& agreedId, const std::string& hash) const
    {
        const auto found = _records.find(agreedId);
        return found != _records.end() && found->second.hash == hash ? found->second.record
                                                                     : nullptr;
    }

    /// Null when nothing was given for it, whatever its content.
    SyncRecord find(const RecordId& agreedId) const
    {
        if (agreedId.conduit == kConduitCalendar) {
            const auto calendar = _calendars.find(agreedId.key);
            return calendar == _calendars.end() ? nullptr : calendar->second;
        }
        const auto found = _records.find(agreedId);
        return found == _records.end() ? nullptr : found->second.record;
    }

private:
    struct Given {
        SyncRecord record;
        std::string hash;
    };
    std::unordered_map<RecordIdView, Given, RecordIdHash> _records;  // named by what is held anyway
    std::deque<std::string> _keys;                                   // that no record bears
    std::unordered_map<std::string, SyncRecord> _calendars;
};

}  // namespace kt
