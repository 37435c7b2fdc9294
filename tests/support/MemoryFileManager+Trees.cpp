// Whole folders: copying, moving, removing, one step after another.

#include <utility>

#include "tests/support/MemoryNode.h"

namespace kt::test {

/// One copy, move or removal: knows whom to ask about failures, and whether there were any.
class MemoryFileManager::Tree {
public:
    Tree(MemoryFileManager& disk, FileManagerHandler* handler, std::string failure)
        : _disk(disk),
          _handler(handler),
          _failure(std::move(failure))
    {}

    /// False when the whole operation is to stop.
    bool copy(const std::string& source, const std::string& destination);
    bool remove(const std::string& path);

private:
    bool proceedAfterError(const std::string& path, const std::string& toPath);

    MemoryFileManager& _disk;
    FileManagerHandler* _handler;
    std::string _failure;
    bool _hasFailed = false;
};

bool MemoryFileManager::Tree::proceedAfterError(const std::string& path, const std::string& toPath)
{
    _hasFailed = true;
    if (_handler == nullptr)
        return false;
    Dictionary error{{"Error", _failure}, {"Path", path}};
    if (!toPath.empty())
        error.set("ToPath", toPath);
    return _handler->fileManager(_disk, error);
}

bool MemoryFileManager::Tree::copy(const std::string& source, const std::string& destination)
{
    const auto from = _disk.find(source);
    if (!from || !_disk.folderOf(destination) || _disk.find(destination) ||
        !_disk.mayGoOn("copy " + source + " -> " + destination))
        return proceedAfterError(source, destination);
    const auto to = _disk.newNode(from->status.kind, from->status.permissions);
    to->content = from->content;
    to->status.size = from->status.size;
    _disk.put(destination, to);
    const std::vector<std::string> names = _disk.directoryContentsAtPath(source);
    for (const std::string& name : names)
        if (!copy(source + "/" + name, destination + "/" + name))
            return false;
    to->status.modified = from->status.modified;
    return true;
}

bool MemoryFileManager::Tree::remove(const std::string& path)
{
    // A folder that lost only some of its items is no failure of its own.
    const bool hadFailed = std::exchange(_hasFailed, false);
    for (const std::string& name : _disk.directoryContentsAtPath(path))
        if (!remove(path + "/" + name))
            return false;
    const bool isIncomplete = _hasFailed;
    _hasFailed = _hasFailed || hadFailed;
    if (isIncomplete)
        return true;
    if (!_disk.mayGoOn("remove " + path))
        return proceedAfterError(path, "");
    _disk.take(path);
    return true;
}

bool MemoryFileManager::copyPath(const std::string& source, const std::string& destination,
                                 FileManagerHandler* handler)
{
    // A copy into its own source would never end.
    if (!find(source) || find(destination) || destination.starts_with(source + "/"))
        return false;
    return Tree(*this, handler, "Error copying").copy(source, destination);
}

bool MemoryFileManager::movePath(const std::string& source, const std::string& destination,
                                 FileManagerHandler*)
{
    const auto node = find(source);
    if (!node || find(destination) || !folderOf(destination) ||
        destination.starts_with(source + "/") || !mayGoOn("move " + source + " -> " + destination))
        return false;
    take(source);
    put(destination, node);
    return true;
}

bool MemoryFileManager::removeFileAtPath(const std::string& path, FileManagerHandler* handler)
{
    if (!find(path) || !folderOf(path))
        return false;
    return Tree(*this, handler, "Error removing").remove(path);
}

}  // namespace kt::test
