#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kt {

/// One step through UTF-8 text.
struct UTF8Step {
    char32_t codePoint = 0;  // the byte itself where there is no character
    std::size_t length = 1;  // bytes taken
    bool isValid = false;    // lone surrogate halves count as valid
};

/// The character at a position inside the text.
UTF8Step utf8StepAt(std::string_view text, std::size_t position);

/// Appends a character, or a surrogate half as its own three-byte sequence.
void appendUTF8(std::string& text, char32_t codePoint);

inline bool isHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
inline bool isLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }
inline bool isSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDFFF; }

inline char32_t joinedSurrogates(char32_t high, char32_t low)
{
    return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
}
inline char32_t highSurrogate(char32_t codePoint) { return 0xD800 + ((codePoint - 0x10000) >> 10); }
inline char32_t lowSurrogate(char32_t codePoint)
{
    return 0xDC00 + ((codePoint - 0x10000) & 0x3FF);
}

/// How many bytes from the position on are ASCII.
std::size_t asciiPrefixLength(std::string_view text, std::size_t position = 0);

}  // namespace kt
