// Single files: reading, writing, attributes.

#include "Sync/Foundation/PosixFileManager.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <string>

#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include "Sync/Foundation/FileDescriptor.h"

namespace kt {

namespace {

constexpr mode_t kPermissionBits = 07777;

/// A file may be dated further away than nanoseconds can be counted (beyond the year 2262); such a
/// date is given as the furthest one.
std::chrono::sys_time<std::chrono::nanoseconds> instantOf(const timespec& time)
{
    using std::chrono::nanoseconds;
    using std::chrono::seconds;
    constexpr seconds kFurthest = std::chrono::floor<seconds>(nanoseconds::max()) - seconds(1);
    const seconds whole = std::clamp(seconds(time.tv_sec), -kFurthest, kFurthest);
    return std::chrono::sys_time<nanoseconds>(whole + nanoseconds(time.tv_nsec));
}

FileStatus fileStatusOf(const struct stat& status)
{
    FileStatus result;
    if (S_ISREG(status.st_mode))
        result.kind = FileStatus::Kind::file;
    else if (S_ISDIR(status.st_mode))
        result.kind = FileStatus::Kind::directory;
    else if (S_ISLNK(status.st_mode))
        result.kind = FileStatus::Kind::symbolicLink;
    else
        result.kind = FileStatus::Kind::other;
    result.size = static_cast<std::uint64_t>(status.st_size);
    result.modified = instantOf(status.st_mtim);
    result.permissions = status.st_mode & kPermissionBits;
    result.inode = status.st_ino;
    result.device = status.st_dev;
    result.changed = instantOf(status.st_ctim);
    return result;
}

/// Of what was asked about with that result. A link to nowhere leads to nothing.
std::optional<FileStatus> fileStatusOf(int result, const struct stat& status)
{
    if (result == 0)
        return fileStatusOf(status);
    if (errno == ENOENT || errno == ENOTDIR || errno == ELOOP || errno == ENAMETOOLONG)
        return std::nullopt;
    FileStatus unknown;
    unknown.kind = FileStatus::Kind::unknown;
    return unknown;
}

struct DirectoryCloser {
    void operator()(DIR* directory) const { ::closedir(directory); }
};

/// A name for a file that is still being written: hidden, beside its target, taken by nobody else.
std::string temporaryPath(const std::string& path)
{
    static std::atomic<unsigned> counter{0};
    constexpr std::size_t kLongestName = 255;
    const std::string suffix =
        ".tmp-" + std::to_string(::getpid()) + "-" + std::to_string(++counter);
    const std::size_t nameBegin = path.rfind('/') + 1;
    return path.substr(0, nameBegin) + "." +
           path.substr(nameBegin, kLongestName - 1 - suffix.size()) + suffix;
}

/// The file that a link leads to, so that the link survives; the path itself otherwise.
std::string resolvedTarget(const std::string& path)
{
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0 || !S_ISLNK(status.st_mode))
        return path;
    char resolved[PATH_MAX];
    return ::realpath(path.c_str(), resolved) == nullptr ? path : std::string(resolved);
}

/// A new file beside the target; its name goes to `temporary`.
FileDescriptor openTemporary(const std::string& target, std::string& temporary)
{
    constexpr int kMostTries = 100;  // a run that was killed may have left some behind
    for (int tries = 0; tries < kMostTries; ++tries) {
        temporary = temporaryPath(target);
        const int flags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
        const int descriptor = ::open(temporary.c_str(), flags, 0666);
        if (descriptor >= 0 || errno != EEXIST)
            return FileDescriptor(descriptor);
    }
    return FileDescriptor(-1);
}

bool fill(FileDescriptor& file, std::string_view bytes, const std::string& target)
{
    struct stat old {};
    const bool isFilled =
        writeFully(file.get(), bytes) && (::stat(target.c_str(), &old) != 0 ||
                                          ::fchmod(file.get(), old.st_mode & kPermissionBits) == 0);
    return file.close() && isFilled;
}

/// A text with room for that many bytes, in large pages where it is large: there are fewer of them
/// for the kernel to hand over.
std::string textWithRoom(std::size_t size)
{
    constexpr std::size_t kLargePage = std::size_t{1} << 21;
    std::string text;
    text.reserve(size);
    const auto start = reinterpret_cast<std::uintptr_t>(text.data());
    const std::uintptr_t first = (start + kLargePage - 1) / kLargePage * kLargePage;
    const std::uintptr_t behind = (start + size) / kLargePage * kLargePage;
    if (behind > first)
        ::madvise(reinterpret_cast<void*>(first), behind - first, MADV_HUGEPAGE);
    return text;
}

/// Sorted bytewise; nullopt when they cannot be read.
std::optional<std::vector<std::string>> namesIn(DIR* directory)
{
    std::vector<std::string> names;
    errno = 0;
    while (const dirent* entry = ::readdir(directory)) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..")
            names.emplace_back(name);
        errno = 0;
    }
    if (errno != 0)
        return std::nullopt;
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace

std::shared_ptr<FileManager> makePosixFileManager() { return std::make_shared<PosixFileManager>(); }

std::optional<std::vector<std::string>> PosixFileManager::listDirectory(
    const std::string& path) const
{
    const std::unique_ptr<DIR, DirectoryCloser> directory(::opendir(path.c_str()));
    return directory ? namesIn(directory.get()) : std::nullopt;
}

std::vector<DirectoryEntry> PosixFileManager::directoryEntriesAtPath(const std::string& path) const
{
    const std::unique_ptr<DIR, DirectoryCloser> directory(::opendir(path.c_str()));
    auto names = directory ? namesIn(directory.get()) : std::nullopt;
    std::vector<DirectoryEntry> entries;
    if (!names)
        return entries;
    entries.reserve(names->size());
    for (std::string& name : *names) {
        struct stat status {};
        const int result =
            ::fstatat(::dirfd(directory.get()), name.c_str(), &status, AT_SYMLINK_NOFOLLOW);
        if (const auto found = fileStatusOf(result, status))
            entries.push_back({std::move(name), *found});
    }
    return entries;
}

std::optional<FileStatus> PosixFileManager::statusAtPath(const std::string& path) const
{
    struct stat status {};
    return fileStatusOf(::stat(path.c_str(), &status), status);
}

std::optional<FileStatus> PosixFileManager::linkStatusAtPath(const std::string& path) const
{
    struct stat status {};
    return fileStatusOf(::lstat(path.c_str(), &status), status);
}

std::optional<std::string> PosixFileManager::contentsAtPath(const std::string& path) const
{
    auto contents = contentsAndStatusAtPath(path);
    return contents ? std::optional(std::move(contents->bytes)) : std::nullopt;
}

std::optional<FileContents> PosixFileManager::contentsAndStatusAtPath(const std::string& path) const
{
    // Not to wait for a writer, should it be a pipe.
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode))
        return std::nullopt;

    const auto size = static_cast<std::size_t>(status.st_size);
    std::string bytes = textWithRoom(size);
    std::array<char, 1 << 16> buffer;
    while (true) {
        const ssize_t count = ::read(file.get(), buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return std::nullopt;
        const auto length = static_cast<std::size_t>(count);
        bytes.append(buffer.data(), length);
        // A short read at the size that there should be says that this was all.
        if (length == 0 || (length < buffer.size() && bytes.size() == size))
            return FileContents{std::move(bytes), fileStatusOf(status)};
    }
}

