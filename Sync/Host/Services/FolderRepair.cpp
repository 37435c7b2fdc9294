#include "Sync/Host/Services/FolderRepair.h"

#include <map>
#include <optional>

#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/PropertyList.h"
#include "Sync/HostInterface/StorePaths.h"

namespace kt {

namespace {

struct CalendarFolder {
    std::string name;
    std::optional<std::string> key;
};

/// Those whose description can be read; the others are not understood, and stay.
std::vector<CalendarFolder> calendarFolders(const std::string& root)
{
    const FileManager& files = FileManager::defaultManager();
    std::vector<CalendarFolder> folders;
    for (const std::string& name : files.directoryContentsAtPath(root)) {
        const std::string folder = stringByAppendingPathComponent(root, name);
        if (!name.ends_with(StorePaths::calendarExtension) || !files.isDirectory(folder))
            continue;
        const auto info = dictionaryWithContentsOfFile(StorePaths::infoFile(folder));
        if (!info)
            continue;
        const Value& key = (*info)["Key"];
        folders.push_back(
            {name, key.isString() ? std::optional(std::string(key.string())) : std::nullopt});
    }
    return folders;
}

/// Empty when nothing speaks against it.
std::string refusalFor(const std::optional<std::string>& key, int foldersOfKey,
                       const std::string& target)
{
    if (!key)
        return "In der Info.plist steht kein Schlüssel";
    if (!isPlainPathComponent(*key) ||
        !isPlainPathComponent(*key + std::string(StorePaths::calendarExtension)))
        return stringWithFormat("Der Schlüssel '%@' ist als Ordnername nicht erlaubt", *key);
    if (foldersOfKey > 1)
        return stringWithFormat("Mehrere Ordner haben den Schlüssel '%@'", *key);
    if (FileManager::defaultManager().linkStatusAtPath(target))
        return stringWithFormat("\"%@\" gibt es schon", target);
    return {};
}

}  // namespace

std::vector<FolderRename> plannedFolderRenames(const std::string& calendarsFolder)
{
    const std::vector<CalendarFolder> folders = calendarFolders(calendarsFolder);
    std::map<std::string, int> foldersOfKey;
    for (const CalendarFolder& folder : folders)
        if (folder.key)
            ++foldersOfKey[*folder.key];
    std::vector<FolderRename> renames;
    for (const auto& [name, key] : folders) {
        if (name == key.value_or("") + std::string(StorePaths::calendarExtension))
            continue;
        const std::string target = stringByAppendingPathComponent(
            calendarsFolder, key.value_or("") + std::string(StorePaths::calendarExtension));
        const std::string refusal = refusalFor(key, key ? foldersOfKey[*key] : 0, target);
        renames.push_back({stringByAppendingPathComponent(calendarsFolder, name),
                           refusal.empty() ? target : "", refusal});
    }
    return renames;
}

void renameFolders(std::vector<FolderRename>& renames)
{
    for (FolderRename& rename : renames)
        if (rename.refusal.empty() &&
            !FileManager::defaultManager().movePath(rename.from, rename.to))
            rename.refusal = "Der Ordner konnte nicht umbenannt werden";
}

}  // namespace kt
