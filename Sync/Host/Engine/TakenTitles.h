#pragma once

#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "Sync/Host/Engine/LocalRecords.h"
#include "Sync/Host/Engine/SwitchedOffCalendars.h"

namespace kt {

/// Titles of calendars that stand in the store and are not compared: those that are switched off,
/// and those that cannot be read at present. Of two calendars of one title and type a store gives
/// only one. The other would be hidden behind it, and what is said of it elsewhere, its other title
/// above all, could never come.
class TakenTitles {
public:
    /// `off` is what a load holds beside what is compared. Nothing of the arguments is kept.
    TakenTitles(const SyncRecordList& off, const StoreReading& reading, const Knowledge& knowledge,
                LocalState& state);

    /// Whether a calendar of the server, which has another title here or is not here, has the title
    /// of another one.
    bool isAnothers(const RecordId& agreedId, const Dictionary& calendar) const;

private:
    void addUnread(const StoreReading& reading, const Knowledge& knowledge, LocalState& state);

    // By title and type; nullopt of what is nothing that the others know.
    std::unordered_multimap<std::string, std::optional<std::string>> _agreedKeys;
    std::unordered_set<std::string> _neverRead;  // titles of any type
};

}  // namespace kt
