#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kt {

// Text is UTF-8; lengths and indices that are counted in characters are counted in UTF-16 units. A
// lone half of a surrogate pair, which a fold may leave behind, is held as its own three-byte
// sequence (ED A0..BF xx).

/// Number of UTF-16 units. Bytes that are no UTF-8 count one each.
std::size_t utf16Length(std::string_view text);

/// The part of `length` units from unit `offset` on; clipped to the text. A cut inside a surrogate
/// pair gives each half as its own three-byte sequence.
std::string utf16Substring(std::string_view text, std::size_t offset, std::size_t length);

/// Well-formed UTF-8, lone surrogate halves accepted.
bool isReadableUTF8(std::string_view bytes);

/// Joins a high half followed by a low half into the character they stand for.
std::string joinedSurrogateHalves(std::string text);
/// Whether there is a byte that each half begins with: without one there is nothing to join.
inline bool mayHoldSurrogateHalves(std::string_view text)
{
    return text.find('\xED') != std::string_view::npos;
}

/// componentsSeparatedByString: "a,,b" gives three pieces, "" gives one. The views point into the
/// text.
std::vector<std::string_view> componentsSeparatedByString(std::string_view text,
                                                          std::string_view separator);

/// Digits of ASCII only.
bool isDecimalDigit(char character);

}  // namespace kt
