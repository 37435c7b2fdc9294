#include "Sync/PlugIns/iCal/Calendar/KTSyncEvent.h"

#include <algorithm>

#include "Sync/Foundation/Digest.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"

namespace kt {

namespace {

constexpr std::size_t kDigestedLength = 256;  // of most events

/// Part of a digest, if there is one.
void appendIfPresent(std::string& content, const Value& value)
{
    if (value.isString())
        content += value.string();  // most of them: spares a copy
    else if (!value.isNil())
        content += value.description();
}

void appendIfPresent(std::string& content, const EnhancedDate& date)
{
    if (date)
        content += date->iCalDate();
}

/// Part of a digest, as a format prints it.
void appendFormatted(std::string& content, const Value& value)
{
    if (value.isNil())
        content += "(null)";
    else
        appendIfPresent(content, value);
}

/// The flag comes of the start date; a property of that name takes its place, and several of it say
/// nothing.
bool isAllDayIn(const Value& flag)
{
    if (!flag.isArray())
        return flag.boolValue();
    reportLoss(KTLoss::Kind::thinned, "ALLDAY steht mehrmals und wird nicht gelesen");
    return false;
}

/// Whether two dates are written under different property keys, of which the reader takes one.
bool haveDifferentKeys(const Value& left, const Value& right)
{
    const EnhancedDate first = KTSyncCalendarTools::enhancedDate(left);
    const EnhancedDate second = KTSyncCalendarTools::enhancedDate(right);
    return first->isAllDay() != second->isAllDay() ||
           (!first->isAllDay() && first->timezone() != second->timezone());
}

}  // namespace

std::shared_ptr<KTSyncEvent> KTSyncEvent::syncEventWithPluginHelper(
    KTSyncPluginHelper* pluginHelper, Value andParentRecordKey, LineList& andICalendarLines)
{
    if (pluginHelper == nullptr)
        return nullptr;
    return std::make_shared<KTSyncEvent>(pluginHelper, std::move(andParentRecordKey),
                                         andICalendarLines);
}

std::shared_ptr<KTSyncEvent> KTSyncEvent::syncEventWithPluginHelper(
    KTSyncPluginHelper* pluginHelper, std::optional<std::string> recordKey,
    const Dictionary& andSyncRecord)
{
    if (pluginHelper == nullptr)
        return nullptr;
    return std::make_shared<KTSyncEvent>(pluginHelper, std::move(recordKey), andSyncRecord);
}

KTSyncEvent::KTSyncEvent(KTSyncPluginHelper* pluginHelper, Value parentRecordKey, LineList& lines)
    : KTSyncCalendarItem(pluginHelper, std::move(parentRecordKey), lines)
{
    guarded(
        fileLogger(), "[KTSyncEvent init]:\n%@\n%@", [&] { return lines.description(); },
        [&] { takeComponents(); });
}

KTSyncEvent::KTSyncEvent(KTSyncPluginHelper* pluginHelper, std::optional<std::string> recordKey,
                         const Dictionary& syncRecord)
    : KTSyncCalendarItem(pluginHelper, std::move(recordKey), syncRecord)
{
    guarded(
        fileLogger(), "[KTSyncEvent init]:\n%@\n%@", [&] { return syncRecord.description(); },
        [&] { takeRecord(syncRecord); });
}

void KTSyncEvent::takeComponents()
{
    _location = takeComponent("LOCATION");
    _transp = takeComponent("TRANSP");
    _endDate = dateInComponents("DTEND");
    _isAllDay = isAllDayIn(componentValue("ALLDAY"));
    _duration = componentValue("DURATION");
    _attendees = componentListWithValue<KTSyncAttendee>(componentValue("ATTENDEE"));
    _recurrenceRule = componentValue("RRULE").objectOfClass<KTSyncRecurrenceRule>();
    _exceptionDates = componentValue("EXDATE");
    _recurrenceId = dateInComponents("RECURRENCE-ID");
    if (_title.isNil()) {
        logMsg(_pluginHelper, "Ereignis ohne Beschreibung:\n%@", Dictionary(*_components));
        _title = "";
    }
    _digestedKey = computedRecordKey();
    _uniquenessKey = computedUniquenessDigest();
    releaseComponents();
}

void KTSyncEvent::takeRecord(const Dictionary& syncRecord)
{
    _location = syncRecord["Location"];
    _transp = syncRecord["TRANSP"];
    _endDate = KTSyncCalendarTools::enhancedDate(syncRecord["EndDate"]);
    _isAllDay = _startDate && _startDate->isAllDay();
    _exceptionDates = syncRecord["ExceptionDates"];
    _duration = syncRecord["Duration"];
    _recurrenceRule =
        KTSyncRecurrenceRule::recurrenceRuleWithSyncRecord(syncRecord["RecurrenceRule"],
                                                           fileLogger());
    _recurrenceId = KTSyncCalendarTools::enhancedDate(syncRecord["RecurrenceId"]);
    _recurrenceParentRecordKey = syncRecord["RecurrenceParentRecordKey"].stringOrNil();
    if (const Value* dates = syncRecord.find("RecurrenceExceptionDates"))
        _recurrenceExceptionDates = dates->array();

    const Value* attendees = syncRecord.find("Attendees");
    if (attendees == nullptr || attendees->array().empty())
        return;
    _attendees.emplace();
    for (const Value& attendee : attendees->array())
        _attendees->push_back(KTSyncAttendee::attendeeWithSyncRecord(attendee, fileLogger()));
}

// The sequence takes part, so that a changed event is a new record.
SHA1Digest KTSyncEvent::computedRecordKey() const
{
    std::string content;
    content.reserve(kDigestedLength);
    appendFormatted(content, _title);
    content += _startDate ? _startDate->descriptionWithCalendarFormat("%Y%m%dT%H:%M:%S") : "(null)";
    appendFormatted(content, _sequence);
    appendFormatted(content, _parentRecordKey);
    return sha1DigestBytes(content);
}

// What two copies of one event share: neither UID nor sequence, time stamp, alarms or X- fields.
SHA1Digest KTSyncEvent::computedUniquenessDigest() const
{
    std::string content;
    content.reserve(kDigestedLength);
    appendIfPresent(content, _title);
    appendIfPresent(content, _notes);
    appendIfPresent(content, _url);
    appendIfPresent(content, _location);
    appendIfPresent(content, componentValue("ATTACH"));
    appendIfPresent(content, componentValue("ATTENDEE"));
    appendIfPresent(content, _startDate);
    appendIfPresent(content, _endDate);
    appendIfPresent(content, _duration);
    if (_recurrenceRule)
        content += _recurrenceRule->digestedLines();
    if (_isAllDay)
        content += "ALLDAY";
    return sha1DigestBytes(content);
}

void KTSyncEvent::addRecurrenceExceptionDate(const EnhancedDate& date)
{
    appendTo(_recurrenceExceptionDates.valueOrNew(), date);
}

Dictionary KTSyncEvent::syncRecord() const
{
    Dictionary record;
    guarded(
        fileLogger(), "[KTSyncEvent syncRecord]:\n%@\n%@", [&] { return record.description(); },
        [&] {
            record = sharedSyncRecord();
            addOwnKeys(record);
        });
    return record;
}

void KTSyncEvent::addOwnKeys(Dictionary& record) const
{
    record.setIfPresent("Location", _location);
    record.setIfPresent("TRANSP", _transp);
    record.setIfPresent("EndDate", _endDate);
    if (_isAllDay)
        record.set("AllDay", true);
    if (_recurrenceRule)
        record.set("RecurrenceRule", _recurrenceRule->syncRecord());
    record.setIfPresent("ExceptionDates", _exceptionDates);
    record.setIfPresent("Duration", _duration);
    record.setIfPresent("RecurrenceId", _recurrenceId);
    record.setIfPresent("RecurrenceParentRecordKey", _recurrenceParentRecordKey);
    if (_recurrenceExceptionDates)
        record.set("RecurrenceExceptionDates", *_recurrenceExceptionDates);
    if (!_attendees)
        return;
    Array attendees;
    attendees.reserve(_attendees->size());
    for (const auto& attendee : *_attendees)
        appendTo(attendees, attendee->syncRecord());
    record.set("Attendees", std::move(attendees));
}

std::string KTSyncEvent::iCalLines()
{
    std::string lines;
    guarded(
        fileLogger(), "[KTSyncEvent iCalLines]:\n%@\n%@", [&] { return lines; },
        [&] {
            lines += "BEGIN:VEVENT\r\n";
            appendOwnLines(lines);
            adoptRecordKeyAsUID();
            lines += sharedICalLines();
            lines += "END:VEVENT\r\n";
        });
    return lines;
}

void KTSyncEvent::appendExceptionDates(std::string& lines) const
{
    if (_exceptionDates.isNil())
        return;
    const Array& dates = _exceptionDates.array();
    for (const Value& date : dates)
        appendDate(lines, "EXDATE", date);
    if (std::adjacent_find(dates.begin(), dates.end(), haveDifferentKeys) != dates.end())
        reportLoss(KTLoss::Kind::curtailed,
                   stringWithFormat("EXDATE in '%@': die Ausnahmen stehen in verschiedenen "
                                    "Zeitzonen, gelesen werden nur die der letzten",
                                    _title));
}

void KTSyncEvent::appendOwnLines(std::string& lines) const
{
    appendProperty(lines, "LOCATION:%@\r\n", _location);
    appendProperty(lines, "TRANSP:%@\r\n", _transp);
    appendDate(lines, "DTEND", _endDate);
    if (_recurrenceRule)
        lines += _recurrenceRule->iCalLines();
    if (!_duration.isNil())
        appendProperty(lines, "DURATION:%@\r\n",
                       KTSyncCalendarTools::iCalDurationString(_duration, fileLogger()));
    appendExceptionDates(lines);
    appendDate(lines, "RECURRENCE-ID", _recurrenceId);
    if (!_attendees)
        return;
    for (const auto& attendee : *_attendees)
        lines += attendee->iCalLines();
}

}  // namespace kt
