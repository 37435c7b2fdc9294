#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/Host/Engine/GivenRecords.h"
#include "Sync/Host/Engine/Knowledge.h"

namespace kt {

/// One record of the state that a store is rewritten from.
struct HandedRecord {
    RecordId id;  // as it is handed out
    std::optional<std::string> parentKey;
    Dictionary record;                 // empty where the store gave the same
    std::optional<RecordId> keptAs{};  // of a switched-off calendar, under local keys
    SyncRecord given{};                // what the store gave, where that has the same content

    bool isKept() const { return keptAs.has_value(); }
    const Dictionary& content() const { return given ? given->record() : record; }
};

/// What getLocalState gives, by conduit, then key: what is agreed, and for switched-off calendars
/// what their store last gave, which is all that counts of them. What is unread is not given, nor
/// what belongs into a calendar that is: their texts stay as they stand in the store.
///
/// Four things are put right on the way out, and stay as they are in what is agreed. What is kept
/// and has the key of another record that is agreed, as a new calendar under the former title of
/// another one has, gets a number behind it. A calendar whose group is no record of the state goes
/// without ParentRecordKey, or a store would have no place for it. A calendar that this store has
/// goes with the SourceKey that it has here. A SourceKey that two calendars share, which would make
/// them one folder, stays with the one this store had it for; the other gets its record key.
///
/// An item that `given` has with the content that is agreed is not read from the state.
std::vector<HandedRecord> handedState(LocalState& state, const Knowledge& knowledge,
                                      const GivenRecords& given = {});

}  // namespace kt
