#pragma once

#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "Sync/Host/Engine/LocalRecords.h"
#include "Sync/Host/Engine/SwitchedOffCalendars.h"

namespace kt {

/// Titles of calendars that stand in the store and keep them in this run: those that take part, are
/// switched off, or are known and cannot be read at present. Of two calendars of one title and type
/// a store gives only one. The other would be hidden behind it, and what is said of it elsewhere,
/// its other title above all, could never come.
class TakenTitles {
public:
    /// What a store holds that is about to be compared. Nothing is owned.
    struct Store {
        const LocalRecords& compared;
        const SyncRecordList& off;  // what the load holds beside that
        const StoreReading& reading;
    };
    /// Nothing of the arguments is kept.
    TakenTitles(const Store& store, const RemoteChanges& remote, const Knowledge& knowledge,
                LocalState& state);

    /// Whether a calendar of the server, which has another title here or is not here, has the title
    /// of another one.
    bool isAnothers(const RecordId& agreedId, const Dictionary& calendar) const;

private:
    void addCompared(const LocalRecords& records, const RemoteChanges& remote);
    void addUnread(const StoreReading& reading, const Knowledge& knowledge, LocalState& state);

    // By title and type; nullopt of what is nothing that the others know.
    std::unordered_multimap<std::string, std::optional<std::string>> _agreedKeys;
    std::unordered_set<std::string> _neverRead;  // titles of any type
};

}  // namespace kt
