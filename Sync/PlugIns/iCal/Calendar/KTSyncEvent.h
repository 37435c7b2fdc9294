#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "Sync/PlugIns/iCal/Calendar/KTSyncAttendee.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarItem.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncRecurrenceRule.h"

namespace kt {

/// One VEVENT (RFC 5545, 3.6.1). Conduit "ical-event".
class KTSyncEvent : public KTSyncCalendarItem {
public:
    /// Null for a null helper. Throws Exception, logged, when a value cannot be taken.
    static std::shared_ptr<KTSyncEvent> syncEventWithPluginHelper(KTSyncPluginHelper* pluginHelper,
                                                                  Value andParentRecordKey,
                                                                  LineList& andICalendarLines);
    static std::shared_ptr<KTSyncEvent> syncEventWithPluginHelper(
        KTSyncPluginHelper* pluginHelper, std::optional<std::string> recordKey,
        const Dictionary& andSyncRecord);

    KTSyncEvent(KTSyncPluginHelper* pluginHelper, Value parentRecordKey, LineList& lines);
    KTSyncEvent(KTSyncPluginHelper* pluginHelper, std::optional<std::string> recordKey,
                const Dictionary& syncRecord);

    Dictionary syncRecord() const override;
    std::string iCalLines() override;

    const Value& location() const { return _location; }
    bool isAllDay() const { return _isAllDay; }
    const ComponentList<KTSyncAttendee>& attendees() const { return _attendees; }
    const EnhancedDate& endDate() const { return _endDate; }
    const std::shared_ptr<const KTSyncRecurrenceRule>& recurrenceRule() const
    {
        return _recurrenceRule;
    }
    const EnhancedDate& recurrenceId() const { return _recurrenceId; }
    std::optional<std::string> recurrenceParentRecordKey() const
    {
        return _recurrenceParentRecordKey.stringOrNil();
    }
    void setRecurrenceParentRecordKey(const std::optional<std::string>& key)
    {
        _recurrenceParentRecordKey = key;
    }
    const Rare<Array>& recurrenceExceptionDates() const { return _recurrenceExceptionDates; }
    /// Throws Exception NSInvalidArgumentException for null.
    void addRecurrenceExceptionDate(const EnhancedDate& date);

private:
    void takeComponents();
    void takeRecord(const Dictionary& syncRecord);
    SHA1Digest computedRecordKey() const;
    SHA1Digest computedUniquenessDigest() const;
    void addOwnKeys(Dictionary& record) const;
    void appendExceptionDates(std::string& lines) const;
    void appendOwnLines(std::string& lines) const;

    EnhancedDate _endDate;
    Value _location;
    Value _transp;
    ComponentList<KTSyncAttendee> _attendees;
    Value _exceptionDates;  // array of dates
    Value _duration;        // array of integers: weeks, days, hours, minutes, seconds
    bool _isAllDay = false;
    std::shared_ptr<const KTSyncRecurrenceRule> _recurrenceRule;
    EnhancedDate _recurrenceId;
    Value _recurrenceParentRecordKey;
    Rare<Array> _recurrenceExceptionDates;
};

}  // namespace kt
