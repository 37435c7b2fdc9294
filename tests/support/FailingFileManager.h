#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Platform.h"

namespace kt::test {

/// In front of another file manager: counts the operations that change the disk and lets one of
/// them, or all that a test picks, fail without doing anything. Reads pass, unless it picks some.
class FailingFileManager : public FileManager {
public:
    enum class Afterwards { everythingWorks, everythingFails };
    /// Asked about each operation, as it stands in `operations`.
    using Picks = std::function<bool(const std::string& operation)>;

    /// The operations count from 1; 0 lets none fail.
    FailingFileManager(std::shared_ptr<FileManager> inner, std::size_t failing,
                       Afterwards afterwards = Afterwards::everythingWorks)
        : _inner(std::move(inner)),
          _failing(failing),
          _afterwards(afterwards)
    {}

    FailingFileManager(std::shared_ptr<FileManager> inner, Picks failing)
        : FailingFileManager(std::move(inner), 0)
    {
        _picks = std::move(failing);
    }

    /// What stands at such a path can neither be read nor asked about, as on a disk that fails.
    void failReads(Picks ofPath) { _pickedReads = std::move(ofPath); }

    /// The operations so far, as "writeAtomically /path" or "movePath /from -> /to".
    const std::vector<std::string>& operations() const { return _operations; }
    bool hasFailed() const { return _failing != 0 && _operations.size() >= _failing; }

    std::optional<std::vector<std::string>> listDirectory(const std::string& path) const override
    {
        return isUnreadable(path) ? std::nullopt : _inner->listDirectory(path);
    }
    std::optional<FileStatus> statusAtPath(const std::string& path) const override
    {
        return isUnreadable(path) ? unknown() : _inner->statusAtPath(path);
    }
    std::optional<FileStatus> linkStatusAtPath(const std::string& path) const override
    {
        return isUnreadable(path) ? unknown() : _inner->linkStatusAtPath(path);
    }
    std::vector<DirectoryEntry> directoryEntriesAtPath(const std::string& path) const override
    {
        if (isUnreadable(path))
            return {};
        auto entries = _inner->directoryEntriesAtPath(path);
        for (DirectoryEntry& entry : entries) {
            if (isUnreadable(stringByAppendingPathComponent(path, entry.name)))
                entry.status = *unknown();
        }
        return entries;
    }
    std::optional<std::string> contentsAtPath(const std::string& path) const override
    {
        return isUnreadable(path) ? std::nullopt : _inner->contentsAtPath(path);
    }

    bool writeAtomically(std::string_view bytes, const std::string& path) override
    {
        return perform("writeAtomically " + path,
                       [&] { return _inner->writeAtomically(bytes, path); });
    }
    bool createDirectoryAtPath(const std::string& path) override
    {
        return perform("createDirectoryAtPath " + path,
                       [&] { return _inner->createDirectoryAtPath(path); });
    }
    bool copyPath(const std::string& source, const std::string& destination,
                  FileManagerHandler* handler) override
    {
        return perform("copyPath " + source + " -> " + destination,
                       [&] { return _inner->copyPath(source, destination, handler); });
    }
    bool movePath(const std::string& source, const std::string& destination,
                  FileManagerHandler* handler) override
    {
        return perform("movePath " + source + " -> " + destination,
                       [&] { return _inner->movePath(source, destination, handler); });
    }
    bool removeFileAtPath(const std::string& path, FileManagerHandler* handler) override
    {
        return perform("removeFileAtPath " + path,
                       [&] { return _inner->removeFileAtPath(path, handler); });
    }
    bool setPermissions(std::uint32_t permissions, const std::string& path) override
    {
        return perform("setPermissions " + path,
                       [&] { return _inner->setPermissions(permissions, path); });
    }
    bool setModificationDate(std::chrono::sys_time<std::chrono::nanoseconds> date,
                             const std::string& path) override
    {
        return perform("setModificationDate " + path,
                       [&] { return _inner->setModificationDate(date, path); });
    }
    bool synchronizeFileSystem(const std::string& path) override
    {
        return perform("synchronizeFileSystem " + path,
                       [&] { return _inner->synchronizeFileSystem(path); });
    }

private:
    bool isUnreadable(const std::string& path) const { return _pickedReads && _pickedReads(path); }
    static std::optional<FileStatus> unknown()
    {
        FileStatus status;
        status.kind = FileStatus::Kind::unknown;
        return status;
    }
    bool perform(std::string operation, const std::function<bool()>& body)
    {
        const bool hasFailedBefore = _afterwards == Afterwards::everythingFails && hasFailed();
        const bool fails = hasFailedBefore || (_picks && _picks(operation));
        _operations.push_back(std::move(operation));
        return !fails && _operations.size() != _failing && body();
    }

    std::shared_ptr<FileManager> _inner;
    std::size_t _failing;
    Afterwards _afterwards;
    Picks _picks;
    Picks _pickedReads;
    std::vector<std::string> _operations;
};

/// Makes the n-th changing operation of the whole process fail from now on, until the next call or
/// the end of the PlatformScope.
inline std::shared_ptr<FailingFileManager> failFileOperation(
    std::size_t failing,
    FailingFileManager::Afterwards afterwards = FailingFileManager::Afterwards::everythingWorks)
{
    auto manager =
        std::make_shared<FailingFileManager>(makePosixFileManager(), failing, afterwards);
    Platform::shared().setFileManager(manager);
    return manager;
}

/// The same for all operations that the test picks.
inline std::shared_ptr<FailingFileManager> failFileOperations(FailingFileManager::Picks failing)
{
    auto manager = std::make_shared<FailingFileManager>(makePosixFileManager(), std::move(failing));
    Platform::shared().setFileManager(manager);
    return manager;
}

/// No path that the test picks can be read or asked about.
inline void failFileReads(FailingFileManager::Picks ofPath)
{
    failFileOperation(0)->failReads(std::move(ofPath));
}

}  // namespace kt::test
