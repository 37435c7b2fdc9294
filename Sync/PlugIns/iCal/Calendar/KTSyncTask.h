#pragma once

#include <memory>
#include <optional>
#include <string>

#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarItem.h"

namespace kt {

/// One VTODO (RFC 5545, 3.6.2). Conduit "ical-task". Two tasks of one calendar with the same title
/// have the same record key.
class KTSyncTask : public KTSyncCalendarItem {
public:
    /// Null for a null helper. Throws Exception, logged, when a value cannot be taken.
    static std::shared_ptr<KTSyncTask> syncTaskWithPluginHelper(KTSyncPluginHelper* pluginHelper,
                                                                Value andParentRecordKey,
                                                                LineList& andICalendarLines);
    static std::shared_ptr<KTSyncTask> syncTaskWithPluginHelper(
        KTSyncPluginHelper* pluginHelper, std::optional<std::string> recordKey,
        const Dictionary& andSyncRecord);

    KTSyncTask(KTSyncPluginHelper* pluginHelper, Value parentRecordKey, LineList& lines);
    KTSyncTask(KTSyncPluginHelper* pluginHelper, std::optional<std::string> recordKey,
               const Dictionary& syncRecord);

    Dictionary syncRecord() const override;
    std::string iCalLines() override;

    /// From lines what STATUS says, from a record whether there is a completion date.
    bool isCompleted() const { return _isCompleted; }
    const Value& priority() const { return _priority; }
    const EnhancedDate& dueDate() const { return _dueDate; }
    const EnhancedDate& completedDate() const { return _completedDate; }

private:
    void takeComponents();
    void takeRecord(const Dictionary& syncRecord);

    bool _isCompleted = false;
    EnhancedDate _dueDate;
    EnhancedDate _completedDate;
    Value _priority;
};

}  // namespace kt
