#pragma once

#include <algorithm>
#include <string_view>

namespace kt {

// Text in letters of any kind, as other programs read iCalendar (RFC 5545, 3.1).

constexpr char upperLetter(char letter)
{
    return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

/// The words are in capital letters.
inline bool equalsInAnyCase(std::string_view text, std::string_view word)
{
    return std::equal(word.begin(), word.end(), text.begin(), text.end(),
                      [](char wanted, char letter) { return wanted == upperLetter(letter); });
}

inline bool beginsInAnyCase(std::string_view text, std::string_view word)
{
    return equalsInAnyCase(text.substr(0, word.size()), word);
}

}  // namespace kt
