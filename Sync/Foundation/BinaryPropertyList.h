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

bool isBinaryPropertyList(std::string_view bytes);

/// Nullopt with the reason in `error`: a cycle is malformed, and so is what would unfold beyond the
/// budget for its size (UnfoldingBudget.h). Bytes that were made from a larger file, in which equal
/// texts stand each by itself, name that file's size.
std::optional<Value> readBinaryPropertyList(std::string_view bytes, PropertyListError& error,
                                            std::size_t inputSize = 0);

/// Throws Exception NSInvalidArgumentException for objects, nil and nesting beyond the limit.
/// Texts, and arrays and dictionaries that several values share, are stored once. A dictionary {
/// "CF$UID": integer } becomes a UID.
std::string writeBinaryPropertyList(const Value& value);

}  // namespace kt
