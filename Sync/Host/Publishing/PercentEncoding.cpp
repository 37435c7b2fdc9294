#include "Sync/Host/Publishing/PercentEncoding.h"

#include <cstdint>

#include "Sync/Foundation/UTF8.h"

namespace kt {

namespace {

bool isUnreserved(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') ||
           std::string_view("-._~").find(character) != std::string_view::npos;
}

int hexadecimalDigit(char character)
{
    if (character >= '0' && character <= '9')
        return character - '0';
    if (character >= 'A' && character <= 'F')
        return character - 'A' + 10;
    return character >= 'a' && character <= 'f' ? character - 'a' + 10 : -1;
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
    std::string decoded;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '+' && blank == Blank::plus) {
            decoded += ' ';
            continue;
        }
        if (text[at] != '%') {
            decoded += text[at];
            continue;
        }
        const std::string_view digits = text.substr(at + 1, 2);
        const int high = digits.size() == 2 ? hexadecimalDigit(digits[0]) : -1;
        const int low = digits.size() == 2 ? hexadecimalDigit(digits[1]) : -1;
        if (high < 0 || low < 0)
            return std::nullopt;
        decoded += static_cast<char>(high * 16 + low);
        at += 2;
    }
    if (!isDecent(decoded))
        return std::nullopt;
    return decoded;
}

}  // namespace kt
