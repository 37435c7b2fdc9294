#include "Sync/Host/Services/CalendarInBackup.h"

#include <algorithm>
#include <optional>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/PropertyList.h"
#include "Sync/HostInterface/StorePaths.h"

namespace kt {

namespace {

template <class... Arguments>
[[noreturn]] void failed(std::string_view format, const Arguments&... arguments)
{
    throw Exception(NSGenericException, stringWithFormat(format, arguments...));
}

std::string firstComponent(const std::string& path) { return path.substr(0, path.find('/')); }

/// Nullopt where there is no readable description, or no key in it.
std::optional<std::string> keyInFolder(const std::string& folder)
{
    const auto info = dictionaryWithContentsOfFile(StorePaths::infoFile(folder));
    if (!info || !(*info)["Key"].isString())
        return std::nullopt;
    return std::string((*info)["Key"].string());
}

/// Where the calendar stands now, under whatever name; else where it stood.
std::string placeInCalendars(const std::string& root, const BackupCalendar& calendar)
{
    const FileManager& files = FileManager::defaultManager();
    for (const std::string& name : files.directoryContentsAtPath(root)) {
        std::string folder = stringByAppendingPathComponent(root, name);
        if (name.ends_with(StorePaths::calendarExtension) &&
            keyInFolder(folder) == calendar.sourceKey)
            return folder;
    }
    std::string place = stringByAppendingPathComponent(root, lastPathComponent(calendar.folder));
    if (keyInFolder(place))
        failed("In \"%@\" steht jetzt ein anderer Kalender.", place);
    return place;
}

std::string keyOfNode(const Value& node)
{
    if (!node.isDictionary())
        return {};
    const Dictionary& entries = node.dictionary();
    const Value& key = entries[entries.contains("SourceKey") ? "SourceKey" : "Key"];
    return key.isString() ? std::string(key.string()) : std::string();
}

Array nodesIn(const Dictionary& entries, std::string_view name)
{
    return entries[name].isArray() ? entries[name].array() : Array{};
}

/// A node, and the key of the group that it stands in, empty at the top.
struct PlacedNode {
    Value node;
    std::string group;
};

std::optional<PlacedNode> findNode(const Array& nodes, const std::string& key,
                                   const std::string& group)
{
    for (const Value& node : nodes) {
        if (keyOfNode(node) == key)
            return PlacedNode{node, group};
        if (!node.isDictionary())
            continue;
        if (auto found = findNode(nodesIn(node.dictionary(), "Subnodes"), key, keyOfNode(node)))
            return found;
    }
    return std::nullopt;
}

/// The nodes with one more in the group of that key; nullopt when the group is not among them.
std::optional<Array> withNodeInGroup(Array nodes, const PlacedNode& placed)
{
    for (Value& node : nodes) {
        if (!node.isDictionary() || !node.dictionary().contains("Subnodes"))
            continue;
        Dictionary entries = node.dictionary();
        std::optional<Array> inner = nodesIn(entries, "Subnodes");
        if (keyOfNode(node) == placed.group)
            inner->push_back(placed.node);
        else
            inner = withNodeInGroup(*std::move(inner), placed);
        if (!inner)
            continue;
        entries.set("Subnodes", *std::move(inner));
        node = std::move(entries);
        return nodes;
    }
    return std::nullopt;
}

/// The store's node file with the calendar's node in it, written aside; nullopt when the node is
/// there already.
std::optional<Replacement> replacementForNode(const UnpackedBackup::Root& root,
                                              const std::string& key)
{
    const std::string file = stringByAppendingPathComponent(root.path, StorePaths::nodeFileName);
    auto current = dictionaryWithContentsOfFile(file);
    if (!current || !(*current)["List"].isArray())
        failed("Die Datei \"%@\" kann nicht gelesen werden oder ist beschädigt.", file);
    const Array nodes = nodesIn(*current, "List");
    if (findNode(nodes, key, ""))
        return std::nullopt;
    const auto saved = dictionaryWithContentsOfFile(
        stringByAppendingPathComponent(root.aside, StorePaths::nodeFileName));
    const auto placed =
        saved ? findNode(nodesIn(*saved, "List"), key, "") : std::optional<PlacedNode>();
    if (!placed)
        failed("Die nodes.plist der Sicherungskopie nennt den Kalender \"%@\" nicht.", key);
    auto grown = placed->group.empty() ? std::nullopt : withNodeInGroup(nodes, *placed);
    if (!grown) {
        grown = nodes;
        grown->push_back(placed->node);
    }
    current->set("List", *std::move(grown));
    const std::string aside = stringByAppendingPathComponent(root.aside, ".nodes.plist.neu");
    if (!writeDictionaryToFile(*current, aside))
        failed("Die Datei \"%@\" kann nicht geschrieben werden.", aside);
    return Replacement{file, aside};
}

}  // namespace

BackupCalendar calendarOfKey(const BackupFacts& facts, std::string_view key,
                             const std::string& backup)
{
    std::vector<BackupCalendar> found;
    for (const BackupCalendar& calendar : facts.calendars) {
        if (calendar.sourceKey == key)
            return calendar;
        if (calendar.recordKey == key)
            found.push_back(calendar);
    }
    if (found.empty())
        failed("In der Sicherungskopie \"%@\" steht kein Kalender mit dem Schlüssel \"%@\".",
               backup, key);
    if (found.size() > 1)
        failed(
            "In der Sicherungskopie \"%@\" stehen mehrere Kalender mit dem Schlüssel \"%@\": "
            "bitte den eigenen Schlüssel angeben, etwa \"%@\".",
            backup, key, found.front().sourceKey);
    return found.front();
}

bool isNeededForCalendar(const std::string& folder, const std::string& member)
{
    return member == folder || member.starts_with(folder + "/") ||
           folder.starts_with(member + "/") ||
           member == firstComponent(folder) + "/" + std::string(StorePaths::nodeFileName);
}

std::vector<Replacement> replacementsForCalendar(const UnpackedBackup& unpacked,
                                                 const BackupCalendar& calendar)
{
    const std::string top = firstComponent(calendar.folder);
    const std::string below = calendar.folder.substr(top.size());  // with the slash in front
    const auto& roots = unpacked.roots();
    const auto root = std::find_if(roots.begin(), roots.end(), [&](const auto& candidate) {
        return FileManager::defaultManager().isDirectory(candidate.aside + below);
    });
    if (root == roots.end())
        failed("Der Ordner \"%@\" fehlt in der Sicherungskopie.", calendar.folder);
    if (!below.starts_with("/Sources/"))
        return {{placeInCalendars(root->path, calendar), root->aside + below}};
    std::vector<Replacement> replacements{{root->path + below, root->aside + below}};
    if (auto node = replacementForNode(*root, calendar.sourceKey))
        replacements.push_back(*std::move(node));
    return replacements;
}

}  // namespace kt
