#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/Foundation/Text.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/PlugIns/iCal/Calendar/ICalDateReader.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncAttachment.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncRecurrenceRule.h"
#include "Sync/PlugIns/iCal/Calendar/UnreadText.h"

namespace kt {

namespace {

constexpr std::uint8_t numberOf(PropertyName name) { return name.number(); }

/// One run of the value filter over the properties of a component.
class ValueFilter {
public:
    ValueFilter(const RawProperties& properties, const std::string& defaultTimezone,
                KTFileLogger* fileLogger)
        : _properties(properties),
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
    void takeGuarded(const RawProperty& property)
    {
        try {
            take(property);
        } catch (const Exception& exception) {
            logTo(_fileLogger, "filterICalValuesInComponents:\n%@\nKey:'%@', Property:'%@'",
                  exception, Dictionary(_properties), property.key);
            throw;
        }
    }

    void take(const RawProperty& property)
    {
        const PropertyName name = property.name();
        switch (name.number()) {
        case numberOf("DTSTART"):
        case numberOf("DTEND"):
        case numberOf("DUE"):
        case numberOf("COMPLETED"):
        case numberOf("DTSTAMP"):
        case numberOf("RECURRENCE-ID"):
            return takeDate(property);
        case numberOf("TRIGGER"):
            return property.parameters().starts_with(";TZID=") ? takeDate(property)
                                                               : set(name, property.value());
        case numberOf("ATTENDEE"):
        case numberOf("ORGANIZER"):
            return KTSyncCalendarTools::addCNAndValueToList(listNamed(name), property.key,
                                                            property.value(), _fileLogger);
        case numberOf("EXDATE"):
            return takeExceptionDates(property);
        case numberOf("RRULE"):
            return takeRule(property);
        case numberOf("DURATION"):
            return set(name, KTSyncCalendarTools::parseICalDuration(property.value(), _fileLogger));
        case numberOf("ATTACH"):
            return takeAttachments(property);
        default:
            return set(name, property.value());
        }
    }

    void takeExceptionDates(const RawProperty& property)
    {
        tellOfCutZone(property);
        set(property.name(),
            KTSyncCalendarTools::filterExceptionDates(property.key, property.value(),
                                                      *_defaultTimezone, _fileLogger));
    }

    /// The name of a zone ends at a colon or else at a semicolon, even at one in quotes.
    void tellOfCutZone(const RawProperty& property) const
    {
        constexpr std::string_view kQuotedZone = "TZID=\"";
        const std::string_view parameters = property.parameters();
        if (parameters.empty())
            return;
        const std::size_t start = parameters.find(kQuotedZone);
        if (start == std::string_view::npos)
            return;
        const std::string_view quoted = parameters.substr(start + kQuotedZone.size());
        const std::string_view zone = quoted.substr(0, quoted.find('"'));
        const bool isAtColon = zone.find(':') != std::string_view::npos;
        if (!isAtColon && zone.find(';') == std::string_view::npos)
            return;
        reportLoss(KTLoss::Kind::thinned,
                   stringWithFormat("%@ in '%@': die Zeitzone '%@' wird am %@ abgeschnitten",
                                    property.name().text(), titleIn(_properties), zone,
                                    isAtColon ? "Doppelpunkt" : "Semikolon"));
    }

    void takeDate(const RawProperty& property)
    {
        tellOfCutZone(property);
        const PropertyName name = property.name();
        EnhancedDate date = dateIn(property);
        if (date == nullptr) {
            reportLoss(KTLoss::Kind::thinned,
                       stringWithFormat("%@: '%@' ist kein Datum", name.text(), property.value()));
            set(name, property.value());
            return;
        }
        set(name, std::move(date));
        if (name.number() == numberOf("DTSTART"))
            set("ALLDAY", utf16Length(property.text().value_or("")) == 8);
    }

    EnhancedDate dateIn(const RawProperty& property)
    {
        if (const auto text = property.text())
            return _dates.dateInText(*text, timezoneOf(property));
        return KTSyncCalendarTools::parseICalDate(property.value(), timezoneOf(property),
                                                  _fileLogger);
    }

    const std::optional<std::string>& timezoneOf(const RawProperty& property)
    {
        if (property.parameters().empty())
            return _defaultTimezone;
        _timezone = KTSyncCalendarTools::findTimezone(property.key, *_defaultTimezone, _fileLogger);
        return _timezone;
    }

    void takeRule(const RawProperty& property)
    {
        if (auto rule = KTSyncRecurrenceRule::recurrenceRuleWithRecurrenceString(property.value(),
                                                                                 _fileLogger))
            set(property.name(), std::move(rule));
    }

    void takeAttachments(const RawProperty& property)
    {
        Array& attachments = listNamed("ATTACH");
        const Value value = property.value();
        const auto take = [&](const Value& URI) {
            appendTo(attachments,
                     KTSyncAttachment::attachmentWithURI(URI, property.key, _fileLogger));
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
    void set(const PropertyName& name, Value&& value) { _values.set(name, std::move(value)); }

    /// The list under a name, entered empty when it is new. Lists grow aside: a value is immutable.
    Array& listNamed(const PropertyName& name)
    {
        const auto list = std::find_if(_lists.begin(), _lists.end(), [&](const auto& entry) {
            return entry.first == name.text();
        });
        if (list != _lists.end())
            return list->second;
        set(name, Array());
        return _lists.emplace_back(name.text(), Array()).second;
    }

    const RawProperties& _properties;
    const std::optional<std::string> _defaultTimezone;
    std::optional<std::string> _timezone;  // of the property at hand, when it names one
    KTFileLogger* _fileLogger;
    ICalDateReader _dates{_fileLogger};
    ComponentProperties _values;
    std::vector<std::pair<std::string_view, Array>> _lists;  // three names at most
};

}  // namespace

ComponentProperties KTSyncCalendarTools::filterICalValuesInComponents(
    const RawProperties& components, const std::string& defaultTimezone, KTFileLogger* fileLogger)
{
    return ValueFilter(components, defaultTimezone, fileLogger).values();
}

}  // namespace kt
