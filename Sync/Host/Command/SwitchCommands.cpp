#include <algorithm>
#include <utility>

#include <nlohmann/json.hpp>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Host/Command/Commands.h"
#include "Sync/Host/Command/Look.h"
#include "Sync/Host/Command/Output.h"
#include "Sync/Host/Services/PluginPreferences.h"

namespace kt {

namespace {

void setPreference(Preferences& preferences, std::string_view key, const Value& value)
{
    if (!preferences.set(key, value))
        throw Exception(NSGenericException,
                        stringWithFormat("Die Einstellungen \"%@\" können nicht gesichert werden.",
                                         preferences.path()));
}

void answer(const CommandLine& line, const std::string& text, const Json& json)
{
    printResult((line.json ? jsonText(json) : text) + "\n");
}

SyncRecord calendarWithKey(const StoreContents& contents, const std::string& key)
{
    for (const SyncRecordList* records : {&contents.active, &contents.switchedOff}) {
        const auto found =
            std::find_if(records->begin(), records->end(), [&](const SyncRecord& record) {
                return record->conduit() == kConduitCalendar && record->recordKey() == key;
            });
        if (found != records->end())
            return *found;
    }
    return nullptr;
}

/// The title of the calendar. Throws for a key that stands for none, or for a group.
std::string checkedTitle(const StoreContents& contents, const std::string& key)
{
    const SyncRecord calendar = calendarWithKey(contents, key);
    if (!calendar)
        throw Exception(NSGenericException,
                        stringWithFormat("Es gibt keinen Kalender mit dem Schlüssel \"%@\".", key));
    if (isGroup(calendar->record()))
        throw Exception(NSGenericException,
                        stringWithFormat("'%@' ist eine Gruppe; Gruppen nehmen immer teil.",
                                         calendar->record()["Title"]));
    return calendar->record()["Title"].description();
}

}  // namespace

ExitCode switchPluginCommand(const CommandLine& line, const Place& place)
{
    Workplace workplace(place, line, Workplace::Access::change);
    LookingHost host(workplace.services(workplace.preferences()));
    const auto plugin = workplace.loadPlugin(host);
    const bool isOn = line.command == CommandName::enable;
    if (isOn)
        (*plugin)->enable();
    else
        (*plugin)->disable();
    if (host.hasLostPreferences())
        return ExitCode::failed;
    answer(line,
           isOn ? "Die iCal-Synchronisierung ist eingeschaltet."
                : "Die iCal-Synchronisierung ist ausgeschaltet.",
           {{"enabled", isOn}});
    return ExitCode::done;
}

ExitCode switchCalendarCommand(const CommandLine& line, const Place& place)
{
    Workplace workplace(place, line, Workplace::Access::change);
    const std::string title = checkedTitle(Look(workplace).contents(), line.calendarKey);
    const bool isOn = line.command == CommandName::on;

    Preferences& preferences = workplace.preferences();
    const Value stored = preferences.objectForKey(kSyncedCalendarsPreference, {});
    Dictionary switches = stored.isDictionary() ? stored.dictionary() : Dictionary{};
    switches.set(line.calendarKey, isOn ? 1 : 0);
    // First the order for a full comparison: without it the change would be half a change.
    setPreference(preferences, kFullSyncPreference, true);
    setPreference(preferences, kSyncedCalendarsPreference, std::move(switches));
    answer(line,
           stringWithFormat(isOn ? "'%@' wird synchronisiert.\n%@"
                                 : "'%@' wird nicht mehr "
                                   "synchronisiert.\n%@",
                            title,
                            "Die Kalender werden beim nächsten Mal vollständig synchronisiert"),
           {{"key", line.calendarKey}, {"title", title}, {"on", isOn}});
    return ExitCode::done;
}

}  // namespace kt
