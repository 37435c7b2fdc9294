#include <nlohmann/json.hpp>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Host/Command/Commands.h"
#include "Sync/Host/Command/Output.h"
#include "Sync/Host/Command/StoreChange.h"
#include "Sync/Host/Services/BackupRestore.h"
#include "Sync/Host/Services/HomeLayout.h"

namespace kt {

namespace {

std::string textFor(const BackupRestore::Result& result)
{
    std::string text =
        result.calendar
            ? stringWithFormat(
                  "Der Kalender '%@' (%@) ist aus der Sicherungskopie \"%@\" "
                  "zurückgeholt.\n",
                  result.calendar->title, counted(result.calendar->items, "Eintrag", "Einträge"),
                  result.name)
            : stringWithFormat("Die Sicherungskopie \"%@\" ist zurückgeholt: %@, %@.\n",
                               result.name,
                               counted(result.facts.calendars.size(), "Kalender", "Kalender"),
                               counted(result.facts.items(), "Eintrag", "Einträge"));
    for (const std::string& path : result.facts.unreadable)
        text +=
            stringWithFormat("Nicht darin, weil es nicht gelesen werden konnte: \"%@\"\n", path);
    if (result.before)
        text += stringWithFormat("Was vorher da war, steht in der Sicherungskopie \"%@\".\n",
                                 *result.before);
    return text +
           "Die nächste Synchronisierung vergleicht alles und löscht nichts, was hier fehlt.\n";
}

Json jsonFor(const BackupRestore::Result& result)
{
    return {{"restored", result.name},
            {"calendar", result.calendar ? Json(result.calendar->recordKey) : Json(nullptr)},
            {"before", result.before ? Json(*result.before) : Json(nullptr)},
            {"unreadable", result.facts.unreadable}};
}

}  // namespace

ExitCode restoreCommand(const CommandLine& line, const Place& place)
{
    Workplace workplace(place, line, Workplace::Access::change);
    StoreChange change(workplace);
    change.refuseWhileProgramRuns();
    const StoreBackups backups(workplace.suite().backupsPath());
    const BackupRestore restore(backups, change.files(), workplace.suite().localStatePath());
    if (line.calendarKey.empty()) {
        const auto result = restore.restore(line.backupName);
        printResult(line.json ? jsonText(jsonFor(result)) + "\n" : textFor(result));
        return ExitCode::done;
    }
    // A calendar comes into a store that is there.
    if (const auto obstacle = obstacleInStore(place.home, place.systemVersion))
        throw Exception(NSGenericException, obstacle->reason);
    const auto result = restore.restoreCalendar(line.backupName, line.calendarKey);
    printResult(line.json ? jsonText(jsonFor(result)) + "\n" : textFor(result));
    return ExitCode::done;
}

}  // namespace kt
