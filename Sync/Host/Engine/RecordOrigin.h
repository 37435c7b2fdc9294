#pragma once

#include <string>
#include <string_view>

namespace kt {

// What a record is known by for its whole life, beside its key: what it was when somebody entered
// it, as the hash of its content then. Two items of one title share a key, and on a server that was
// put back one may stand where the other was. An edit of the same item keeps the origin; what was
// entered twice and brought together has both, in order, with a blank between them. Empty where it
// is not known, as in what was stored before there were origins.

/// Whether both are known and not the same.
bool haveOtherOrigins(std::string_view one, std::string_view other);

/// The origin of what both were brought together in; empty where either is.
std::string joinedOrigins(std::string_view one, std::string_view other);

}  // namespace kt
