#include "Sync/Foundation/ASCIIPropertyList.h"

#include <algorithm>
#include <array>
#include <string>

#include "Sync/Foundation/Text.h"
#include "Sync/Foundation/UTF8.h"

namespace kt {

namespace {

constexpr std::string_view kBlanks = " \t\r\n\v\f";

/// What an octal escape of 128 and more stands for: the upper half of the NeXTSTEP character set.
constexpr std::array<char16_t, 128> kNextStep{
    0x00A0, 0x00C0, 0x00C1, 0x00C2, 0x00C3, 0x00C4, 0x00C5, 0x00C7, 0x00C8, 0x00C9, 0x00CA, 0x00CB,
    0x00CC, 0x00CD, 0x00CE, 0x00CF, 0x00D0, 0x00D1, 0x00D2, 0x00D3, 0x00D4, 0x00D5, 0x00D6, 0x00D9,
    0x00DA, 0x00DB, 0x00DC, 0x00DD, 0x00DE, 0x00B5, 0x00D7, 0x00F7, 0x00A9, 0x00A1, 0x00A2, 0x00A3,
    0x2044, 0x00A5, 0x0192, 0x00A7, 0x00A4, 0x2019, 0x201C, 0x00AB, 0x2039, 0x203A, 0xFB01, 0xFB02,
    0x00AE, 0x2013, 0x2020, 0x2021, 0x00B7, 0x00A6, 0x00B6, 0x2022, 0x201A, 0x201E, 0x201D, 0x00BB,
    0x2026, 0x2030, 0x00AC, 0x00BF, 0x00B9, 0x02CB, 0x00B4, 0x02C6, 0x02DC, 0x00AF, 0x02D8, 0x02D9,
    0x00A8, 0x00B2, 0x02DA, 0x00B8, 0x00B3, 0x02DD, 0x02DB, 0x02C7, 0x2014, 0x00B1, 0x00BC, 0x00BD,
    0x00BE, 0x00E0, 0x00E1, 0x00E2, 0x00E3, 0x00E4, 0x00E5, 0x00E7, 0x00E8, 0x00E9, 0x00EA, 0x00EB,
    0x00EC, 0x00C6, 0x00ED, 0x00AA, 0x00EE, 0x00EF, 0x00F0, 0x00F1, 0x0141, 0x00D8, 0x0152, 0x00BA,
    0x00F2, 0x00F3, 0x00F4, 0x00F5, 0x00F6, 0x00E6, 0x00F9, 0x00FA, 0x00FB, 0x0131, 0x00FC, 0x00FD,
    0x0142, 0x00F8, 0x0153, 0x00DF, 0x00FE, 0x00FF, 0xFFFD, 0xFFFD};

bool isPlain(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') ||
           std::string_view("_$/:.-").find(character) != std::string_view::npos;
}

/// The digit's value, or nullopt for what is none in that base.
std::optional<unsigned> digit(char character, unsigned base)
{
    unsigned value = base;
    if (character >= '0' && character <= '9')
        value = static_cast<unsigned>(character - '0');
    else if (character >= 'a' && character <= 'f')
        value = static_cast<unsigned>(character - 'a') + 10;
    else if (character >= 'A' && character <= 'F')
        value = static_cast<unsigned>(character - 'A') + 10;
    return value < base ? std::optional(value) : std::nullopt;
}

/// Goes behind blanks and comments; false for a comment that does not end.
bool skipBlanks(std::string_view& text)
{
    for (;;) {
        text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
        if (text.starts_with("//")) {
            text.remove_prefix(std::min(text.find_first_of("\r\n"), text.size()));
        } else if (text.starts_with("/*")) {
            const std::size_t end = text.find("*/", 2);
            if (end == std::string_view::npos)
                return false;
            text.remove_prefix(end + 2);
        } else {
            return true;
        }
    }
}

/// Reads one element after the other, never deeper than property lists may be.
class Reader {
public:
    explicit Reader(std::string_view text) : _rest(text) {}

    std::optional<Value> read();
    PropertyListError error() const { return _error; }

private:
    bool readValue(Value& value, int depth);
    bool readDictionary(Value& value, int depth);
    bool readArray(Value& value, int depth);
    bool readData(Value& value);
    bool readText(std::string& text);
    bool readQuotedText(std::string& text);
    bool readEscape(std::string& text);
    /// Up to that many digits; false when there is none.
    bool readNumber(unsigned base, int most, unsigned& number);

    /// Goes behind the character when it is the next one.
    bool take(char character);
    bool fail(PropertyListError error)
    {
        if (_error == PropertyListError::none)
            _error = error;
        return false;
    }
    bool malformed() { return fail(PropertyListError::malformed); }

