#include "Sync/Foundation/FileManager.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "Sync/Foundation/Platform.h"

namespace kt {

namespace {

class ReadOnlyFileManager : public FileManager {
public:
    explicit ReadOnlyFileManager(std::shared_ptr<FileManager> inner) : _inner(std::move(inner)) {}

    std::optional<std::vector<std::string>> listDirectory(const std::string& path) const override
    {
        return _inner->listDirectory(path);
    }
    std::optional<FileStatus> statusAtPath(const std::string& path) const override
    {
        return _inner->statusAtPath(path);
    }
    std::optional<FileStatus> linkStatusAtPath(const std::string& path) const override
    {
        return _inner->linkStatusAtPath(path);
    }
    std::vector<DirectoryEntry> directoryEntriesAtPath(const std::string& path) const override
    {
        return _inner->directoryEntriesAtPath(path);
    }
    std::optional<std::string> contentsAtPath(const std::string& path) const override
    {
        return _inner->contentsAtPath(path);
    }
    std::optional<FileContents> contentsAndStatusAtPath(const std::string& path) const override
    {
        return _inner->contentsAndStatusAtPath(path);
    }

    bool writeAtomically(std::string_view, const std::string&) override { return false; }
    bool createDirectoryAtPath(const std::string&) override { return false; }
    bool copyPath(const std::string&, const std::string&, FileManagerHandler*) override
    {
        return false;
    }
    bool movePath(const std::string&, const std::string&, FileManagerHandler*) override
    {
        return false;
    }
    bool removeFileAtPath(const std::string&, FileManagerHandler*) override { return false; }
    bool setPermissions(std::uint32_t, const std::string&) override { return false; }
    bool setModificationDate(std::chrono::sys_time<std::chrono::nanoseconds>,
                             const std::string&) override
    {
        return false;
    }
    bool synchronizeFileSystem(const std::string&) override { return false; }

private:
    std::shared_ptr<FileManager> _inner;
};

}  // namespace

std::string realPath(const std::string& path)
{
    std::error_code error;
    const std::filesystem::path real = std::filesystem::canonical(path, error);
    return error ? path : real.string();
}

FileManager& FileManager::defaultManager() { return Platform::shared().fileManager(); }

bool FileManager::isDirectory(const std::string& path) const
{
    const std::optional<FileStatus> status = statusAtPath(path);
    return status && status->kind == FileStatus::Kind::directory;
}

std::optional<FileContents> FileManager::contentsAndStatusAtPath(const std::string& path) const
{
    const std::optional<FileStatus> status = statusAtPath(path);
    auto bytes = contentsAtPath(path);
    if (!status || !bytes)
        return std::nullopt;
    return FileContents{*std::move(bytes), *status};
}

std::vector<std::string> FileManager::directoryContentsAtPath(const std::string& path) const
{
    return listDirectory(path).value_or(std::vector<std::string>());
}

std::shared_ptr<FileManager> makeReadOnlyFileManager(std::shared_ptr<FileManager> inner)
{
    return std::make_shared<ReadOnlyFileManager>(std::move(inner));
}

}  // namespace kt
