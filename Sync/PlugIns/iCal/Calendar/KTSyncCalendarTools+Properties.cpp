#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <string_view>
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
        if (current == character && !inQuotes)
            return position;
        if (current == '\\') {
            position = positionBehindEscape(text, position);
            continue;
        }
        if (current == '"')
            inQuotes = !inQuotes;
        ++position;
    }
    return text.size();
}

bool isNamePart(char character)
{
    return (character >= 'A' && character <= 'Z') || (character >= '0' && character <= '9') ||
           character == '-';
}

/// The parts of a property's first physical line: key and value, and the name that the key begins
/// with.
struct PropertyLine {
    explicit PropertyLine(std::string_view line)
    {
        while (nameLength < line.size() && isNamePart(line[nameLength]))
            ++nameLength;
        std::size_t keyLength = nameLength;
        if (nameLength < line.size() && line[nameLength] != ':') {  // most keys are a bare name
            bool inQuotes = false;
            keyLength = findUnquoted(line, ':', nameLength, inQuotes);
        }
        key = line.substr(0, keyLength);
        if (nameLength < keyLength && key[nameLength] != ';')
            nameLength = KTSyncCalendarTools::propertyNameInKey(key).size();
        if (keyLength < line.size())
            value = line.substr(keyLength + 1);
    }

    std::string_view key;
    std::string_view value;
    std::size_t nameLength = 0;
};

/// Gathers properties and the lists of those that came more than once, which become values at the
/// end: thousands of lines of one key cost no more than thousands of keys.
class PropertyCollector {
public:
    explicit PropertyCollector(const LineList& lines) : _mayHoldHalves(lines.mayHoldHalves()) {}

    /// The property before it must have ended.
    void startProperty(std::string_view line)
    {
        const PropertyLine parts(line);
        const auto [place, isNew] = _properties.enter(parts.key, parts.nameLength);
        _place = place;
        _isFirst = isNew || parts.key == kSingleValuedKey;
        _value = parts.value;
        _isOpen = true;
        _isFolded = false;
    }

    /// A blank at the start of a line carries on the property before it.
    bool continuesProperty(std::string_view line)
    {
        if (!_isOpen)
            return false;
        if (line.empty() || line.front() != ' ') {
            finishProperty();
            return false;
        }
        if (!std::exchange(_isFolded, true))
            _unfolded = _value;
        _unfolded += line.substr(1);
        return true;
    }

    RawProperties properties()
    {
        if (_isOpen)
            finishProperty();
        for (auto& [place, list] : _lists)
            _properties[place].setValue(std::move(list));
        return std::move(_properties);
    }

private:
    void finishProperty()
    {
        _isOpen = false;
        RawProperty& property = _properties[_place];
        if (_isFirst && !_isFolded && !mayHoldHalves(_value)) {
            property.setText(_value);
        } else if (_isFirst) {
            property.setValue(finishedValue());
        } else {
            Array& list = _lists[_place];
            if (list.empty())
                list.push_back(property.value());
            list.push_back(finishedValue());
        }
    }

    bool mayHoldHalves(std::string_view text) const
    {
        return _mayHoldHalves && mayHoldSurrogateHalves(text);
    }

    Value finishedValue() const
    {
        const std::string_view text = _isFolded ? std::string_view(_unfolded) : _value;
        return mayHoldHalves(text) ? Value(joinedSurrogateHalves(std::string(text))) : Value(text);
    }

    bool _mayHoldHalves;
    RawProperties _properties;
    std::map<std::size_t, Array> _lists;  // of keys that came more than once, by place
    // The property whose lines are being read:
    bool _isOpen = false;
    std::size_t _place = 0;
    bool _isFirst = false;  // of its key, or the only one that counts
    std::string_view _value;
    bool _isFolded = false;  // then the value stands here:
    std::string _unfolded;
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

RawProperties KTSyncCalendarTools::findAndRemovePropertiesFromLines(LineList& lines,
                                                                    KTFileLogger* fileLogger)
{
    PropertyCollector collector(lines);
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
