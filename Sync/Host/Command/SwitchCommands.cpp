#include <utility>

#include <nlohmann/json.hpp>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Host/Command/ChosenCalendar.h"
#include "Sync/Host/Command/Commands.h"
#include "Sync/Host/Command/Look.h"
#include "Sync/Host/Command/Output.h"
#include "Sync/Host/Services/PluginPreferences.h"

namespace kt {

namespace {

void answer(const CommandLine& line, const std::string& text, const Json& json)
{
    printResult((line.json ? jsonText(json) : text) + "\n");
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
    const Look look(workplace);
    const SyncRecord calendar = chosenCalendar(look.contents(), line.calendarKey);
    if (isGroup(calendar->record()))
        throw Exception(NSGenericException,
                        stringWithFormat("'%@' ist eine Gruppe; Gruppen nehmen immer teil.",
                                         calendar->record()["Title"]));
    const std::string title = calendar->record()["Title"].description();
    const bool isOn = line.command == CommandName::on;

    Preferences& preferences = workplace.preferences();
    Dictionary switches = dictionaryPreference(preferences, kSyncedCalendarsPreference);
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
