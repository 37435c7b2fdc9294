#pragma once

#include <string>
#include <string_view>

namespace kt {

/// What is known of a record beside what it is, stored with it on the server and in the state.
/// Without either nothing is known, as of what was stored before there was this.
struct RecordPast {
    /// What it was when somebody entered it, as the hash of its content then: two items of one
    /// title share a key, and on a server that was put back one may stand where the other was. An
    /// edit keeps the origin; what was entered twice and brought together has both, in order, with
    /// a blank between them.
    std::string origin{};
    /// The beginnings of the last few hashes that it had before, newest first, with a blank behind
    /// each: on a server that was put back that is nothing new.
    std::string former{};

    friend bool operator==(const RecordPast&, const RecordPast&) = default;
};

/// Whether both origins are known and not the same.
bool haveOtherOrigins(std::string_view one, std::string_view other);

/// The origin of what both were brought together in; empty where either is.
std::string joinedOrigins(std::string_view one, std::string_view other);

/// Whether something was that before.
bool wasFormerly(std::string_view former, std::string_view hash);

/// What something was before that was such and became another.
std::string formerOf(std::string_view hash, std::string_view former);

}  // namespace kt
