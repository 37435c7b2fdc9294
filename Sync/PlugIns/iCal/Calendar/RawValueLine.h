#pragma once

#include <string>
#include <string_view>

#include "Sync/Foundation/Value.h"

namespace kt {

/// The line of a property whose value is written as it was read, ending in CR LF and not folded.
/// `format` is the property's name, its parameters and "%@", as for stringWithFormat. A property
/// that stood in its component more than once is an array, which goes as it describes itself: the
/// loss report is told that, and nothing of the line breaks in the description.
std::string rawValueLine(std::string_view format, const Value& value);

/// Tells the loss report that the values of such a property are written as one text.
void tellOfSeveralValues(std::string_view name);

}  // namespace kt
