#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/Foundation/Digest.h"
#include "Sync/HostInterface/KTSyncEnhancedDate.h"
#include "Sync/HostInterface/KTSyncPluginHelper.h"
#include "Sync/PlugIns/iCal/Calendar/ComponentList.h"
#include "Sync/PlugIns/iCal/Calendar/ComponentProperties.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncAlarm.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncAttachment.h"
#include "Sync/PlugIns/iCal/Calendar/LineList.h"
#include "Sync/PlugIns/iCal/Calendar/Rare.h"

namespace kt {

/// What events and tasks share (RFC 5545, 3.6.1 and 3.6.2): made from the lines of one component of
/// a store file or from a sync record, turned back into either. Immutable but for the UID. Fields
/// that the value filter hands on as they stand are values: a property that occurs twice is an
/// array and goes into records as one.
class KTSyncCalendarItem {
public:
    using Alarms = std::vector<std::shared_ptr<const KTSyncAlarm>>;

    virtual ~KTSyncCalendarItem();
    KTSyncCalendarItem(const KTSyncCalendarItem&) = delete;
    KTSyncCalendarItem& operator=(const KTSyncCalendarItem&) = delete;

    /// A new dictionary: what is shared, then the subclass's own keys. Throws Exception, logged,
    /// for an item without title and for one that holds what no record can.
    virtual Dictionary syncRecord() const = 0;
    /// The whole component, CR LF terminated and folded. A missing UID becomes the record key, and
    /// stays. Writes attachment files. Throws Exception, logged, for a value of the wrong kind.
    virtual std::string iCalLines() = 0;
    /// For logs: what the item would send. Never throws an Exception.
    std::string description() const;

    const Value& title() const { return _title; }
    const Value& notes() const { return _notes; }
    const Value& url() const { return _url; }
    const Value& sequence() const { return _sequence; }
    const Value& uid() const { return _uid; }
    const EnhancedDate& dateStamp() const { return _dateStamp; }
    const EnhancedDate& startDate() const { return _startDate; }
    const std::optional<Alarms>& alarms() const { return _alarms; }
    const ComponentList<KTSyncAttachment>& attachments() const { return _attachments; }
    std::optional<std::string> recordKey() const;
    std::optional<std::string> parentRecordKey() const { return _parentRecordKey.stringOrNil(); }
    /// Hexadecimal; nil for tasks and for what was made from a record.
    std::optional<std::string> uniquenessKey() const;
    /// The same as it is kept.
    const std::optional<SHA1Digest>& uniquenessDigest() const { return _uniquenessKey; }
    void setUID(Value uid) { _uid = std::move(uid); }

protected:
    /// initWithPluginHelper:andParentRecordKey:andICalendarLines: consumes the alarms and
    /// properties of the lines; what nobody knows is left in them.
    KTSyncCalendarItem(KTSyncPluginHelper* pluginHelper, Value parentRecordKey, LineList& lines);
    /// initWithPluginHelper:recordKey:andSyncRecord:
    KTSyncCalendarItem(KTSyncPluginHelper* pluginHelper, std::optional<std::string> recordKey,
                       const Dictionary& syncRecord);

    Dictionary sharedSyncRecord() const;
    /// The shared property lines, without BEGIN and END.
    std::string sharedICalLines() const;
    /// The UID that is written: when there is none, the record key takes its place for good.
    void adoptRecordKeyAsUID();

    KTFileLogger* fileLogger() const;
    /// The date that the component holds under that name; null also for a text that is none.
    EnhancedDate dateInComponents(const PropertyName& name) const;
    /// The value that the component holds under that name, or nil.
    const Value& componentValue(const PropertyName& name) const { return (*_components)[name]; }
    /// All values that are kept stand in fields then; holding them twice would double what a large
    /// calendar takes.
    void releaseComponents() { _components.reset(); }
    /// Moves a value out of the component. Out of one without a title it is copied: that is shown
    /// in the log as a whole.
    Value takeComponent(const PropertyName& name);
    /// Appends "NAME:value" folded, if there is a value.
    void appendProperty(std::string& lines, std::string_view format, const Value& value) const;
    /// Appends the property line of a date folded, if there is a date.
    void appendDate(std::string& lines, std::string_view name, const Value& date) const;

    KTSyncPluginHelper* _pluginHelper;       // not owned
    Rare<std::string> _recordKey;            // of a record
    std::optional<SHA1Digest> _digestedKey;  // of what was made from lines; hexadecimal outside
    Value _parentRecordKey;                  // one text for all items of a calendar
    Value _title;
    Value _notes;
    Value _url;
    Value _sequence;
    Value _uid;
    std::optional<SHA1Digest> _uniquenessKey;
    EnhancedDate _dateStamp;
    EnhancedDate _startDate;
    std::optional<Alarms> _alarms;  // what was made from lines has a list, be it empty
    ComponentList<KTSyncAttachment> _attachments;
    Rare<Dictionary> _appleSpecialFields;  // X- properties, name to value, verbatim
    /// All properties, as the value filter gave them, while the item is made from lines.
    std::unique_ptr<ComponentProperties> _components;

private:
    void appendSpecialFields(std::string& lines) const;
    void takeAlarms(LineList& lines);
    void takeProperties(LineList& lines);
    void takeRecord(const Dictionary& syncRecord);
    void takeAttachments(const Dictionary& syncRecord);
};

}  // namespace kt
