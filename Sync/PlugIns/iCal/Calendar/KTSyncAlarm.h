#pragma once

#include <memory>
#include <string>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/HostInterface/KTFileLogger.h"
#include "Sync/HostInterface/KTSyncEnhancedDate.h"
#include "Sync/PlugIns/iCal/Calendar/ComponentList.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncAttachment.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncAttendee.h"
#include "Sync/PlugIns/iCal/Calendar/LineList.h"

namespace kt {

/// One VALARM of an event or task (RFC 5545, 3.6.6).
class KTSyncAlarm : public Object {
public:
    /// From the component's lines without BEGIN and END, which it takes out of the list. Throws
    /// Exception, logged.
    static std::shared_ptr<const KTSyncAlarm> alarmWithICalendLines(LineList& lines,
                                                                    KTFileLogger* fileLogger);
    /// From the sub-dictionary that syncRecord() gives. Null for nil. Throws Exception, logged.
    static std::shared_ptr<const KTSyncAlarm> alarmWithSyncRecord(const Value& syncRecord,
                                                                  KTFileLogger* fileLogger);

    /// initWithICalendLines:fileLogger:
    KTSyncAlarm(LineList& lines, KTFileLogger* fileLogger);
    /// initWithSyncRecord:fileLogger:
    KTSyncAlarm(const Dictionary& syncRecord, KTFileLogger* fileLogger);

    const Value& action() const { return _action; }
    const std::shared_ptr<const KTSyncAttendee>& emailAddress() const { return _emailAddress; }
    const ComponentList<KTSyncAttachment>& attachments() const { return _attachments; }
    /// Raw: a text, or an array of texts where TRIGGER occurred more than once.
    const Value& relativeTrigger() const { return _relativeTrigger; }
    /// Nil or a KTSyncEnhancedDate (from a record: whatever stood there).
    const Value& absoluteTrigger() const { return _absoluteTrigger; }

    /// "Action", "Attachments", "EmailAddress", "AbsoluteTrigger", "RelativeTrigger". Throws
    /// Exception NSInvalidArgumentException without an action.
    Dictionary syncRecord() const;
    /// The whole component, BEGIN and END included, every line but ACTION folded, each ending in CR
    /// LF. Writes attachment files.
    std::string iCalLines() const;
    /// The same text as iCalLines().
    std::string description() const override { return iCalLines(); }

private:
    void takeLines(LineList& lines);
    void takeRecord(const Dictionary& syncRecord);

    KTFileLogger* _fileLogger;  // not owned, may be null, outlives every component
    Value _action;
    ComponentList<KTSyncAttachment> _attachments;
    std::shared_ptr<const KTSyncAttendee> _emailAddress;
    Value _relativeTrigger;
    Value _absoluteTrigger;
};

}  // namespace kt