    std::string_view _rest;
    PropertyListError _error = PropertyListError::none;
};

// list = blanks (dictionary / array) blanks
std::optional<Value> Reader::read()
{
    Value value;
    if (!skipBlanks(_rest) || !(_rest.starts_with('{') || _rest.starts_with('('))) {
        malformed();
        return std::nullopt;
    }
    if (!readValue(value, 0))
        return std::nullopt;
    if (!skipBlanks(_rest) || !_rest.empty()) {
        malformed();
        return std::nullopt;
    }
    return value;
}

bool Reader::take(char character)
{
    if (!skipBlanks(_rest) || !_rest.starts_with(character))
        return false;
    _rest.remove_prefix(1);
    return true;
}

// value = dictionary / array / data / text
bool Reader::readValue(Value& value, int depth)
{
    const bool isDictionary = take('{');
    if (isDictionary || take('(')) {
        if (depth >= kPropertyListDepthLimit)
            return fail(PropertyListError::tooDeep);
        return isDictionary ? readDictionary(value, depth) : readArray(value, depth);
    }
    if (take('<'))
        return readData(value);
    std::string text;
    if (!readText(text))
        return false;
    value = std::move(text);
    return true;
}

// dictionary = "{" *(text "=" value ";") "}"
bool Reader::readDictionary(Value& value, int depth)
{
    Dictionary dictionary;
    while (!take('}')) {
        std::string key;
        Value element;
        if (!readText(key))
            return false;
        if (!take('='))
            return malformed();
        if (!readValue(element, depth + 1))
            return false;
        if (!take(';'))
            return malformed();
        dictionary.set(key, std::move(element));
    }
    value = Value(std::move(dictionary));
    return true;
}

// array = "(" [value *("," value) [","]] ")"
bool Reader::readArray(Value& value, int depth)
{
    Array array;
    while (!take(')')) {
        Value element;
        if (!readValue(element, depth + 1))
            return false;
        array.push_back(std::move(element));
        if (!take(',')) {
            if (!take(')'))
                return malformed();
            break;
        }
    }
    value = Value(std::move(array));
    return true;
}

// data = "<" *(2HEXDIG / blanks) ">"
bool Reader::readData(Value& value)
{
    Data data;
    while (!take('>')) {
        const auto high = _rest.size() < 2 ? std::nullopt : digit(_rest[0], 16);
        const auto low = _rest.size() < 2 ? std::nullopt : digit(_rest[1], 16);
        if (!high || !low)
            return malformed();
        data.bytes += static_cast<char>(*high << 4 | *low);
        _rest.remove_prefix(2);
    }
    value = std::move(data);
    return true;
}

// text = quoted / 1*plain
bool Reader::readText(std::string& text)
{
    if (!skipBlanks(_rest))
        return malformed();
    if (_rest.starts_with('"') || _rest.starts_with('\''))
        return readQuotedText(text);
    const auto end = std::find_if_not(_rest.begin(), _rest.end(), isPlain);
    text.assign(_rest.begin(), end);
    _rest.remove_prefix(text.size());
    return !text.empty() || malformed();
}

// quoted = quote *(escape / any but the quote) quote
bool Reader::readQuotedText(std::string& text)
{
    const std::string_view quote = _rest.substr(0, 1);
    const std::string ends = std::string(quote) + '\\';
    _rest.remove_prefix(1);
    while (!_rest.starts_with(quote)) {
        const std::size_t end = _rest.find_first_of(ends);
        if (end == std::string_view::npos)
            return malformed();
        text += _rest.substr(0, end);
        _rest.remove_prefix(end);
        if (_rest.starts_with('\\') && !readEscape(text))
            return malformed();
    }
    _rest.remove_prefix(1);
    text = joinedSurrogateHalves(std::move(text));
    return true;
}

// escape = "\" (1*3OCTDIG / "U" 1*4HEXDIG / any), the unit of a pair each by itself
bool Reader::readEscape(std::string& text)
{
    _rest.remove_prefix(1);
    unsigned number = 0;
    if (readNumber(8, 3, number)) {
        if (number > 0xFF)
            return false;
        appendUTF8(text, number < 0x80 ? number : kNextStep.at(number - 0x80));
        return true;
    }
    if (_rest.empty())
        return false;
    const char letter = _rest.front();
    _rest.remove_prefix(1);
    if (letter == 'U') {
        if (!readNumber(16, 4, number))
            return false;
        appendUTF8(text, number);
        return true;
    }
    constexpr std::string_view kLetters = "abfnrtv";
    constexpr std::string_view kControls = "\a\b\f\n\r\t\v";
    const std::size_t known = kLetters.find(letter);
    text += known == std::string_view::npos ? letter : kControls[known];
    return true;
}

bool Reader::readNumber(unsigned base, int most, unsigned& number)
{
    int count = 0;
    for (number = 0; count < most && !_rest.empty(); ++count) {
        const auto next = digit(_rest.front(), base);
        if (!next)
            break;
        number = number * base + *next;
        _rest.remove_prefix(1);
    }
    return count > 0;
}

}  // namespace

bool isASCIIPropertyList(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    return text.starts_with('{') || text.starts_with('(') || text.starts_with("//") ||
           text.starts_with("/*");
}

std::optional<Value> readASCIIPropertyList(std::string_view text, PropertyListError& error)
{
    Reader reader(text);
    std::optional<Value> value = reader.read();
    error = reader.error();
    return value;
}

}  // namespace kt
