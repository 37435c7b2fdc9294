#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "Sync/Additions/KTStringAdditions.h"
#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Text.h"
#include "Sync/Foundation/UTF8.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncAttendee.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"

namespace kt {

namespace {

constexpr std::string_view kSingleValuedKey = "SUMMARY";

/// The byte position behind a backslash and the two characters after it, at most the end.
std::size_t positionBehindEscape(std::string_view text, std::size_t backslash)
{
    std::size_t position = backslash + 1;
    for (int units = 0; units < 2 && position < text.size();) {
        const UTF8Step step = utf8StepAt(text, position);
        units += step.isValid && step.codePoint > 0xFFFF ? 2 : 1;
        position += step.length;
    }
    return position;
}

/// The byte position of the first such character outside quotes from `position` on; the text's size
/// when there is none.
std::size_t findUnquoted(std::string_view text, char character, std::size_t position,
                         bool& inQuotes)
{
    while (position < text.size()) {
        const char current = text[position];
        if (current == '\\') {
            position = positionBehindEscape(text, position);
            continue;
        }
        if (current == '"')
            inQuotes = !inQuotes;
        else if (current == character && !inQuotes)
            return position;
        ++position;
    }
    return text.size();
}

/// Key and value of one property line, the value without what its continuation lines hold.
struct PropertyLine {
    PropertyLine() = default;
    explicit PropertyLine(std::string_view line)
        : key(KTSyncCalendarTools::propertyKeyInLine(line)),
          value(key.size() < line.size() ? line.substr(key.size() + 1) : std::string_view())
    {}

    std::string_view key;
    std::string_view value;
};

/// Gathers properties and builds their values once, at the end: thousands of lines of one key cost
/// no more than thousands of keys.
class PropertyCollector {
public:
    void startProperty(std::string_view line)
    {
        finishProperty();
        _property = PropertyLine(line);
        _isOpen = true;
        _isFolded = false;
    }

    /// A blank at the start of a line carries on the property before it.
    bool continuesProperty(std::string_view line)
    {
        if (!_isOpen || line.empty() || line.front() != ' ') {
            finishProperty();
            return false;
        }
        if (!std::exchange(_isFolded, true))
            _unfolded = _property.value;
        _unfolded += line.substr(1);
        return true;
    }

    ComponentProperties properties()
    {
        finishProperty();
        for (auto& [place, list] : _lists)
            _properties.valueAt(place) = std::move(list);
        return std::move(_properties);
    }

private:
    void finishProperty()
    {
        if (!std::exchange(_isOpen, false))
            return;
        const std::size_t place = _properties.enter(_property.key);
        Value& value = _properties.valueAt(place);
        if (value.isNil() || _property.key == kSingleValuedKey) {
            value = finishedValue();
            return;
        }
        Array& list = _lists[place];
        if (list.empty())
            list.push_back(value);
        list.push_back(finishedValue());
    }

    Value finishedValue() const
    {
        const std::string_view text = _isFolded ? std::string_view(_unfolded) : _property.value;
        // A fold may have cut a character beyond the BMP; each half begins with this byte.
        if (text.find('\xED') != std::string_view::npos)
            return joinedSurrogateHalves(std::string(text));
        return text;
    }

    PropertyLine _property;
    bool _isOpen = false;
    bool _isFolded = false;  // then the value stands here:
    std::string _unfolded;
    ComponentProperties _properties;
    std::unordered_map<std::size_t, Array> _lists;  // of keys that came more than once, by place
};

/// The common name of a CN parameter. With quotes, the character behind the prefix and the last one
/// are dropped, whatever they are; nothing is left to take of a single quote.
std::optional<std::string> commonNameInParameter(std::string_view parameter)
{
    if (contains(parameter, "\""))
        return substringFromIndex(parameter, 4, utf16Length(parameter) - 1);
    return std::string(parameter.substr(3));
}

}  // namespace

ComponentProperties KTSyncCalendarTools::findAndRemovePropertiesFromLines(LineList& lines,
                                                                          KTFileLogger* fileLogger)
{
    PropertyCollector collector;
    int depth = 0;
    lines.removeIf([&](std::string_view line) {
        if (collector.continuesProperty(line))
            return true;
        if (line.starts_with("BEGIN:")) {
            ++depth;
            return false;
        }
        if (line.starts_with("END:")) {
            --depth;
            return false;
        }
        if (depth != 0)
            return false;
        guardedOr([&] { collector.startProperty(line); },
                  [&](const Exception& exception) {
                      logTo(fileLogger,
                            "[KTSyncCalendarTools findAndRemovePropertiesFromLines]:\n%@\n%@",
                            lines.description(), exception);
                  });
        return true;
    });
    return collector.properties();
}

std::string_view KTSyncCalendarTools::propertyKeyInLine(std::string_view line)
{
    bool inQuotes = false;
    return line.substr(0, findUnquoted(line, ':', 0, inQuotes));
}

std::string_view KTSyncCalendarTools::propertyNameInKey(std::string_view key)
{
    return key.substr(0, key.find(';'));
}

std::vector<std::string_view> KTSyncCalendarTools::splitProperties(
    std::optional<std::string_view> key, KTFileLogger* /*fileLogger*/)
{
    std::vector<std::string_view> parameters;
    if (!key)
        return parameters;
    if (key->find(';') == std::string_view::npos)
        return {*key};
    std::size_t start = 0;
    bool inQuotes = false;
    for (;;) {
        const std::size_t end = findUnquoted(*key, ';', start, inQuotes);
        if (end == key->size())
            break;
        parameters.push_back(key->substr(start, end - start));
        start = end + 1;
    }
    if (start < key->size())
        parameters.push_back(key->substr(start));
    return parameters;
}

void KTSyncCalendarTools::addCNAndValueToList(Array& list, std::optional<std::string_view> fromKey,
                                              const Value& andValue, KTFileLogger* fileLogger)
{
    if (!fromKey || andValue.isNil())
        return;
    const std::vector<std::string_view> parameters = splitProperties(fromKey, fileLogger);
    std::optional<std::string_view> commonNameParameter;
    std::string status;
    for (std::size_t index = 1; index < parameters.size(); ++index) {
        if (parameters[index].starts_with("CN=")) {
            commonNameParameter = parameters[index];
            continue;
        }
        if (!status.empty())
            status += ';';
        status += parameters[index];
    }
    const Value commonName =
        commonNameParameter ? Value(commonNameInParameter(*commonNameParameter)) : Value();

    const auto append = [&](const Value& address) {
        appendTo(list,
                 KTSyncAttendee::attendeeWithCommonName(commonName, status, address, fileLogger));
    };
    if (!andValue.isArray())
        return append(andValue);
    for (const Value& address : andValue.array())
        append(address);
}

}  // namespace kt
