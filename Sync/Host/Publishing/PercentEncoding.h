#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kt {

/// Everything but letters, digits and `-._~` as %XX (RFC 3986, 2.3), fit for one part of a path and
/// for a value in a query.
std::string percentEncoded(std::string_view text);

/// What a space is written as.
enum class Blank {
    percent,  // only %20, as in paths
    plus,     // also "+", as forms send it
};

/// The text behind the escapes, once. Nullopt for an escape that is none, for what is no UTF-8
/// afterwards and for text with control characters, NUL among them.
std::optional<std::string> percentDecoded(std::string_view text, Blank blank);

}  // namespace kt
