#include <algorithm>

#include <nlohmann/json.hpp>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Host/Command/Commands.h"
#include "Sync/Host/Command/Output.h"
#include "Sync/Host/Command/StoreChange.h"
#include "Sync/Host/Services/FolderRepair.h"
#include "Sync/Host/Services/HomeLayout.h"
#include "Sync/Host/Services/StoreBackups.h"

namespace kt {

namespace {

struct Repair {
    std::vector<FolderRename> renames;
    std::string backup;  // empty where none was made
    bool isDry = false;
};

bool isRefused(const FolderRename& rename) { return !rename.refusal.empty(); }

std::string lineFor(const FolderRename& rename, bool isDry)
{
    if (isRefused(rename))
        return rename.from + ": " + rename.refusal;
    return stringWithFormat(isDry ? "%@ würde umbenannt in %@" : "%@ heißt jetzt %@", rename.from,
                            lastPathComponent(rename.to));
}

std::string textFor(const Repair& repair)
{
    if (repair.renames.empty())
        return "Es gibt nichts zu reparieren.\n";
    std::string text;
    for (const FolderRename& rename : repair.renames)
        text += lineFor(rename, repair.isDry) + "\n";
    const auto refused = static_cast<std::size_t>(
        std::count_if(repair.renames.begin(), repair.renames.end(), isRefused));
    const std::size_t done = repair.renames.size() - refused;
    text +=
        counted(done, "Ordner", "Ordner") +
        (repair.isDry ? " würde" + std::string(done == 1 ? "" : "n") + " repariert" : " repariert");
    if (refused > 0)
        text += stringWithFormat(", %d nicht", refused);
    text += ".\n";
    if (!repair.backup.empty())
        text += stringWithFormat("Was vorher da war, steht in der Sicherungskopie \"%@\".\n",
                                 repair.backup);
    return text;
}

Json jsonFor(const Repair& repair)
{
    Json repaired = Json::array();
    Json refused = Json::array();
    for (const FolderRename& rename : repair.renames)
        if (isRefused(rename))
            refused.push_back({{"folder", rename.from}, {"reason", rename.refusal}});
        else
            repaired.push_back({{"from", rename.from}, {"to", rename.to}});
    return {{"repaired", repaired},
            {"refused", refused},
            {"backup", repair.backup.empty() ? Json(nullptr) : Json(repair.backup)},
            {"dryRun", repair.isDry}};
}

/// Throws Exception NSGenericException: without a whole backup nothing is renamed.
std::string backedUp(const Workplace& workplace, const std::vector<std::string>& files)
{
    const auto copy = StoreBackups(workplace.suite().backupsPath()).make(files);
    if (!copy || !copy->unreadable.empty())
        throw Exception(NSGenericException,
                        stringWithFormat("\"%@\" kann nicht gelesen und deshalb auch nicht "
                                         "gesichert werden.",
                                         copy ? copy->unreadable.front() : files.front()));
    return copy->name;
}

}  // namespace

ExitCode repairCommand(const CommandLine& line, const Place& place)
{
    const bool isDry = line.wishes.dryRun;
    Workplace workplace(place, line, isDry ? Workplace::Access::look : Workplace::Access::change);
    if (const auto obstacle = obstacleInStore(place.home, place.systemVersion))
        throw Exception(NSGenericException, obstacle->reason);
    Repair repair;
    repair.isDry = isDry;
    StoreChange change(workplace);
    // In the older layout nothing hangs on the names of folders but what the node file says.
    if (namesFoldersByKeys(place.systemVersion) && !change.files().empty())
        repair.renames = plannedFolderRenames(realPath(change.files().front()));
    const bool isNeeded = !std::all_of(repair.renames.begin(), repair.renames.end(), isRefused);
    if (isNeeded && !isDry) {
        change.refuseWhileProgramRuns();
        repair.backup = backedUp(workplace, change.files());
        renameFolders(repair.renames);
    }
    printResult(line.json ? jsonText(jsonFor(repair)) + "\n" : textFor(repair));
    return std::none_of(repair.renames.begin(), repair.renames.end(), isRefused) ? ExitCode::done
                                                                                 : ExitCode::failed;
}

}  // namespace kt
