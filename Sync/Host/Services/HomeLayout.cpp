#include "Sync/Host/Services/HomeLayout.h"

#include <algorithm>

#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/PropertyList.h"
#include "Sync/Host/Services/StoreReplacement.h"
#include "Sync/Host/Services/SuiteFolder.h"
#include "Sync/HostInterface/StorePaths.h"

namespace kt {

namespace {

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

bool holdsOnlyAttachments(const std::string& calendarsFolder)
{
    const auto names = FileManager::defaultManager().listDirectory(calendarsFolder);
    return names && names->size() == 1 && names->front() == StorePaths::attachmentsName;
}

bool hasStore105(const StorePaths& paths)
{
    const std::string folder = paths.calendarsFolder();
    return (isThere(folder) && !holdsOnlyAttachments(folder)) || isThere(pathWhileReplaced(folder));
}

/// iCal and the plug-in both move the node file aside before they put another in its place.
bool hasStore104(const StorePaths& paths)
{
    return isThere(paths.nodeFile()) || isThere(paths.nodeFileAside()) ||
           holdsSomething(paths.sources()) || holdsSomething(paths.sourcesAside()) ||
           isThere(pathWhileReplaced(paths.iCalFolder()));
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

StoreObstacle otherLayout(const std::string& folder, HomeLayout layout)
{
    const int systemVersion = systemVersionOf(layout);
    return {Kind::otherLayout,
            stringWithFormat("Die Kalender dieses Heimordners stehen in \"%@\", der Ablage von "
                             "Mac OS X 10.%d: bitte --system-version %d angeben.",
                             folder, systemVersion, systemVersion)};
}

std::string whereNodeFileMayBe(const std::string& home)
{
    const std::string movedAside = StorePaths(home).nodeFileAside();
    if (isThere(movedAside))
        return stringWithFormat("aus \"%@\"", movedAside);
    return isThere(SuiteFolder(home).backupsPath()) ? "mit \"icalsync restore\""
                                                    : "aus einer Sicherungskopie";
}

/// Without its node file a store of the older layout can neither be read nor written.
StoreObstacle missingNodeFile(const std::string& home)
{
    const StorePaths paths(home);
    if (hasStore104(paths))
        return {Kind::nodeFile,
                stringWithFormat("Die Datei \"%@\" fehlt, und ohne sie gilt keiner der Kalender: "
                                 "bitte sie erst %@ zurückholen.",
                                 paths.nodeFile(), whereNodeFileMayBe(home))};
    if (hasStore105(paths))
        return otherLayout(paths.calendarsFolder(), HomeLayout::macOS105);
    return {Kind::nodeFile,
            stringWithFormat("Es gibt keine Datei \"%@\", ohne die sich keine Kalender schreiben "
                             "lassen: bitte iCal einmal starten und beenden oder "
                             "--system-version %d angeben.",
                             paths.nodeFile(), systemVersionOf(HomeLayout::macOS105))};
}

std::optional<StoreObstacle> obstacleInNodeFile(const std::string& home)
{
    const std::string path = StorePaths(home).nodeFile();
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

std::optional<StoreObstacle> obstacleInStore104(const std::string& home)
{
    const StorePaths paths(home);
    for (const std::string& folder : {paths.iCalFolder(), paths.sources()})
        if (auto obstacle = obstacleInFolder(folder))
            return obstacle;
    return obstacleInNodeFile(home);
}

std::optional<StoreObstacle> obstacleInStore105(const std::string& home)
{
    const StorePaths paths(home);
    if (!hasStore105(paths) && hasStore104(paths))
        return otherLayout(paths.iCalFolder(), HomeLayout::macOS104);
    return obstacleInFolder(paths.calendarsFolder());
}

}  // namespace

int systemVersionOf(HomeLayout layout)
{
    return std::find_if(kHomeLayouts.begin(), kHomeLayouts.end(),
                        [&](const HomeLayoutVersion& row) { return row.layout == layout; })
        ->systemVersion;
}

bool namesFoldersByKeys(int systemVersion)
{
    return homeLayoutOfSystem(systemVersion) == HomeLayout::macOS105;
}

std::optional<HomeLayout> homeLayoutOfSystem(int systemVersion)
{
    for (const HomeLayoutVersion& row : kHomeLayouts)
        if (row.systemVersion == systemVersion)
            return row.layout;
    return std::nullopt;
}

int systemVersionOfHome(const std::string& home)
{
    const StorePaths paths(home);
    return systemVersionOf(!hasStore105(paths) && hasStore104(paths) ? HomeLayout::macOS104
                                                                     : HomeLayout::macOS105);
}

std::optional<StoreObstacle> obstacleInStore(const std::string& home, int systemVersion)
{
    const auto layout = homeLayoutOfSystem(systemVersion);
    if (!layout)
        return std::nullopt;
    switch (*layout) {
    case HomeLayout::macOS104:
        return obstacleInStore104(home);
    case HomeLayout::macOS105:
        return obstacleInStore105(home);
    }
    return std::nullopt;
}

}  // namespace kt
