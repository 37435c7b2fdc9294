#include "Sync/Host/Services/HomeLayout.h"

#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/PropertyList.h"
#include "Sync/Host/Services/StoreReplacement.h"
#include "Sync/Host/Services/SuiteFolder.h"

namespace kt {

namespace {

std::string calendarsFolder105(const std::string& home)
{
    return stringByAppendingPathComponent(home, "Library/Calendars");
}

std::string folder104(const std::string& home)
{
    return stringByAppendingPathComponent(home, "Library/Application Support/iCal");
}

/// Of a file or folder of iCal's in the older layout.
std::string path104(const std::string& home, std::string_view name)
{
    return stringByAppendingPathComponent(folder104(home), name);
}

std::string nodeFile104(const std::string& home) { return path104(home, "nodes.plist"); }

/// A link that leads nowhere is there as well: behind it a volume may be missing.
bool isThere(const std::string& path)
{
    return FileManager::defaultManager().linkStatusAtPath(path).has_value();
}

/// What cannot be listed may hold anything.
bool holdsSomething(const std::string& folder)
{
    if (!isThere(folder))
        return false;
    const auto names = FileManager::defaultManager().listDirectory(folder);
    return !names || !names->empty();
}

bool holdsOnlyAttachments(const std::string& home)
{
    const auto names = FileManager::defaultManager().listDirectory(calendarsFolder105(home));
    return names && names->size() == 1 && names->front() == "Attachments";
}

bool hasStore105(const std::string& home)
{
    const std::string folder = calendarsFolder105(home);
    return (isThere(folder) && !holdsOnlyAttachments(home)) || isThere(pathWhileReplaced(folder));
}

/// iCal and the plug-in both move the node file aside before they put another in its place.
bool hasStore104(const std::string& home)
{
    return isThere(nodeFile104(home)) || isThere(path104(home, "nodes.plist.bak")) ||
           holdsSomething(path104(home, "Sources")) ||
           holdsSomething(path104(home, "Sources.bak")) ||
           isThere(pathWhileReplaced(folder104(home)));
}

using Kind = StoreObstacle::Kind;

std::optional<StoreObstacle> obstacleInFolder(const std::string& path)
{
    if (!isThere(path) || FileManager::defaultManager().listDirectory(path))
        return std::nullopt;
    return StoreObstacle{Kind::folder,
                         stringWithFormat("Der Kalenderordner \"%@\" kann nicht gelesen werden.",
                                          path)};
}

StoreObstacle otherLayout(const std::string& folder, int systemVersion)
{
    return {Kind::otherLayout,
            stringWithFormat("Die Kalender dieses Heimordners stehen in \"%@\", der Ablage von "
                             "Mac OS X 10.%d: bitte --system-version %d angeben.",
                             folder, systemVersion, systemVersion)};
}

std::string whereNodeFileMayBe(const std::string& home)
{
    const std::string movedAside = path104(home, "nodes.plist.bak");
    if (isThere(movedAside))
        return stringWithFormat("aus \"%@\"", movedAside);
    return isThere(SuiteFolder(home).backupsPath()) ? "mit \"icalsync restore\""
                                                    : "aus einer Sicherungskopie";
}

/// Without its node file a store of the older layout can neither be read nor written.
StoreObstacle missingNodeFile(const std::string& home)
{
    const std::string path = nodeFile104(home);
    if (hasStore104(home))
        return {Kind::nodeFile,
                stringWithFormat("Die Datei \"%@\" fehlt, und ohne sie gilt keiner der Kalender: "
                                 "bitte sie erst %@ zurückholen.",
                                 path, whereNodeFileMayBe(home))};
    if (hasStore105(home))
        return otherLayout(calendarsFolder105(home), kSystemVersion105);
    return {Kind::nodeFile,
            stringWithFormat("Es gibt keine Datei \"%@\", ohne die sich keine Kalender schreiben "
                             "lassen: bitte iCal einmal starten und beenden oder "
                             "--system-version 5 angeben.",
                             path)};
}

std::optional<StoreObstacle> obstacleInNodeFile(const std::string& home)
{
    const std::string path = nodeFile104(home);
    PropertyListError error = PropertyListError::none;
    if (!isThere(path))
        return missingNodeFile(home);
    if (dictionaryWithContentsOfFile(path, &error))
        return std::nullopt;
    return StoreObstacle{
        Kind::nodeFile,
        stringWithFormat(error == PropertyListError::tooDeep
                             ? "Die Datei \"%@\" ist zu tief verschachtelt."
                             : "Die Datei \"%@\" kann nicht gelesen werden oder ist beschädigt.",
                         path)};
}

}  // namespace

int systemVersionOfHome(const std::string& home)
{
    return !hasStore105(home) && hasStore104(home) ? kSystemVersion104 : kSystemVersion105;
}

std::optional<StoreObstacle> obstacleInStore(const std::string& home, int systemVersion)
{
    if (systemVersion == kSystemVersion105) {
        if (!hasStore105(home) && hasStore104(home))
            return otherLayout(folder104(home), kSystemVersion104);
        return obstacleInFolder(calendarsFolder105(home));
    }
    for (const std::string& folder : {folder104(home), path104(home, "Sources")})
        if (auto obstacle = obstacleInFolder(folder))
            return obstacle;
    return obstacleInNodeFile(home);
}

}  // namespace kt
