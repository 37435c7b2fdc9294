#pragma once

#include <string>
#include <string_view>

#include "Sync/Foundation/Value.h"

namespace kt {

/// Text that can be shown: well-formed UTF-8 with the halves of surrogate pairs joined, what is
/// none replaced by U+FFFD, line breaks as line feeds, and without control characters but tabs.
std::string showableText(std::string_view text);

/// The text of a raw field of a record, unescaped (RFC 5545, 3.3.11) and showable; the first one of
/// several, empty for what is none.
std::string textOfField(const Value& field);

/// The address, when it is one that may stand in a link: http or https. Else empty.
std::string webAddress(std::string_view text);

}  // namespace kt
