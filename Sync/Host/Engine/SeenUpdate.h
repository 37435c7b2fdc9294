#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "Sync/Host/Engine/Knowledge.h"
#include "Sync/Host/Engine/SwitchedOffCalendars.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

/// One record that the store gives now, and what it stands for. Refers to what others hold.
struct SeenTarget {
    const KTSyncRecord& record;
    const std::string& hash;
    StorePlace place;
    std::optional<std::string> agreedKey;  // nullopt: belongs to no agreed record
    const SeenRow* row = nullptr;          // the row that said so until now
};

/// Whether the row of a record says of it what it would say now.
bool isAsSeen(const SeenTarget& target, std::string_view ownTimezone);

/// What becomes of rows that no record takes.
struct SeenRemainder {
    const SwitchedOffCalendars& switchedOff;  // their rows stay as they are
    bool isMissingUnread = false;             // all of them stay: what is missing may come back
    std::unordered_set<const SeenRow*> untouched;  // these stay, too
};

/// Makes the records of the store what was seen, one after the other; rows that say the same
/// already are not written again.
class SeenUpdate {
public:
    /// Local keys of one calendar, as it was seen and as it is now.
    using Renaming = std::pair<std::string, std::string>;

    /// Neither is owned. `ownTimezone` is the machine's own.
    SeenUpdate(LocalState& state, const Knowledge& knowledge, std::string ownTimezone);

    void take(const SeenTarget& target);
    /// Once, after all.
    void finish(const SeenRemainder& remainder);

    /// Calendars that go by another key now.
    const std::vector<Renaming>& renamed() const { return _renamed; }

private:
    LocalState& _state;
    const Knowledge& _knowledge;
    std::string _timezone;
    std::vector<bool> _isTaken;  // in the order of the rows
    std::vector<Renaming> _renamed;
};

}  // namespace kt
