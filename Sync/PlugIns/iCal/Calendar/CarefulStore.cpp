#include "Sync/PlugIns/iCal/Calendar/CarefulStore.h"

#include <algorithm>
#include <utility>

#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/PlugIns/iCal/Calendar/CalendarPlaces.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"

namespace kt {

CarefulStore carefulStore(KTSyncPluginHelper* pluginHelper, const StoreLayout& layout,
                          std::vector<HandedCalendar> handed, const LoadedStore& loaded)
{
    std::vector<SyncRecord> records;
    records.reserve(handed.size());
    for (const HandedCalendar& calendar : handed)
        records.push_back(calendar.record);
    const auto places = CalendarPlaces(loaded, layout).placesFor(records);

    CarefulStore store{{}, loaded};
    store.calendars.reserve(handed.size());
    for (std::size_t index = 0; index < handed.size(); ++index) {
        const LoadedCalendar* const stored = places[index].stored;
        auto calendar =
            KTSyncCalendar::syncCalendarWithPluginHelper(pluginHelper, records[index]->recordKey(),
                                                         places[index].record);
        calendar->setSelected(stored ? stored->calendar->selected() : handed[index].isSelected);
        calendar->setExpanded(stored ? stored->calendar->expanded() : handed[index].isExpanded);
        store.calendars.push_back({std::move(calendar), std::move(handed[index].items), stored});
    }
    return store;
}

void tellThatGroupStays(const CarefulStore& store, const CarefulCalendar& calendar)
{
    const auto isSameGroup = [&](const CarefulCalendar& group) {
        return group.stored != nullptr &&
               group.calendar->recordKey() == calendar.calendar->parentRecordKey() &&
               group.stored->recordKey == calendar.stored->calendar->parentRecordKey();
    };
    if (std::any_of(store.calendars.begin(), store.calendars.end(), isSameGroup))
        return;
    const LossScope scope(calendar.calendar->title().value_or(""),
                          calendar.stored->calendar->storedFolder().value_or(""));
    reportLoss(KTLoss::Kind::curtailed,
               "Der Kalender bleibt in seiner Gruppe: sie kann nicht gelesen werden, weil eine "
               "andere ebenso heißt");
}

}  // namespace kt
