#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Sync/Foundation/FileManager.h"

namespace kt::test {

/// A disk in memory: folders and files as POSIX has them, without links and rights of others. Times
/// come from a clock and rise by a nanosecond with each change at least, inodes are given out in
/// order, so that what is done twice from the same start ends in the same disk.
class MemoryFileManager : public FileManager {
public:
    using Instant = std::chrono::sys_time<std::chrono::nanoseconds>;
    using Clock = std::function<Instant()>;
    /// Asked before each single step that changes the disk, as "write /path", "rename /from -> /to"
    /// and so on; false lets the step fail. It may throw: then the disk stays as it is then.
    using Fault = std::function<bool(const std::string& step)>;

    /// Without a clock all times are within the first second of 2008.
    explicit MemoryFileManager(Clock clock = {});
    ~MemoryFileManager() override;

    void setFault(Fault fault) { _fault = std::move(fault); }

    /// What stands at a path, with all below it; null when nothing does. The contents of files are
    /// shared, not copied.
    struct Node;
    using Snapshot = std::shared_ptr<const Node>;
    Snapshot snapshot(const std::string& path) const;
    /// Puts it in the place of what stands at the path, with the old times and new inodes; a null
    /// one leaves nothing there. The folder around it is made where it is missing. No fault is
    /// asked.
    void restore(const Snapshot& snapshot, const std::string& path);
    /// Everything below a path that a change would change, one line each: kind, rights, time, inode
    /// and content, by its relative path.
    std::map<std::string, std::string> description(const std::string& path) const;

    std::optional<std::vector<std::string>> listDirectory(const std::string& path) const override;
    std::optional<FileStatus> statusAtPath(const std::string& path) const override;
    std::optional<FileStatus> linkStatusAtPath(const std::string& path) const override;
    std::vector<DirectoryEntry> directoryEntriesAtPath(const std::string& path) const override;
    std::optional<std::string> contentsAtPath(const std::string& path) const override;

    /// In two steps, so that what ends between them leaves the temporary file behind.
    bool writeAtomically(std::string_view bytes, const std::string& path) override;
    bool createDirectoryAtPath(const std::string& path) override;
    bool copyPath(const std::string& source, const std::string& destination,
                  FileManagerHandler* handler = nullptr) override;
    bool movePath(const std::string& source, const std::string& destination,
                  FileManagerHandler* handler = nullptr) override;
    bool removeFileAtPath(const std::string& path, FileManagerHandler* handler = nullptr) override;
    bool setPermissions(std::uint32_t permissions, const std::string& path) override;
    bool setModificationDate(Instant date, const std::string& path) override;
    bool synchronizeFileSystem(const std::string& path) override;

private:
    class Tree;

    bool mayGoOn(const std::string& step) const { return !_fault || _fault(step); }
    Instant now();
    std::shared_ptr<Node> newNode(FileStatus::Kind kind, std::uint32_t permissions);
    std::shared_ptr<Node> find(const std::string& path) const;
    std::shared_ptr<Node> folderOf(const std::string& path) const;
    void makeFolders(const std::string& path);
    void put(const std::string& path, const std::shared_ptr<Node>& node);
    void take(const std::string& path);
    std::shared_ptr<Node> withNewInodes(const Node& node);

    Clock _clock;
    Fault _fault;
    Instant _last{};
    std::uint64_t _lastInode = 0;
    unsigned _temporaries = 0;
    std::shared_ptr<Node> _root;
};

}  // namespace kt::test