bool PosixFileManager::writeAtomically(std::string_view bytes, const std::string& path)
{
    const std::string target = resolvedTarget(path);
    std::string temporary;
    FileDescriptor file = openTemporary(target, temporary);
    if (!file.isOpen())
        return false;
    if (fill(file, bytes, target) && ::rename(temporary.c_str(), target.c_str()) == 0)
        return true;
    ::unlink(temporary.c_str());
    return false;
}

bool PosixFileManager::createDirectoryAtPath(const std::string& path)
{
    return ::mkdir(path.c_str(), 0777) == 0;
}

bool PosixFileManager::setPermissions(std::uint32_t permissions, const std::string& path)
{
    return ::chmod(path.c_str(), permissions & kPermissionBits) == 0;
}

bool PosixFileManager::setModificationDate(std::chrono::sys_time<std::chrono::nanoseconds> date,
                                           const std::string& path)
{
    const auto seconds = std::chrono::floor<std::chrono::seconds>(date);
    timespec times[2]{};
    times[0].tv_nsec = UTIME_OMIT;
    times[1].tv_sec = seconds.time_since_epoch().count();
    times[1].tv_nsec = (date - seconds).count();
    return ::utimensat(AT_FDCWD, path.c_str(), times, 0) == 0;
}

bool PosixFileManager::synchronizeFileSystem(const std::string& path)
{
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    return file.isOpen() && ::syncfs(file.get()) == 0;
}

}  // namespace kt
