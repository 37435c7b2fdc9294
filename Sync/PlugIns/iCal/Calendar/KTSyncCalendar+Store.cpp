// Writes a calendar's items in the layout of the running system.

#include "Sync/PlugIns/iCal/Calendar/HostAndSystemLog.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"

namespace kt {

bool KTSyncCalendar::storeEventsAndTasks()
{
    const std::optional<std::string> folder = corestoragePath();
    if (!folder) {
        logToHostAndSystem(_pluginHelper, "Kalender '%@' ohne corestoragepath", _title);
        return false;
    }
    switch (systemVersion()) {
    case 4:
        return storeEventsAndTasks104(*folder);
    case 5:
        return storeEventsAndTasks105(*folder);
    default:
        return true;
    }
}

Value KTSyncCalendar::uidOfSeries(const KTSyncEvent& event)
{
    const auto& series = event.recurrenceParentRecordKey();
    return series ? series : event.recordKey();
}

}  // namespace kt
