#include <algorithm>

#include "Sync/HostInterface/PublishingOptions.h"
#include "Sync/PlugIns/iCal/Calendar/HostAndSystemLog.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarStore.h"
#include "Sync/PlugIns/iCal/ICalSyncPlugin.h"

namespace kt {

namespace {

void mergePreference(Dictionary& into, KTSyncPluginHelper& pluginHelper, std::string_view key)
{
    const Value stored = pluginHelper.objectPreferenceForKey(key, Value());
    if (!stored.isNil())
        into.merge(stored.dictionary());
}

Dictionary newPublishingOptions()
{
    return Dictionary{{std::string(kPublicOption), 0},
                      {std::string(kPublishEventsOption), 1},
                      {std::string(kPublishTasksOption), 0},
                      {std::string(kAnonymizeOption), 0}};
}

}  // namespace

std::vector<std::shared_ptr<KTSyncCalendar>> ICalSyncPlugin::calendarsList()
{
    auto calendars =
        KTSyncCalendarStore::calendarStoreWithPluginHelper(_pluginHelper)->calendarsList();
    if (calendars)
        return *std::move(calendars);
    logToHostAndSystem(_pluginHelper, "ICalSyncPlugin.calendarsList: calendarStore == nil");
    return {};
}

void ICalSyncPlugin::updateActivatedCalendars()
{
    mergePreference(_activatedCalendars, *_pluginHelper, kSyncedPreference);
    mergePreference(_publicCalendars, *_pluginHelper, kPublishedPreference);

    std::erase_if(_localCalendarsList, [](const auto& calendar) {
        return calendar->calendarType() == kCalendarTypeGroup;
    });
    for (const auto& calendar : _localCalendarsList) {
        const std::string recordKey = recordKeyOf(*calendar);
        if (!_activatedCalendars.contains(recordKey))
            _activatedCalendars.set(recordKey, 1);
        if (!_publicCalendars.contains(recordKey))
            _publicCalendars.set(recordKey, newPublishingOptions());
    }

    _pluginHelper->updatePreferenceWithObject(kSyncedPreference, _activatedCalendars);
    _pluginHelper->updatePreferenceWithObject(kPublishedPreference, _publicCalendars);
}

}  // namespace kt
