#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Sync/Foundation/PropertyList.h"
#include "Sync/Foundation/Value.h"

namespace kt {

// The binary form is read and written here and not through libplist, which ends a text at NUL,
// drops lone surrogate halves, keeps dates in 32 bits and unfolds objects that are stored once and
// used often, each time anew. Values hold all of that, and records of the user's must come back as
// they were.

/// More elements than this, counted as often as they are used, make no property list that anybody
/// wrote.
inline constexpr std::size_t kPropertyListElementLimit = 10'000'000;

bool isBinaryPropertyList(std::string_view bytes);

/// Nullopt with the reason in `error`: a cycle is malformed.
std::optional<Value> readBinaryPropertyList(std::string_view bytes, PropertyListError& error);

/// Throws Exception NSInvalidArgumentException for objects, nil and nesting beyond the limit.
/// Texts, and arrays and dictionaries that several values share, are stored once. A dictionary {
/// "CF$UID": integer } becomes a UID.
std::string writeBinaryPropertyList(const Value& value);

}  // namespace kt
