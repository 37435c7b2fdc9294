#include "Sync/PlugIns/iCal/Calendar/KTSyncTask.h"

#include <utility>

#include "Sync/Foundation/Digest.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"
#include "Sync/PlugIns/iCal/Calendar/RawValueLine.h"

namespace kt {

std::shared_ptr<KTSyncTask> KTSyncTask::syncTaskWithPluginHelper(KTSyncPluginHelper* pluginHelper,
                                                                 Value andParentRecordKey,
                                                                 LineList& andICalendarLines)
{
    if (pluginHelper == nullptr)
        return nullptr;
    return std::make_shared<KTSyncTask>(pluginHelper, std::move(andParentRecordKey),
                                        andICalendarLines);
}

std::shared_ptr<KTSyncTask> KTSyncTask::syncTaskWithPluginHelper(
    KTSyncPluginHelper* pluginHelper, std::optional<std::string> recordKey,
    const Dictionary& andSyncRecord)
{
    if (pluginHelper == nullptr)
        return nullptr;
    return std::make_shared<KTSyncTask>(pluginHelper, std::move(recordKey), andSyncRecord);
}

KTSyncTask::KTSyncTask(KTSyncPluginHelper* pluginHelper, Value parentRecordKey, LineList& lines)
    : KTSyncCalendarItem(pluginHelper, std::move(parentRecordKey), lines)
{
    guarded(
        fileLogger(), "[KTSyncTask init]:\n%@\n%@", [&] { return lines.description(); },
        [&] { takeComponents(); });
}

// Neither this nor the conversions below log what they throw: the caller's guard does.
KTSyncTask::KTSyncTask(KTSyncPluginHelper* pluginHelper, std::optional<std::string> recordKey,
                       const Dictionary& syncRecord)
    : KTSyncCalendarItem(pluginHelper, std::move(recordKey), syncRecord)
{
    takeRecord(syncRecord);
}

void KTSyncTask::takeComponents()
{
    _dueDate = dateInComponents("DUE");
    _completedDate = dateInComponents("COMPLETED");
    _isCompleted = componentValue("STATUS") == Value("COMPLETED");
    if (componentValue("STATUS").isArray())
        reportLoss(KTLoss::Kind::thinned, "STATUS steht mehrmals und wird nicht gelesen");
    _priority = takeComponent("PRIORITY");
    if (_title.isNil()) {
        NSLog("Aufgabe ohne Beschreibung");
        _title = "";
    }
    _digestedKey = sha1DigestBytes(stringWithFormat("%@%@", _title, _parentRecordKey));
    releaseComponents();
}

void KTSyncTask::takeRecord(const Dictionary& syncRecord)
{
    _dueDate = KTSyncCalendarTools::enhancedDate(syncRecord["DueDate"]);
    _completedDate = KTSyncCalendarTools::enhancedDate(syncRecord["CompletedDate"]);
    _priority = syncRecord["Priority"];
    _isCompleted = _completedDate != nullptr;
}

Dictionary KTSyncTask::syncRecord() const
{
    Dictionary record = sharedSyncRecord();
    record.setIfPresent("DueDate", _dueDate);
    record.setIfPresent("CompletedDate", _completedDate);
    record.setIfPresent("Priority", _priority);
    record.set("Completed", _isCompleted);
    return record;
}

std::string KTSyncTask::iCalLines()
{
    std::string lines = "BEGIN:VTODO\r\n";
    if (_isCompleted)
        lines += "STATUS:COMPLETED\r\n";
    if (!_priority.isNil())
        lines += rawValueLine("PRIORITY:%@\r\n", _priority);
    appendDate(lines, "DUE", _dueDate);
    appendDate(lines, "COMPLETED", _completedDate);
    adoptRecordKeyAsUID();
    lines += sharedICalLines();
    lines += "END:VTODO\r\n";
    return lines;
}

}  // namespace kt
