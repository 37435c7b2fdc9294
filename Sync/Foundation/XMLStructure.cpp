#include "Sync/Foundation/XMLStructure.h"

#include <algorithm>
#include <vector>

#include "Sync/Foundation/CalendarDate.h"

namespace kt {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kDigits = "0123456789";

std::string_view trimmed(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

bool consistsOf(std::string_view text, std::string_view characters)
{
    return !text.empty() && text.find_first_not_of(characters) == std::string_view::npos;
}

// integer = [sign] (1*DIGIT / "0x" 1*HEXDIG)
bool isInteger(std::string_view text)
{
    if (text.starts_with('-') || text.starts_with('+'))
        text.remove_prefix(1);
    if (text.starts_with("0x") || text.starts_with("0X"))
        return consistsOf(text.substr(2), "0123456789abcdefABCDEF");
    return consistsOf(text, kDigits);
}

// real = [sign] (*DIGIT ["." *DIGIT] ["e" [sign] 1*DIGIT] / "nan" / "inf" / "infinity")
bool isReal(std::string_view text)
{
    if (text.starts_with('-') || text.starts_with('+'))
        text.remove_prefix(1);
    if (text == "nan" || text == "inf" || text == "infinity")
        return true;
    const std::size_t exponent = std::min(text.find_first_of("eE"), text.size());
    const std::string_view mantissa = text.substr(0, exponent);
    const bool hasMantissa = consistsOf(mantissa, "0123456789.") && mantissa != "." &&
                             std::count(mantissa.begin(), mantissa.end(), '.') <= 1;
    return hasMantissa && (exponent == text.size() || isInteger(text.substr(exponent + 1)));
}

/// Whether an element of that name can have the text as its content.
bool isContentOf(std::string_view name, std::string_view text)
{
    if (name == "integer")
        return isInteger(trimmed(text));
    if (name == "real")
        return isReal(trimmed(text));
    if (name == "date")
        return dateWithISO8601(trimmed(text)).has_value();
    if (name == "data")
        return trimmed(text).empty() ||
               consistsOf(
                   text,
                   "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/= \t\r\n");
    return true;
}

/// Follows the tags of a document. Where readers of XML could disagree about what is a tag
/// (attributes inside the list, processing instructions in its middle), it refuses: no program
/// writes such things.
class Scanner {
public:
    explicit Scanner(std::string_view bytes) : _rest(bytes) {}

    PropertyListError scan();

private:
    enum class Container { array, dictionary, dictionaryAfterKey };

    PropertyListError readTag();
    PropertyListError readElement(std::string_view tag);
    PropertyListError readRoot(bool isEnd, bool isEmpty);
    PropertyListError beginContainer(bool isArray);
    bool endContainer(bool isArray);
    /// Whether an element may stand here: keys and values take turns in a dictionary.
    bool takesElement(bool isKey);
    /// Goes behind the next occurrence; false when there is none.
    bool skipBehind(std::string_view end);

    std::string_view _rest;
    std::vector<Container> _open;
    bool _isOpen = false;  // between <plist> and </plist>
    bool _isDone = false;
};

bool Scanner::skipBehind(std::string_view end)
{
    const std::size_t found = _rest.find(end);
    if (found == std::string_view::npos)
        return false;
    _rest.remove_prefix(found + end.size());
    return true;
}

// document = *(text / tag) *blank
PropertyListError Scanner::scan()
{
    while (!_isDone) {
        const std::size_t next = _rest.find('<');
        if (next == std::string_view::npos)
            return PropertyListError::malformed;
        _rest.remove_prefix(next + 1);
        if (const PropertyListError error = readTag(); error != PropertyListError::none)
            return error;
    }
    // Nothing may follow: a parser that saw the end elsewhere would read on there.
    return trimmed(_rest).empty() ? PropertyListError::none : PropertyListError::malformed;
}

// tag = comment / cdata / instruction / declaration / element, from behind the "<"
PropertyListError Scanner::readTag()
{
    const auto skip = [&](std::size_t length, std::string_view end) {
        _rest.remove_prefix(length);
        return skipBehind(end) ? PropertyListError::none : PropertyListError::malformed;
    };
    if (_rest.starts_with("!--"))
        return skip(3, "-->");
    if (_rest.starts_with("![CDATA[") && _isOpen)
        return skip(8, "]]>");
    if (_rest.starts_with("?") && !_isOpen)
        return skip(1, "?>");
    if (_rest.starts_with("!DOCTYPE") && !_isOpen)
        return skip(8, ">");

    const std::size_t end = _rest.find('>');
    if (end == std::string_view::npos)
        return PropertyListError::malformed;
    const std::string_view tag = _rest.substr(0, end);
    _rest.remove_prefix(end + 1);
    return readElement(tag);
}

// element = ["/"] name *blank ["/"]; only <plist> has attributes
PropertyListError Scanner::readElement(std::string_view tag)
{
    const bool isEnd = tag.starts_with('/');
    if (isEnd)
        tag.remove_prefix(1);
    const bool isEmpty = tag.ends_with('/');
    if (isEmpty)
        tag.remove_suffix(1);
    const std::string_view name = tag.substr(0, std::min(tag.find_first_of(kBlanks), tag.size()));
    if (name.empty() || (isEnd && isEmpty))
        return PropertyListError::malformed;
    if (name == "plist")
        return readRoot(isEnd, isEmpty);

    if (!_isOpen || !trimmed(tag.substr(name.size())).empty() ||
        name.find_first_of("<\"'") != std::string_view::npos)
        return PropertyListError::malformed;
    const bool isContainer = name == "array" || name == "dict";
    if (isEnd)
        return !isContainer || endContainer(name == "array") ? PropertyListError::none
                                                             : PropertyListError::malformed;
    if (!takesElement(name == "key"))
        return PropertyListError::malformed;
    if (isContainer && !isEmpty)
        return beginContainer(name == "array");
    const std::string_view text =
        isEmpty ? "" : _rest.substr(0, std::min(_rest.find('<'), _rest.size()));
    return isContentOf(name, text) ? PropertyListError::none : PropertyListError::malformed;
}

PropertyListError Scanner::readRoot(bool isEnd, bool isEmpty)
{
    if (isEmpty || isEnd != _isOpen || !_open.empty())
        return PropertyListError::malformed;
    _isOpen = !isEnd;
    _isDone = isEnd;
    return PropertyListError::none;
}

PropertyListError Scanner::beginContainer(bool isArray)
{
    if (_open.size() >= kPropertyListDepthLimit)
        return PropertyListError::tooDeep;
    _open.push_back(isArray ? Container::array : Container::dictionary);
    return PropertyListError::none;
}

bool Scanner::endContainer(bool isArray)
{
    if (_open.empty() || _open.back() != (isArray ? Container::array : Container::dictionary))
        return false;
    _open.pop_back();
    return true;
}

bool Scanner::takesElement(bool isKey)
{
    if (_open.empty() || _open.back() == Container::array)
        return !isKey;
    if (isKey != (_open.back() == Container::dictionary))
        return false;
    _open.back() = isKey ? Container::dictionaryAfterKey : Container::dictionary;
    return true;
}

}  // namespace

PropertyListError checkXMLStructure(std::string_view bytes) { return Scanner(bytes).scan(); }

}  // namespace kt
