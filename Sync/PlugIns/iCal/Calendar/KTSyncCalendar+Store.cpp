// What a calendar leaves to the layout of the host's system: its items' files and its node.

#include "Sync/PlugIns/iCal/Calendar/HostAndSystemLog.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"
#include "Sync/PlugIns/iCal/Calendar/StoreLayout.h"

namespace kt {

bool KTSyncCalendar::storeEventsAndTasks()
{
    const std::optional<std::string> folder = corestoragePath();
    if (!folder) {
        logToHostAndSystem(_pluginHelper, "Kalender '%@' ohne corestoragepath", _title);
        return false;
    }
    const auto layout = StoreLayout::ofHost(_pluginHelper);
    return !layout || layout->storeItems(*this, *folder);
}

Dictionary KTSyncCalendar::iCalNode() const
{
    const auto layout = StoreLayout::ofHost(_pluginHelper);
    return layout ? layout->node(*this) : Dictionary();
}

}  // namespace kt
