#pragma once

#include <string>
#include <string_view>

#include "Sync/Host/Engine/LocalState.h"

namespace kt {

// What a record is known by for its whole life, beside its key: what the store that it was entered
// in knows it by, an item's UID and which occurrence it is; without one, what it was then, as the
// hash of its content. Two items of one title share a key, and on a server that was put back one
// may stand where the other was; and a device that lost its state knows its items by nothing else.
// An edit keeps the origin; what was entered twice and brought together has both, in order, with a
// blank between them. Empty where it is not known, as in what was stored before there were origins.

/// Of a record that stands in a store, with the hash of its content.
std::string originOf(std::string_view conduit, const StorePlace& place, const std::string& hash);

/// The same where the store itself knows the record, otherwise empty.
std::string originOfIdentity(std::string_view conduit, const StorePlace& place);

/// Whether both are known and not the same.
bool haveOtherOrigins(std::string_view one, std::string_view other);

/// Whether a store's own name for a record is among the origins.
bool hasOrigin(std::string_view origins, std::string_view origin);

/// Whether it is known that the store's own name belongs to none of what the origins name.
bool excludesIdentity(std::string_view origins, std::string_view identity);

/// The origin of what both were brought together in; empty where either is.
std::string joinedOrigins(std::string_view one, std::string_view other);

}  // namespace kt
