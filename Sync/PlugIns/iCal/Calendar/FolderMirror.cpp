#include "Sync/PlugIns/iCal/Calendar/FolderMirror.h"

#include <optional>
#include <utility>
#include <vector>

#include "Sync/Additions/KTFileManagerAdditions.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Value.h"

namespace kt {

namespace {

using Status = std::optional<FileStatus>;

bool isFolder(const Status& status)
{
    return status && status->kind == FileStatus::Kind::directory;
}

bool isUnknown(const Status& status) { return status && status->kind == FileStatus::Kind::unknown; }

bool areEqualFiles(const Status& left, const Status& right)
{
    return left && right && left->kind == FileStatus::Kind::file && right->kind == left->kind &&
           left->size == right->size && left->modified == right->modified &&
           left->permissions == right->permissions;
}

/// What cannot be read cannot be copied either, and keeps nobody from copying the rest.
bool isUnreadable(const FileManager& files, const std::string& path)
{
    const Status status = files.linkStatusAtPath(path);
    if (!status || status->kind == FileStatus::Kind::symbolicLink)
        return false;
    if (isFolder(status))
        return !files.listDirectory(path);
    return isUnknown(status) || status->kind == FileStatus::Kind::other ||
           !files.contentsAtPath(path);
}

class PassUnreadable : public FileManagerHandler {
public:
    bool fileManager(FileManager& files, const Dictionary& error) override
    {
        return isUnreadable(files, error["Path"].description());
    }
};

/// One run over two trees; a stack of its own, since a store may be nested deeper than the
/// program's.
class Mirror {
public:
    bool run(const std::string& source, const std::string& destination)
    {
        _pending.emplace_back(source, destination);
        while (!_pending.empty()) {
            const auto [from, to] = std::move(_pending.back());
            _pending.pop_back();
            mirror(from, to);
        }
        return _isDone;
    }

private:
    void mirror(const std::string& source, const std::string& destination)
    {
        const Status from = _files.linkStatusAtPath(source);
        const Status to = _files.linkStatusAtPath(destination);
        if (areEqualFiles(from, to))
            return;
        // Perhaps what it was copied from before is all right.
        if (isUnknown(from))
            return;
        if (isFolder(from) && isFolder(to))
            return mirrorFolder(source, destination);
        makeWritable(destination);
        if (to)
            note(_files.removeFileAtPath(destination));
        if (from)
            note(_files.copyPath(source, destination, &_handler) || isUnreadable(_files, source));
    }

    void mirrorFolder(const std::string& source, const std::string& destination)
    {
        makeWritable(destination);
        const auto entries = entriesOf(source);
        const auto copies = entriesOf(destination);
        if (!entries || !copies)
            return note(!entries);  // what cannot be listed is not copied
        auto entry = entries->begin();
        auto copy = copies->begin();
        while (entry != entries->end() || copy != copies->end()) {
            const bool isThere =
                copy == copies->end() || (entry != entries->end() && entry->name <= copy->name);
            const bool isCopied =
                entry == entries->end() || (copy != copies->end() && copy->name <= entry->name);
            // Most of a store, and nothing more is asked of it.
            const bool isEqual = isThere && isCopied && areEqualFiles(entry->status, copy->status);
            if (!isEqual)
                add(source, destination, isThere ? entry->name : copy->name);
            entry += isThere ? 1 : 0;
            copy += isCopied ? 1 : 0;
        }
    }

    std::optional<std::vector<DirectoryEntry>> entriesOf(const std::string& folder) const
    {
        auto entries = _files.directoryEntriesAtPath(folder);
        if (entries.empty() && !_files.listDirectory(folder))
            return std::nullopt;
        return entries;
    }

    void add(const std::string& source, const std::string& destination, const std::string& name)
    {
        _pending.emplace_back(stringByAppendingPathComponent(source, name),
                              stringByAppendingPathComponent(destination, name));
    }

    /// The store's folder may have been read-only when it was copied; its copy must not stay so.
    void makeWritable(const std::string& folder)
    {
        constexpr std::uint32_t kOwner = 0700;
        const Status status = _files.linkStatusAtPath(folder);
        if (isFolder(status) && (status->permissions & kOwner) != kOwner)
            _files.setPermissions(status->permissions | kOwner, folder);
    }

    void note(bool isDone) { _isDone = _isDone && isDone; }

    FileManager& _files = FileManager::defaultManager();
    PassUnreadable _handler;
    std::vector<std::pair<std::string, std::string>> _pending;
    bool _isDone = true;
};

}  // namespace

bool mirrorPath(const std::string& source, const std::string& destination)
{
    createPath(stringByDeletingLastPathComponent(destination));
    return Mirror().run(realPath(source), destination);
}

}  // namespace kt
