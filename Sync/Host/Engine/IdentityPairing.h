#pragma once

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "Sync/Host/Engine/HandedState.h"
#include "Sync/Host/Engine/LocalRecords.h"

namespace kt {

// What the store itself knows a record by outlives every edit: a calendar's folder, the key of a
// group that has none, an item's UID and, of a detached occurrence, which one it is. It counts
// where it stands once on both sides; an item is looked for in its own calendar first.

/// The same for every record that is known to be the same one; empty where there is no identity.
std::string identityOf(std::string_view conduit, const StorePlace& place);

/// The keys that the calendars among the records are agreed under, by their local ones.
std::unordered_map<std::string, std::string> agreedCalendars(
    const std::vector<LocalRecord>& records);

/// Whether a record and a row are known to be the same one. False where either has no identity.
bool haveSameIdentity(std::string_view conduit, const StorePlace& left, const StorePlace& right);

/// Gives records that have no row yet (`LocalRecord::seen`), with the name they are agreed under,
/// the rows of agreed records that nobody has. `isRowTaken` is kept up.
void pairByIdentity(std::vector<LocalRecord>& records, const Knowledge& knowledge,
                    std::vector<bool>& isRowTaken);

/// While a rewrite is not settled an item that it moved may stand in both places. The one in its
/// former calendar that is as it was given is what had not been removed yet: the other one is the
/// record, and that one belongs to none. Where the user edited it since, it is the other way round.
void leaveFormerPlaces(std::vector<LocalRecord>& records, const Knowledge& knowledge,
                       LocalState& state);

/// Names records that were never seen, but given in a session that is not over, by what they were
/// agreed as there.
void nameByUnsettledSession(std::vector<LocalRecord>& records, const Knowledge& knowledge);

/// For each record of a store after a rewrite the agreed key of the handed record that it must be,
/// or nullopt: one that stands where that was seen before, or under the UID that is the key of one
/// that this store never had.
std::vector<std::optional<std::string>> keysByIdentity(const SyncRecordList& records,
                                                       const StorePlaces& places,
                                                       const std::vector<HandedRecord>& handed,
                                                       const Knowledge& knowledge);

}  // namespace kt
