#include "tests/support/MemoryFileManager.h"

#include <algorithm>
#include <utility>

#include "tests/support/MemoryNode.h"

namespace kt::test {

namespace {

constexpr std::uint32_t kFilePermissions = 0644;
constexpr std::uint32_t kFolderPermissions = 0755;
constexpr std::size_t kLongestName = 255;

std::vector<std::string> namesOf(const std::string& path)
{
    std::vector<std::string> names;
    for (std::size_t begin = 0; begin < path.size();) {
        const std::size_t end = std::min(path.find('/', begin), path.size());
        if (end > begin)
            names.push_back(path.substr(begin, end - begin));
        begin = end + 1;
    }
    return names;
}

MemoryFileManager::Instant startOf2008()
{
    using namespace std::chrono;
    return sys_days{year{2008} / January / 1};
}

}  // namespace

MemoryFileManager::MemoryFileManager(Clock clock)
    : _clock(clock ? std::move(clock) : startOf2008),
      _root(newNode(FileStatus::Kind::directory, kFolderPermissions))
{}

MemoryFileManager::~MemoryFileManager() = default;

MemoryFileManager::Instant MemoryFileManager::now()
{
    _last = std::max(_clock(), _last + std::chrono::nanoseconds(1));
    return _last;
}

std::shared_ptr<MemoryFileManager::Node> MemoryFileManager::newNode(FileStatus::Kind kind,
                                                                    std::uint32_t permissions)
{
    auto node = std::make_shared<Node>();
    node->status.kind = kind;
    node->status.permissions = permissions;
    node->status.modified = now();
    node->status.changed = node->status.modified;
    node->status.inode = ++_lastInode;
    return node;
}

std::shared_ptr<MemoryFileManager::Node> MemoryFileManager::find(const std::string& path) const
{
    std::shared_ptr<Node> node = path.starts_with('/') ? _root : nullptr;
    for (const std::string& name : namesOf(path)) {
        if (!node || !node->isFolder())
            return nullptr;
        const auto child = node->children.find(name);
        node = child == node->children.end() ? nullptr : child->second;
    }
    return node;
}

/// Null where there is no folder, or no name that could stand in one.
std::shared_ptr<MemoryFileManager::Node> MemoryFileManager::folderOf(const std::string& path) const
{
    if (lastPathComponent(path).size() > kLongestName || namesOf(path).empty())
        return nullptr;
    auto folder = find(stringByDeletingLastPathComponent(path));
    return folder && folder->isFolder() ? folder : nullptr;
}

void MemoryFileManager::put(const std::string& path, const std::shared_ptr<Node>& node)
{
    const auto folder = folderOf(path);
    folder->children[lastPathComponent(path)] = node;
    folder->status.modified = now();
}

void MemoryFileManager::take(const std::string& path)
{
    const auto folder = folderOf(path);
    folder->children.erase(lastPathComponent(path));
    folder->status.modified = now();
}

void MemoryFileManager::makeFolders(const std::string& path)
{
    if (find(path))
        return;
    makeFolders(stringByDeletingLastPathComponent(path));
    put(path, newNode(FileStatus::Kind::directory, kFolderPermissions));
}

std::shared_ptr<MemoryFileManager::Node> MemoryFileManager::withNewInodes(const Node& node)
{
    auto copy = std::make_shared<Node>(node);
    copy->status.inode = ++_lastInode;
    for (auto& [name, child] : copy->children)
        child = withNewInodes(*child);
    return copy;
}

MemoryFileManager::Snapshot MemoryFileManager::snapshot(const std::string& path) const
{
    const auto node = find(path);
    if (!node)
        return nullptr;
    auto copy = std::make_shared<Node>(*node);
    for (auto& [name, child] : copy->children)
        child = std::const_pointer_cast<Node>(snapshot(stringByAppendingPathComponent(path, name)));
    return copy;
}

void MemoryFileManager::restore(const Snapshot& snapshot, const std::string& path)
{
    if (!snapshot) {
        if (find(path))
            take(path);
        return;
    }
    makeFolders(stringByDeletingLastPathComponent(path));
    put(path, withNewInodes(*snapshot));
}

std::map<std::string, std::string> MemoryFileManager::description(const std::string& path) const
{
    std::map<std::string, std::string> lines;
    const auto node = find(path);
    if (!node)
        return lines;
    const FileStatus& status = node->status;
    lines[""] = (node->isFolder() ? "folder " : "file ") + std::to_string(status.permissions) +
                " " + std::to_string(status.modified.time_since_epoch().count()) + " #" +
                std::to_string(status.inode) + " " + (node->content ? *node->content : "");
    for (const auto& [name, child] : node->children)
        for (auto& [below, line] : description(stringByAppendingPathComponent(path, name)))
            lines[below.empty() ? name : name + "/" + below] = line;
    return lines;
}

std::optional<std::vector<std::string>> MemoryFileManager::listDirectory(
    const std::string& path) const
{
    const auto node = find(path);
    if (!node || !node->isFolder())
        return std::nullopt;
    std::vector<std::string> names;
    for (const auto& [name, child] : node->children)
        names.push_back(name);
    return names;
}

std::optional<FileStatus> MemoryFileManager::statusAtPath(const std::string& path) const
{
    const auto node = find(path);
    return node ? std::optional(node->status) : std::nullopt;
}

std::optional<FileStatus> MemoryFileManager::linkStatusAtPath(const std::string& path) const
{
    return statusAtPath(path);
}

std::vector<DirectoryEntry> MemoryFileManager::directoryEntriesAtPath(const std::string& path) const
{
    std::vector<DirectoryEntry> entries;
    const auto node = find(path);
    if (!node)
        return entries;
    for (const auto& [name, child] : node->children)
        entries.push_back({name, child->status});
    return entries;
}

std::optional<std::string> MemoryFileManager::contentsAtPath(const std::string& path) const
{
    const auto node = find(path);
    return node && node->content ? std::optional(*node->content) : std::nullopt;
}

bool MemoryFileManager::writeAtomically(std::string_view bytes, const std::string& path)
{
    const auto folder = folderOf(path);
    if (!folder || path.ends_with('/') || !mayGoOn("write " + path))
        return false;
    const std::string name = lastPathComponent(path);
    const std::string temporary = "." + name + ".tmp-" + std::to_string(++_temporaries);
    const auto old = find(path);
    const auto file =
        newNode(FileStatus::Kind::file, old ? old->status.permissions : kFilePermissions);
    file->content = std::make_shared<const std::string>(bytes);
    file->status.size = bytes.size();
    folder->children[temporary] = file;
    folder->status.modified = now();
    const bool isRenamed =
        (!old || !old->isFolder()) && mayGoOn("rename " + temporary + " -> " + path);
    folder->children.erase(temporary);
    if (isRenamed)
        folder->children[name] = file;
    folder->status.modified = now();
    return isRenamed;
}

bool MemoryFileManager::createDirectoryAtPath(const std::string& path)
{
    if (!folderOf(path) || find(path) || !mayGoOn("create " + path))
        return false;
    put(path, newNode(FileStatus::Kind::directory, kFolderPermissions));
    return true;
}

bool MemoryFileManager::setPermissions(std::uint32_t permissions, const std::string& path)
{
    const auto node = find(path);
    if (!node || !mayGoOn("permit " + path))
        return false;
    node->status.permissions = permissions & 07777U;
    node->status.changed = now();
    return true;
}

bool MemoryFileManager::setModificationDate(Instant date, const std::string& path)
{
    const auto node = find(path);
    if (!node || !mayGoOn("date " + path))
        return false;
    node->status.modified = date;
    node->status.changed = now();
    return true;
}

bool MemoryFileManager::synchronizeFileSystem(const std::string& path)
{
    return find(path) && mayGoOn("synchronize " + path);
}

}  // namespace kt::test
