#include "Sync/PlugIns/iCal/Calendar/KTSyncAlarm.h"

#include <string_view>
#include <utility>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"
#include "Sync/PlugIns/iCal/Calendar/RawValueLine.h"

namespace kt {

namespace {

constexpr std::string_view kInitWithSyncRecord = "[KTSyncAlarm initWithSyncRecord]:\n%@\n%@";

}  // namespace

std::shared_ptr<const KTSyncAlarm> KTSyncAlarm::alarmWithICalendLines(LineList& lines,
                                                                      KTFileLogger* fileLogger)
{
    return std::make_shared<const KTSyncAlarm>(lines, fileLogger);
}

std::shared_ptr<const KTSyncAlarm> KTSyncAlarm::alarmWithSyncRecord(const Value& syncRecord,
                                                                    KTFileLogger* fileLogger)
{
    if (syncRecord.isNil())
        return nullptr;
    const auto& record = guarded(
        fileLogger, kInitWithSyncRecord, [&] { return syncRecord.description(); },
        [&]() -> const Dictionary& { return syncRecord.dictionary(); });
    return std::make_shared<const KTSyncAlarm>(record, fileLogger);
}

KTSyncAlarm::KTSyncAlarm(LineList& lines, KTFileLogger* fileLogger) : _fileLogger(fileLogger)
{
    guarded(
        fileLogger, "[KTSyncAlarm initWithICalendLines]:\n%@\n%@",
        [&] { return lines.description(); }, [&] { takeLines(lines); });
}

KTSyncAlarm::KTSyncAlarm(const Dictionary& syncRecord, KTFileLogger* fileLogger)
    : _fileLogger(fileLogger)
{
    guarded(
        fileLogger, kInitWithSyncRecord, [&] { return syncRecord.description(); },
        [&] { takeRecord(syncRecord); });
}

void KTSyncAlarm::takeLines(LineList& lines)
{
    auto components = KTSyncCalendarTools::filterICalValuesInComponents(
        KTSyncCalendarTools::findAndRemovePropertiesFromLines(lines, _fileLogger),
        Platform::shared().localTimeZoneName(), _fileLogger);
    _attachments = componentListWithValue<KTSyncAttachment>(components["ATTACH"]);
    _action = components.take("ACTION");
    const auto attendees = componentListWithValue<KTSyncAttendee>(components["ATTENDEE"]);
    if (attendees && !attendees->empty())
        _emailAddress = attendees->front();
    Value trigger = components.take("TRIGGER");
    if (trigger.objectOfClass<KTSyncEnhancedDate>() != nullptr)
        _absoluteTrigger = std::move(trigger);
    else
        _relativeTrigger = std::move(trigger);
}

void KTSyncAlarm::takeRecord(const Dictionary& syncRecord)
{
    _action = syncRecord["Action"];
    _emailAddress = KTSyncAttendee::attendeeWithSyncRecord(syncRecord["EmailAddress"], _fileLogger);
    // Older records hold a single attachment; where both forms stand, the newer one holds all.
    if (const Value* attachment = syncRecord.find("Attachment")) {
        _attachments.emplace();
        _attachments->push_back(
            attachment->isString()
                ? KTSyncAttachment::attachmentWithURI(*attachment, "", _fileLogger)
                : KTSyncAttachment::attachmentWithSyncRecord(*attachment, _fileLogger));
    }
    if (const Value* attachments = syncRecord.find("Attachments")) {
        _attachments.emplace();
        for (const Value& attachment : attachments->array())
            _attachments->push_back(
                KTSyncAttachment::attachmentWithSyncRecord(attachment, _fileLogger));
    }
    _absoluteTrigger = syncRecord["AbsoluteTrigger"];
    _relativeTrigger = syncRecord["RelativeTrigger"];
}

Dictionary KTSyncAlarm::syncRecord() const
{
    Dictionary record;
    record.set("Action", _action);
    if (_attachments && !_attachments->empty()) {
        Array attachments;
        for (const auto& attachment : *_attachments)
            appendTo(attachments, attachment->syncRecord());
        record.set("Attachments", std::move(attachments));
    }
    if (_emailAddress != nullptr)
        record.set("EmailAddress", _emailAddress->syncRecord());
    record.setIfPresent("AbsoluteTrigger", _absoluteTrigger);
    record.setIfPresent("RelativeTrigger", _relativeTrigger);
    return record;
}

std::string KTSyncAlarm::iCalLines() const
{
    std::string lines = "BEGIN:VALARM\r\n" + rawValueLine("ACTION:%@\r\n", _action);
    if (_attachments) {
        for (const auto& attachment : *_attachments)
            lines += attachment->iCalLines();
    }
    if (_emailAddress != nullptr && !_emailAddress->address().isNil())
        lines += KTSyncCalendarTools::propertyLine(_fileLogger, "ATTENDEE:%@\r\n",
                                                   _emailAddress->address());
    if (!_relativeTrigger.isNil())
        lines += KTSyncCalendarTools::splitLine(rawValueLine("TRIGGER:%@\r\n", _relativeTrigger),
                                                _fileLogger);
    else if (auto trigger = KTSyncCalendarTools::assembleDateComponent("TRIGGER", _absoluteTrigger))
        lines +=
            KTSyncCalendarTools::splitLine(KTSyncCalendarTools::writableLine(*std::move(trigger)),
                                           _fileLogger);
    return lines + "END:VALARM\r\n";
}

}  // namespace kt
