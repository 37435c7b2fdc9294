#pragma once

#include "Sync/Foundation/FileManager.h"

namespace kt {

/// The real file system.
class PosixFileManager : public FileManager {
public:
    std::optional<std::vector<std::string>> listDirectory(const std::string& path) const override;
    std::optional<FileStatus> statusAtPath(const std::string& path) const override;
    std::optional<FileStatus> linkStatusAtPath(const std::string& path) const override;
    std::vector<DirectoryEntry> directoryEntriesAtPath(const std::string& path) const override;
    std::optional<std::string> contentsAtPath(const std::string& path) const override;
    std::optional<FileContents> contentsAndStatusAtPath(const std::string& path) const override;

    bool writeAtomically(std::string_view bytes, const std::string& path) override;
    bool createDirectoryAtPath(const std::string& path) override;
    bool copyPath(const std::string& source, const std::string& destination,
                  FileManagerHandler* handler) override;
    bool movePath(const std::string& source, const std::string& destination,
                  FileManagerHandler* handler) override;
    bool removeFileAtPath(const std::string& path, FileManagerHandler* handler) override;
    bool setPermissions(std::uint32_t permissions, const std::string& path) override;
    bool setModificationDate(std::chrono::sys_time<std::chrono::nanoseconds> date,
                             const std::string& path) override;
    bool synchronizeFileSystem(const std::string& path) override;
};

}  // namespace kt
