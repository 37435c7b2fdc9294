#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Sync/Foundation/Dictionary.h"

namespace kt {

class FileManager;

/// Asked when a copy, move or removal of a whole folder fails on one item.
class FileManagerHandler {
public:
    virtual ~FileManagerHandler() = default;
    /// fileManager:shouldProceedAfterError: `error` holds "Error" ("Error copying", "Error moving",
    /// "Error removing"), "Path" and, for two-sided operations, "ToPath". True goes on with the
    /// remaining items.
    virtual bool fileManager(FileManager& fileManager, const Dictionary& error) = 0;
};

struct FileStatus {
    enum class Kind {
        file,
        directory,
        symbolicLink,
        other,
        unknown,  // it cannot be asked about: perhaps something is there, perhaps not
    };

    Kind kind = Kind::file;
    std::uint64_t size = 0;                                      // bytes
    std::chrono::sys_time<std::chrono::nanoseconds> modified{};  // of the content
    std::uint32_t permissions = 0;                               // POSIX bits, 07777
    std::uint64_t inode = 0;   // what it is on its file system, whatever its name
    std::uint64_t device = 0;  // its file system
    std::chrono::sys_time<std::chrono::nanoseconds> changed{};  // it or its content; nobody sets it
};

struct FileContents {
    std::string bytes;
    FileStatus status;  // links followed, from before the first byte was read
};

struct DirectoryEntry {
    std::string name;
    FileStatus status;
};

/// The file system as the program uses it. Nothing here throws: failures are false, nullopt or an
/// empty list. An interface, so that tests can fail the n-th operation and a write guard can stand
/// in front.
class FileManager {
public:
    /// The process-wide one, as set in Platform.
    static FileManager& defaultManager();

    virtual ~FileManager() = default;

    /// Names, sorted bytewise; nullopt when the folder cannot be listed (missing, no folder, no
    /// permission).
    virtual std::optional<std::vector<std::string>> listDirectory(
        const std::string& path) const = 0;
    /// Links followed; nullopt when there is nothing. Where that cannot be told, for want of
    /// permission or because the disk fails, the kind is unknown and nothing else is said.
    virtual std::optional<FileStatus> statusAtPath(const std::string& path) const = 0;
    /// The item itself, links not followed.
    virtual std::optional<FileStatus> linkStatusAtPath(const std::string& path) const = 0;
    /// What listDirectory names, each with its linkStatusAtPath; what vanishes meanwhile is left
    /// out. Takes half the time, since no path is looked up from the root.
    virtual std::vector<DirectoryEntry> directoryEntriesAtPath(const std::string& path) const = 0;
    virtual std::optional<std::string> contentsAtPath(const std::string& path) const = 0;
    /// The same, with what tells later whether it is still that.
    virtual std::optional<FileContents> contentsAndStatusAtPath(const std::string& path) const;

    /// Written to a temporary name beside the target and renamed over it; the old file survives
    /// every failure and its permissions are kept.
    virtual bool writeAtomically(std::string_view bytes, const std::string& path) = 0;
    /// One folder; its parent has to exist. False when something stands there already.
    virtual bool createDirectoryAtPath(const std::string& path) = 0;
    /// File or folder with all its content; the destination must not exist. Times and permissions
    /// are kept, links copied as links.
    virtual bool copyPath(const std::string& source, const std::string& destination,
                          FileManagerHandler* handler = nullptr) = 0;
    virtual bool movePath(const std::string& source, const std::string& destination,
                          FileManagerHandler* handler = nullptr) = 0;
    /// File or folder with all its content; false when nothing is there.
    virtual bool removeFileAtPath(const std::string& path,
                                  FileManagerHandler* handler = nullptr) = 0;
    virtual bool setPermissions(std::uint32_t permissions, const std::string& path) = 0;
    virtual bool setModificationDate(std::chrono::sys_time<std::chrono::nanoseconds> date,
                                     const std::string& path) = 0;
    /// Flushes the file system that holds the path, once after a store was rewritten.
    virtual bool synchronizeFileSystem(const std::string& path) = 0;

    // Conveniences over the above.
    bool fileExistsAtPath(const std::string& path) const { return statusAtPath(path).has_value(); }
    bool isDirectory(const std::string& path) const;
    /// directoryContentsAtPath: an empty list also when the folder cannot be listed.
    std::vector<std::string> directoryContentsAtPath(const std::string& path) const;
};

/// The real file system.
std::shared_ptr<FileManager> makePosixFileManager();
/// In front of another: reads pass, every write answers false (createDirectoryAtPath included).
std::shared_ptr<FileManager> makeReadOnlyFileManager(std::shared_ptr<FileManager> inner);

/// Where a path leads when the links in it are followed; a store's folder may be one, into another
/// volume. The path itself where nothing is.
std::string realPath(const std::string& path);

// Path strings.
std::string stringByAppendingPathComponent(std::string_view path, std::string_view component);
std::string lastPathComponent(std::string_view path);
std::string stringByDeletingLastPathComponent(std::string_view path);
/// Without the dot; empty when there is none.
std::string pathExtension(std::string_view path);
std::string stringByAppendingPathExtension(std::string_view path, std::string_view extension);
/// "/a//b" gives "/", "a", "b".
std::vector<std::string> pathComponents(std::string_view path);
/// Names that come from outside become path components only when they are one plain component: not
/// empty, not "." or "..", no "/", no NUL, at most 255 bytes.
bool isPlainPathComponent(std::string_view name);
/// Percent escapes of a URI replaced; nullopt when they are not UTF-8 or not well formed.
std::optional<std::string> stringByReplacingPercentEscapes(std::string_view text);

}  // namespace kt
