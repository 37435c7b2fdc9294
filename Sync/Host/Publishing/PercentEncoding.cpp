#include "Sync/Host/Publishing/PercentEncoding.h"

#include <algorithm>
#include <cstdint>

#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/UTF8.h"

namespace kt {

namespace {

bool isUnreserved(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') ||
           std::string_view("-._~").find(character) != std::string_view::npos;
}

bool isDecent(std::string_view text)
{
    for (std::size_t at = 0; at < text.size();) {
        const UTF8Step step = utf8StepAt(text, at);
        if (!step.isValid || isSurrogate(step.codePoint) || step.codePoint < 0x20 ||
            step.codePoint == 0x7F)
            return false;
        at += step.length;
    }
    return true;
}

}  // namespace

std::string percentEncoded(std::string_view text)
{
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string encoded;
    for (const char character : text) {
        if (isUnreserved(character)) {
            encoded += character;
            continue;
        }
        const auto byte = static_cast<std::uint8_t>(character);
        encoded += '%';
        encoded += kDigits[byte / 16];
        encoded += kDigits[byte % 16];
    }
    return encoded;
}

std::optional<std::string> percentDecoded(std::string_view text, Blank blank)
{
    std::string escaped(text);
    if (blank == Blank::plus)
        std::replace(escaped.begin(), escaped.end(), '+', ' ');
    auto decoded = stringByReplacingPercentEscapes(escaped);
    return decoded && isDecent(*decoded) ? decoded : std::nullopt;
}

}  // namespace kt
