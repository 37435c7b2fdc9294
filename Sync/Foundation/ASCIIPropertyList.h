#pragma once

#include <optional>
#include <string_view>

#include "Sync/Foundation/PropertyList.h"
#include "Sync/Foundation/Value.h"

namespace kt {

/// Whether a text begins as a property list of the old ASCII form does: `{`, `(` or a comment.
bool isASCIIPropertyList(std::string_view text);

/// The old form, which knows texts, data, arrays and dictionaries: `{ key = (a, "b c", <00ff>); }`.
/// Its root is an array or a dictionary, since as a text nearly every file would do. Characters
/// outside ASCII may stand there as UTF-8. Nullopt with the reason in `error`.
std::optional<Value> readASCIIPropertyList(std::string_view text, PropertyListError& error);

}  // namespace kt
