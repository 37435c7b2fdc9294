#pragma once

#include <string>
#include <string_view>

#include "Sync/Foundation/Value.h"

namespace kt {

/// Text that can be shown: well-formed UTF-8 with the halves of surrogate pairs joined, what is
/// none replaced by U+FFFD, line breaks as line feeds, and without control characters but tabs.
std::string showableText(std::string_view text);

/// The text of a field that holds plain text, showable; the first one of several, empty for what is
/// none.
std::string plainTextOfField(const Value& field);

/// The text of a raw field of a record, unescaped (RFC 5545, 3.3.11) and showable; the first one of
/// several, empty for what is none.
std::string textOfField(const Value& field);

/// So much of a text as has room on a page, with a mark where there is more; the calendar file has
/// it in full. `most` counts UTF-16 units.
std::string clippedText(std::string_view text, std::size_t most);

/// The address, when it is one that may stand in a link: http or https. Else empty.
std::string webAddress(std::string_view text);

}  // namespace kt
