#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/Foundation/Text.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncAttachment.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncRecurrenceRule.h"
#include "Sync/PlugIns/iCal/Calendar/UnreadText.h"

namespace kt {

namespace {

bool isDateProperty(std::string_view key, std::string_view name)
{
    constexpr std::array<std::string_view, 6> kNames{"DTSTART",   "DTEND",   "DUE",
                                                     "COMPLETED", "DTSTAMP", "RECURRENCE-ID"};
    return std::find(kNames.begin(), kNames.end(), name) != kNames.end() ||
           key.starts_with("TRIGGER;TZID=");
}

/// One run of the value filter over the properties of a component. It leaves them as they are,
/// since a failure has to show them; raw values are shared, not copied.
class ValueFilter {
public:
    ValueFilter(ComponentProperties properties, const std::string& defaultTimezone,
                KTFileLogger* fileLogger)
        : _properties(std::move(properties)),
          _defaultTimezone(defaultTimezone),
          _fileLogger(fileLogger)
    {}

    ComponentProperties values()
    {
        for (const auto& property : _properties)
            takeGuarded(property);
        for (auto& [name, list] : _lists)
            set(name, std::move(list));
        return std::move(_values);
    }

private:
    using Property = ComponentProperties::Entry;

    void takeGuarded(const Property& property)
    {
        try {
            take(property);
        } catch (const Exception& exception) {
            logTo(_fileLogger, "filterICalValuesInComponents:\n%@\nKey:'%@', Property:'%@'",
                  exception, Dictionary(_properties), property.key);
            throw;
        }
    }

    void take(const Property& property)
    {
        const auto& [key, value] = property;
        const std::string_view name = KTSyncCalendarTools::propertyNameInKey(key);
        if (isDateProperty(key, name))
            takeDate(property, name);
        else if (name == "ATTENDEE" || name == "ORGANIZER")
            KTSyncCalendarTools::addCNAndValueToList(listNamed(name), key, value, _fileLogger);
        else if (name == "EXDATE")
            takeExceptionDates(property, name);
        else if (name == "RRULE")
            takeRule(value, name);
        else if (name == "DURATION")
            set(name, KTSyncCalendarTools::parseICalDuration(value, _fileLogger));
        else if (name == "ATTACH")
            takeAttachments(key, value);
        else
            set(name, value);
    }

    void takeExceptionDates(const Property& property, std::string_view name)
    {
        const auto& [key, text] = property;
        tellOfCutZone(key, name);
        set(name,
            KTSyncCalendarTools::filterExceptionDates(key, text, _defaultTimezone, _fileLogger));
    }

    /// The name of a zone ends at a colon or else at a semicolon, even at one in quotes.
    void tellOfCutZone(std::string_view key, std::string_view name) const
    {
        constexpr std::string_view kQuotedZone = "TZID=\"";
        const std::size_t start = key.find(kQuotedZone);
        if (start == std::string_view::npos)
            return;
        const std::string_view quoted = key.substr(start + kQuotedZone.size());
        const std::string_view zone = quoted.substr(0, quoted.find('"'));
        const bool isAtColon = zone.find(':') != std::string_view::npos;
        if (!isAtColon && zone.find(';') == std::string_view::npos)
            return;
        reportLoss(stringWithFormat("%@ in '%@': die Zeitzone '%@' wird am %@ abgeschnitten", name,
                                    titleIn(_properties), zone,
                                    isAtColon ? "Doppelpunkt" : "Semikolon"));
    }

    void takeDate(const Property& property, std::string_view name)
    {
        const auto& [key, text] = property;
        tellOfCutZone(key, name);
        const std::string timezone =
            KTSyncCalendarTools::findTimezone(key, _defaultTimezone, _fileLogger);
        const EnhancedDate date = KTSyncCalendarTools::parseICalDate(text, timezone, _fileLogger);
        if (date == nullptr) {
            reportLoss(stringWithFormat("%@: '%@' ist kein Datum", name, text));
            set(name, text);
            return;
        }
        set(name, date);
        if (name == "DTSTART")
            set("ALLDAY", utf16Length(text.string()) == 8);
    }

    void takeRule(const Value& text, std::string_view name)
    {
        if (auto rule = KTSyncRecurrenceRule::recurrenceRuleWithRecurrenceString(text, _fileLogger))
            set(name, std::move(rule));
    }

    void takeAttachments(std::string_view key, const Value& value)
    {
        Array& attachments = listNamed("ATTACH");
        const auto take = [&](const Value& URI) {
            appendTo(attachments, KTSyncAttachment::attachmentWithURI(URI, key, _fileLogger));
        };
        try {
            if (!value.isArray())
                return take(value);
            for (const Value& URI : value.array())
                take(URI);
        } catch (const Exception& exception) {
            NSLog("attachment: %@", exception);
            logTo(_fileLogger, "attachment: %@", exception);
            throw;
        }
    }

    /// Of several keys of one name the last one's value stays, at the place of the first.
    void set(std::string_view name, Value value) { _values.set(name, std::move(value)); }

    /// The list under a name, entered empty when it is new. Lists grow aside: a value is immutable.
    Array& listNamed(std::string_view name)
    {
        const auto list = std::find_if(_lists.begin(), _lists.end(),
                                       [&](const auto& entry) { return entry.first == name; });
        if (list != _lists.end())
            return list->second;
        set(name, Array());
        return _lists.emplace_back(name, Array()).second;
    }

    ComponentProperties _properties;
    const std::string& _defaultTimezone;
    KTFileLogger* _fileLogger;
    ComponentProperties _values;
    std::vector<std::pair<std::string_view, Array>> _lists;  // three names at most
};

}  // namespace

ComponentProperties KTSyncCalendarTools::filterICalValuesInComponents(
    ComponentProperties components, const std::string& defaultTimezone, KTFileLogger* fileLogger)
{
    return ValueFilter(std::move(components), defaultTimezone, fileLogger).values();
}

}  // namespace kt
