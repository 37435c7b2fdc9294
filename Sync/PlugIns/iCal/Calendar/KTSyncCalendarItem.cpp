#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarItem.h"

#include <algorithm>
#include <array>
#include <memory>
#include <vector>

#include "Sync/Foundation/Platform.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"
#include "Sync/PlugIns/iCal/Calendar/RawValueLine.h"
#include "Sync/PlugIns/iCal/Calendar/UnreadText.h"

namespace kt {

namespace {

constexpr std::string_view kSpecialPrefix = "X-";

/// A name that begins like one of these properties and that the reader finds again.
bool isSpecialName(std::string_view name)
{
    using Tools = KTSyncCalendarTools;
    return name.starts_with(kSpecialPrefix) &&
           name.find_first_of("\r\n") == std::string_view::npos &&
           Tools::propertyNameInKey(Tools::propertyKeyInLine(std::string(name) + ':')) == name;
}

template <class List>
bool hasElements(const List& list)
{
    return list && !list->empty();
}

template <class T>
Array syncRecords(const std::vector<std::shared_ptr<const T>>& components)
{
    Array records;
    records.reserve(components.size());
    for (const auto& component : components)
        appendTo(records, component->syncRecord());
    return records;
}

template <class List>
void appendICalLines(std::string& lines, const List& list)
{
    if (!list)
        return;
    for (const auto& component : *list)
        lines += component->iCalLines();
}

}  // namespace

KTSyncCalendarItem::~KTSyncCalendarItem() = default;

KTSyncCalendarItem::KTSyncCalendarItem(KTSyncPluginHelper* pluginHelper, Value parentRecordKey,
                                       LineList& lines)
    : _pluginHelper(pluginHelper),
      _parentRecordKey(std::move(parentRecordKey))
{
    _alarms.emplace();
    takeAlarms(lines);
    takeProperties(lines);
}

KTSyncCalendarItem::KTSyncCalendarItem(KTSyncPluginHelper* pluginHelper,
                                       std::optional<std::string> recordKey,
                                       const Dictionary& syncRecord)
    : _pluginHelper(pluginHelper),
      _recordKey(recordKey ? Rare<std::string>(*std::move(recordKey)) : std::nullopt)
{
    guarded(
        fileLogger(), "[KTSyncCalendarItem init]:\n%@\n%@",
        [&] { return syncRecord.description(); }, [&] { takeRecord(syncRecord); });
}

KTFileLogger* KTSyncCalendarItem::fileLogger() const
{
    return _pluginHelper == nullptr ? nullptr : _pluginHelper->fileLogger();
}

void KTSyncCalendarItem::takeAlarms(LineList& lines)
{
    KTFileLogger* const logger = fileLogger();
    const auto noContext = [] { return nullptr; };
    guarded(logger, "[KTSyncCalendarItem init(alarms)]:\n%@\n%@", noContext, [&] {
        for (LineList& component :
             KTSyncCalendarTools::findAndRemoveComponents("VALARM", lines, logger)) {
            if (auto alarm = KTSyncAlarm::alarmWithICalendLines(component, logger))
                _alarms->push_back(std::move(alarm));
        }
    });
}

void KTSyncCalendarItem::takeProperties(LineList& lines)
{
    KTFileLogger* const logger = fileLogger();
    guarded(
        logger, "[KTSyncCalendarItem init]:\n%@\n%@", [&] { return lines.description(); },
        [&] {
            const RawProperties properties =
                KTSyncCalendarTools::findAndRemovePropertiesFromLines(lines, logger);
            reportReplacedProperties(properties);
            _components = std::make_unique<ComponentProperties>(
                KTSyncCalendarTools::filterICalValuesInComponents(
                    properties, Platform::shared().localTimeZoneName(), logger));
            _title = componentValue("SUMMARY");
            _notes = takeComponent("DESCRIPTION");
            _url = takeComponent("URL");
            _uid = takeComponent("UID");
            _sequence = takeComponent("SEQUENCE");
            if (_sequence.isNil())
                _sequence = "1";
            _attachments = componentListWithValue<KTSyncAttachment>(componentValue("ATTACH"));
            _dateStamp = dateInComponents("DTSTAMP");
            _startDate = dateInComponents("DTSTART");
            for (const auto& [name, value] : *_components) {
                if (name.starts_with(kSpecialPrefix))
                    _appleSpecialFields.valueOrNew().set(name, takeComponent(name));
            }
        });
}

void KTSyncCalendarItem::takeRecord(const Dictionary& syncRecord)
{
    _parentRecordKey = syncRecord["ParentRecordKey"].stringOrNil();
    _title = syncRecord["Title"];
    _url = syncRecord["URL"];
    _notes = syncRecord["Notes"];
    _sequence = syncRecord["Sequence"];
    takeAttachments(syncRecord);
    _dateStamp = KTSyncCalendarTools::enhancedDate(syncRecord["DateStamp"]);
    _startDate = KTSyncCalendarTools::enhancedDate(syncRecord["StartDate"]);
    if (const Value* special = syncRecord.find("AppleSpecialFields"))
        _appleSpecialFields = special->dictionary();

    const Value* alarms = syncRecord.find("Alarms");
    if (alarms == nullptr || alarms->array().empty())
        return;
    _alarms.emplace();
    for (const Value& alarm : alarms->array())
        _alarms->push_back(KTSyncAlarm::alarmWithSyncRecord(alarm, fileLogger()));
}

void KTSyncCalendarItem::takeAttachments(const Dictionary& syncRecord)
{
    KTFileLogger* const logger = fileLogger();
    if (const Value* attachment = syncRecord.find("Attachment")) {
        logTo(logger, "Attachment, alte Version bei '%@'", _title);
        _attachments.emplace();
        _attachments->push_back(
            attachment->isString()
                ? KTSyncAttachment::attachmentWithURI(*attachment, "", logger)
                : KTSyncAttachment::attachmentWithSyncRecord(*attachment, logger));
    }
    if (const Value* attachments = syncRecord.find("Attachments")) {
        logTo(logger, "Attachment, neue Version bei '%@'", _title);
        _attachments.emplace();  // what the old form gave goes: the new form holds it as well
        for (const Value& attachment : attachments->array())
            _attachments->push_back(KTSyncAttachment::attachmentWithSyncRecord(attachment, logger));
    }
}

Dictionary KTSyncCalendarItem::sharedSyncRecord() const
{
    constexpr std::size_t kAlways = 3;    // title, calendar, zone
    constexpr std::size_t kUsualOwn = 4;  // what the item's class adds
    const std::array<bool, 8> others{!_url.isNil(),
                                     !_notes.isNil(),
                                     !_sequence.isNil(),
                                     _dateStamp != nullptr,
                                     _startDate != nullptr,
                                     hasElements(_attachments),
                                     _appleSpecialFields.has_value(),
                                     hasElements(_alarms)};
    Dictionary record;
    // Room that stays empty is a twentieth of a run's memory.
    record.reserve(kAlways + kUsualOwn +
                   static_cast<std::size_t>(std::count(others.begin(), others.end(), true)));
    guarded(
        fileLogger(), "[KTSyncCalendarItem syncRecord]:\n%@\n%@",
        [&] { return record.description(); },
        [&] {
            record.set("Title", _title);
            record.setIfPresent("URL", _url);
            record.setIfPresent("Notes", _notes);
            record.setIfPresent("Sequence", _sequence);
            record.setIfPresent("DateStamp", _dateStamp);
            record.setIfPresent("StartDate", _startDate);
            if (hasElements(_attachments))
                record.set("Attachments", syncRecords(*_attachments));
            record.set("ParentRecordKey", _parentRecordKey);
            record.set("Timezone", Platform::shared().localTimeZoneName());
            if (_appleSpecialFields && !_appleSpecialFields->empty())
                record.set("AppleSpecialFields", *_appleSpecialFields);
            if (hasElements(_alarms))
                record.set("Alarms", syncRecords(*_alarms));
        });
    return record;
}

std::string KTSyncCalendarItem::sharedICalLines() const
{
    KTFileLogger* const logger = fileLogger();
    std::string lines;
    guarded(
        logger, "[KTSyncCalendarItem iCalLines]:\n%@\n%@", [&] { return lines; },
        [&] {
            lines += KTSyncCalendarTools::splitLine(rawValueLine("SUMMARY:%@\r\n", _title), logger);
            appendProperty(lines, "DESCRIPTION:%@\r\n", _notes);
            appendProperty(lines, "SEQUENCE:%@\r\n", _sequence);
            appendProperty(lines, "URL;VALUE=URI:%@\r\n", _url);
            if (_dateStamp)
                appendProperty(lines, "DTSTAMP:%@\r\n", _dateStamp->iCalDate());
            appendDate(lines, "DTSTART", _startDate);
            appendProperty(lines, "UID:%@\r\n", _uid);
            appendICalLines(lines, _attachments);
            appendICalLines(lines, _alarms);
            appendSpecialFields(lines);
        });
    return lines;
}

void KTSyncCalendarItem::appendSpecialFields(std::string& lines) const
{
    if (!_appleSpecialFields)
        return;
    for (const auto& [name, value] : *_appleSpecialFields) {
        // A record may hold any name, and some would begin or end a component.
        if (!isSpecialName(name)) {
            reportLoss(KTLoss::Kind::curtailed,
                       stringWithFormat("Eigenschaft '%@' wird nicht geschrieben",
                                        KTSyncCalendarTools::onOneLine(name)));
            continue;
        }
        if (!value.isArray()) {
            lines += KTSyncCalendarTools::propertyLine(fileLogger(), "%@:%@\r\n", name, value);
            continue;
        }
        tellOfSeveralValues(name);
        // It describes itself with line feeds, but without those of its elements.
        lines +=
            KTSyncCalendarTools::splitLineUsingFileLogger(fileLogger(), "%@:%@\r\n", name, value);
    }
}

std::optional<std::string> KTSyncCalendarItem::uniquenessKey() const
{
    return _uniquenessKey ? std::optional(hexText(*_uniquenessKey)) : std::nullopt;
}

std::optional<std::string> KTSyncCalendarItem::recordKey() const
{
    if (_digestedKey)
        return hexText(*_digestedKey);
    return _recordKey ? std::optional(*_recordKey) : std::nullopt;
}

void KTSyncCalendarItem::adoptRecordKeyAsUID()
{
    if (_uid.isNil())
        _uid = recordKey();
}

EnhancedDate KTSyncCalendarItem::dateInComponents(const PropertyName& name) const
{
    const Value& value = componentValue(name);
    // The value filter puts no other object under the name of a date.
    return value.isObject() ? std::static_pointer_cast<const KTSyncEnhancedDate>(value.object())
                            : nullptr;
}

Value KTSyncCalendarItem::takeComponent(const PropertyName& name)
{
    return _title.isNil() ? componentValue(name) : _components->take(name);
}

void KTSyncCalendarItem::appendProperty(std::string& lines, std::string_view format,
                                        const Value& value) const
{
    if (value.isNil())
        return;
    lines += KTSyncCalendarTools::splitLine(rawValueLine(format, value), fileLogger());
}

void KTSyncCalendarItem::appendDate(std::string& lines, std::string_view name,
                                    const Value& date) const
{
    if (auto line = KTSyncCalendarTools::assembleDateComponent(name, date))
        lines += KTSyncCalendarTools::splitLine(KTSyncCalendarTools::writableLine(std::move(*line)),
                                                fileLogger());
}

std::string KTSyncCalendarItem::description() const
{
    return guardedOr([&] { return syncRecord().description(); },
                     [&](const Exception&) { return stringWithFormat("Name:'%@'", _title); });
}

}  // namespace kt
