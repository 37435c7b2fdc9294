#include "Sync/Host/Site/ContentLines.h"

#include <algorithm>
#include <iterator>

namespace kt {

namespace {

constexpr std::size_t kLongestLine = 75;  // octets (RFC 5545, 3.1)

bool isControl(char character)
{
    return static_cast<unsigned char>(character) < 0x20 || character == '\x7F';
}

/// Whether a character ends before that byte.
bool isBoundary(std::string_view text, std::size_t at)
{
    return at >= text.size() || (static_cast<unsigned char>(text[at]) & 0xC0U) != 0x80U;
}

}  // namespace

void ContentLines::line(std::string_view line)
{
    std::string clean(line);
    clean.erase(std::remove_if(clean.begin(), clean.end(),
                               [](char character) {
                                   return isControl(character) && character != '\t';
                               }),
                clean.end());
    std::string_view rest = clean;
    std::size_t room = kLongestLine;
    while (rest.size() > room) {
        std::size_t cut = room;
        while (cut > 1 && !isBoundary(rest, cut))
            --cut;
        _lines += rest.substr(0, cut);
        _lines += "\r\n ";
        rest.remove_prefix(cut);
        room = kLongestLine - 1;  // the blank counts
    }
    _lines += rest;
    _lines += "\r\n";
}

void ContentLines::begin(std::string_view component) { value("BEGIN", component); }

void ContentLines::end(std::string_view component) { value("END", component); }

void ContentLines::value(std::string_view name, std::string_view value)
{
    line(std::string(name) + ':' + std::string(value));
}

void ContentLines::text(std::string_view name, std::string_view text)
{
    std::string escaped;
    for (const char character : text) {
        if (character == '\n') {
            escaped += "\\n";
            continue;
        }
        if (character == '\\' || character == ',' || character == ';')
            escaped += '\\';
        escaped += character;
    }
    value(name, escaped);
}

void ContentLines::date(std::string_view name, const PublishedDate& date)
{
    std::string key(name);
    if (date.isAllDay)
        key += ";VALUE=DATE";
    else if (!date.isUTC())
        key += ";TZID=" + date.zone;
    value(key, date.text());
}

std::string quotedParameter(std::string_view text)
{
    std::string quoted = "\"";
    std::copy_if(text.begin(), text.end(), std::back_inserter(quoted),
                 [](char character) { return character != '"' && !isControl(character); });
    return quoted += '"';
}

}  // namespace kt
