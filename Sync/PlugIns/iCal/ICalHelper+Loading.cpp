#include <utility>

#include "Sync/Foundation/Platform.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/HostInterface/KTCarefulWriting.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/PlugIns/iCal/Calendar/HostAndSystemLog.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarStore.h"
#include "Sync/PlugIns/iCal/ICalHelper.h"
#include "Sync/PlugIns/iCal/RecordLoader.h"

namespace kt {

std::optional<SyncRecordList> ICalHelper::loadCalendarsWithPluginHelper(
    KTSyncPluginHelper* pluginHelper, std::int32_t& numCalendars, std::int32_t& numEvents,
    std::int32_t& numTasks, Dictionary& activatedCalendars, RecordKeySet& calendarRecordKeysToSync,
    std::int32_t& numSkippedCalendars, SyncRecordList& skippedRecords,
    RecordKeySet& notSelectedCalendars, RecordKeySet& notExpandedGroups, LoadedStore* loaded,
    const LoadedStore* earlier)
{
    if (hostClass<KTCarefulWriting>() == nullptr)
        loaded = nullptr;  // nobody is going to ask
    if (loaded != nullptr)
        loaded->timezone = Platform::shared().localTimeZoneName();
    UnreadCollector unread;
    const auto calendars =
        KTSyncCalendarStore::calendarStoreWithPluginHelper(pluginHelper)->calendars();
    if (!calendars) {
        logToHostAndSystem(pluginHelper, "loadCalendarsWithPluginHelper: calendarStore == nil");
        return std::nullopt;
    }

    RecordLoader loader{pluginHelper,
                        numCalendars,
                        numEvents,
                        numTasks,
                        activatedCalendars,
                        calendarRecordKeysToSync,
                        numSkippedCalendars,
                        skippedRecords,
                        notSelectedCalendars,
                        notExpandedGroups,
                        loaded,
                        earlier};
    int current = 0;
    for (const auto& [recordKey, calendar] : *calendars) {
        const std::string title = calendar->title().value_or("");
        if (pluginHelper != nullptr)
            pluginHelper->progress(title, ++current, static_cast<int>(calendars->size()));
        const LossScope scope(title, "", recordKey);
        // References, because lambdas cannot capture structured bindings.
        const std::string& key = recordKey;
        const std::shared_ptr<KTSyncCalendar>& model = calendar;
        guardedOr([&] { loader.takeCalendar(key, model); },
                  [&](const Exception& exception) {
                      logToHostAndSystem(pluginHelper, "Exception in Kalender '%@': %@", title,
                                         exception);
                      const LossScope folder("", folderForReports(*model));
                      reportUnread({KTLoss::Extent::calendar},
                                   stringWithFormat("Der Kalender kann nicht geladen werden: %@",
                                                    exception));
                  });
        loader.finishCalendar(*model);
    }
    if (loaded != nullptr)
        loaded->unread = unread.takeTexts();
    return std::move(loader.records);
}

}  // namespace kt
