#pragma once

#include <set>
#include <string>
#include <string_view>

namespace kt {

struct StorePlace;

/// What is known of a record beside what it is, stored with it on the server and in the state.
/// Without either nothing is known, as of what was stored before there was this.
struct RecordPast {
    /// What the store that it was entered in knows it by, an item's UID and which occurrence it is;
    /// without one, what it was then, as the hash of its content. Two items of one title share a
    /// key, and on a server that was put back one may stand where the other was; and a device that
    /// lost its state knows its items by nothing else. An edit keeps the origin; what was entered
    /// twice and brought together has both, in order, with a blank between them.
    std::string origin{};
    /// The beginnings of the last few hashes that it had before, newest first, with a blank behind
    /// each: on a server that was put back that is nothing new.
    std::string former{};

    friend bool operator==(const RecordPast&, const RecordPast&) = default;
};

/// The origin of a record that is entered in a store, with the hash of its content.
std::string originOf(std::string_view conduit, const StorePlace& place, const std::string& hash);

/// The same where the store itself knows the record, otherwise empty.
std::string originOfIdentity(std::string_view conduit, const StorePlace& place);

/// Each of them.
std::set<std::string> originsIn(std::string_view origins);

/// Whether a store's own name for a record is among the origins.
bool hasOrigin(std::string_view origins, std::string_view origin);

/// Whether it is known that the store's own name belongs to none of what the origins name.
bool excludesIdentity(std::string_view origins, std::string_view identity);

/// Whether both origins are known and not the same.
bool haveOtherOrigins(std::string_view one, std::string_view other);

/// The origin of what both were brought together in; empty where either is.
std::string joinedOrigins(std::string_view one, std::string_view other);

/// Whether something was that before.
bool wasFormerly(std::string_view former, std::string_view hash);

/// What something was before that was such and became another.
std::string formerOf(std::string_view hash, std::string_view former);

}  // namespace kt
