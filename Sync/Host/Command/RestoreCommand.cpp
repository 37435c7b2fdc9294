#include <nlohmann/json.hpp>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Host/Command/Commands.h"
#include "Sync/Host/Command/Output.h"
#include "Sync/Host/Command/StoreChange.h"
#include "Sync/Host/Services/BackupRestore.h"
#include "Sync/Host/Services/FolderRepair.h"
#include "Sync/Host/Services/HomeLayout.h"

namespace kt {

namespace {

/// Folders that a rewrite would not keep as they are: the next sync is one.
std::vector<FolderRename> foldersToRepair(const Place& place, const StoreChange& change)
{
    if (!namesFoldersByKeys(place.systemVersion) || change.files().empty())
        return {};
    return plannedFolderRenames(realPath(change.files().front()));
}

std::string textFor(const BackupRestore::Result& result, const std::vector<FolderRename>& misnamed)
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
    for (const FolderRename& folder : misnamed)
        text += stringWithFormat(
            "\"%@\" heißt nicht wie der Schlüssel des Kalenders: bitte vor der "
            "nächsten Synchronisierung \"icalsync check --repair\".\n",
            folder.from);
    return text +
           "Die nächste Synchronisierung vergleicht alles und löscht nichts, was hier fehlt.\n";
}

Json jsonFor(const BackupRestore::Result& result, const std::vector<FolderRename>& misnamed)
{
    Json folders = Json::array();
    for (const FolderRename& folder : misnamed)
        folders.push_back(folder.from);
    return {{"restored", result.name},
            {"calendar", result.calendar ? Json(result.calendar->recordKey) : Json(nullptr)},
            {"before", result.before ? Json(*result.before) : Json(nullptr)},
            {"unreadable", result.facts.unreadable},
            {"misnamed", folders}};
}

BackupRestore::Result restored(const CommandLine& line, const Place& place,
                               const BackupRestore& restore)
{
    if (line.calendarKey.empty())
        return restore.restore(line.backupName);
    // A calendar comes into a store that is there.
    if (const auto obstacle = obstacleInStore(place.home, place.systemVersion))
        throw Exception(NSGenericException, obstacle->reason);
    return restore.restoreCalendar(line.backupName, line.calendarKey);
}

}  // namespace

ExitCode restoreCommand(const CommandLine& line, const Place& place)
{
    Workplace workplace(place, line, Workplace::Access::change);
    StoreChange change(workplace);
    change.refuseWhileProgramRuns();
    const StoreBackups backups(workplace.suite().backupsPath());
    const BackupRestore restore(backups, change.files(), workplace.suite().localStatePath());
    const auto result = restored(line, place, restore);
    const auto misnamed = foldersToRepair(place, change);
    printResult(line.json ? jsonText(jsonFor(result, misnamed)) + "\n" : textFor(result, misnamed));
    return ExitCode::done;
}

}  // namespace kt
