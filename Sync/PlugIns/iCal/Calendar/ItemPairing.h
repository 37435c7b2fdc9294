#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "Sync/PlugIns/iCal/Calendar/LoadedStore.h"

namespace kt {

/// What an item that is to be written was in the store.
struct ItemPair {
    std::optional<std::size_t> stored;  // number of the stored item; nullopt for a new one
    bool hasEqualRecord = false;        // in all that the writer writes
};

/// What becomes of an item that is not known: it is new, but for one of equal key and content, or
/// may be any item that nobody else is.
enum class Unknown { isNew, isSearched };

/// Finds for each item that is to be written the stored item that it was, each at most once: the
/// one that is `known` (numbers of stored items, in the order of `wanted`, or none at all); by
/// record key and content, where numbers behind a key mean nothing; by content; by key; as the
/// occurrence of that date of a series that was found; and, since an edit changes keys, by title
/// and start. Last, where there is one way only, by all but title and time, with one of these; by
/// the stamp of the moment when it was made; by all but title and time. Where what is not known is
/// new, the search ends with key and content.
std::vector<ItemPair> pairItems(const std::vector<LoadedItem>& stored,
                                const std::vector<SyncRecord>& wanted,
                                const std::vector<std::optional<std::size_t>>& known = {},
                                Unknown unknown = Unknown::isSearched);

}  // namespace kt
