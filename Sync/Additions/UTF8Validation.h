#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kt {

// KTAdditions on strings: checks of UTF-8 byte by byte. Byte strings end at their first NUL. These
// checks follow a table of their own and are stricter here and looser there than
// Foundation/Text.h, which is what the text layer reads files with.

/// How many bytes a sequence with this lead byte has by the standard table: 1 to 6. Says nothing
/// about whether such a sequence is legal.
std::size_t utf8SequenceLength(std::uint8_t leadByte);

/// isLegalUTF8Char:length: whether the bytes are one legal sequence of that length (RFC 3629,
/// section 4). Any length but 1 to 4 is illegal and reads nothing; otherwise `length` bytes are
/// read. Encoded surrogate halves (ED A0..BF xx) count as legal, so that titles cut in the middle
/// of a pair pass; after the lead byte F4 the second byte has no lower bound.
bool isLegalUTF8Char(const std::uint8_t* bytes, std::int32_t length);

/// True for text of ASCII alone without control characters other than tab, line feed and carriage
/// return; a control character gets a line on the system log. Any character outside ASCII gives
/// false, and so does a NUL inside the text.
bool isValidUTF8(std::string_view receiver);

/// The text up to its first NUL without control characters (tab, line feed and carriage return
/// stay) and without illegal sequences. A sequence is kept or dropped as a whole: a bad lead byte
/// takes the bytes with it that it lays claim to. Null where what is kept is no UTF-8 all the same,
/// which takes an F4 with a second byte below 80.
std::optional<std::string> validUTF8String(std::string_view receiver);

}  // namespace kt
