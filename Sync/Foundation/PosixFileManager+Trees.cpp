// Whole folders: copying, moving, removing.

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <string>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

#include "Sync/Foundation/FileDescriptor.h"
#include "Sync/Foundation/PosixFileManager.h"

namespace kt {

namespace {

constexpr mode_t kPermissionBits = 07777;

bool exists(const std::string& path)
{
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0;
}

std::string withSlash(std::string path) { return path.ends_with('/') ? path : path + "/"; }

/// Whether the folder lies in the tree, or is it. A copy into its own source would never end.
bool isInside(const std::string& folder, const std::string& tree)
{
    struct stat status {};
    return ::lstat(tree.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           withSlash(realPath(folder)).starts_with(withSlash(realPath(tree)));
}

std::string parentFolder(const std::string& path)
{
    const std::string parent = stringByDeletingLastPathComponent(path);
    return parent.empty() ? "." : parent;
}

/// One copy, move or removal of a tree: knows whom to ask about failures, and whether there were
/// any.
class TreeOperation {
public:
    TreeOperation(FileManager& fileManager, FileManagerHandler* handler, std::string_view failure)
        : _fileManager(fileManager),
          _handler(handler),
          _failure(failure)
    {}

    /// False when the whole operation is to stop.
    bool copy(const std::string& source, const std::string& destination);
    bool remove(const std::string& path);

    bool hasFailed() const { return _hasFailed; }

private:
    bool copyFolder(const std::string& source, const std::string& destination,
                    const struct stat& status);
    bool copyChildren(const std::string& source, const std::string& destination);
    bool proceedAfterError(const std::string& path, const std::string& toPath);

    FileManager& _fileManager;
    FileManagerHandler* _handler;
    std::string _failure;
    bool _hasFailed = false;
};

bool TreeOperation::proceedAfterError(const std::string& path, const std::string& toPath)
{
    _hasFailed = true;
    if (_handler == nullptr)
        return false;
    Dictionary error{{"Error", _failure}, {"Path", path}};
    if (!toPath.empty())
        error.set("ToPath", toPath);
    return _handler->fileManager(_fileManager, error);
}

bool copyTimes(const std::string& destination, const struct stat& status)
{
    const std::array<timespec, 2> times{status.st_atim, status.st_mtim};
    return ::utimensat(AT_FDCWD, destination.c_str(), times.data(), AT_SYMLINK_NOFOLLOW) == 0;
}

bool copyBytes(int source, int destination)
{
    std::string buffer(1 << 16, '\0');
    while (true) {
        const ssize_t count = ::read(source, buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return count == 0;
        if (!writeFully(destination,
                        std::string_view(buffer).substr(0, static_cast<std::size_t>(count))))
            return false;
    }
}

/// What was begun is removed when it cannot be finished: half a file looks like a whole one.
bool copyFile(const std::string& source, const std::string& destination, const struct stat& status)
{
    const FileDescriptor input(::open(source.c_str(), O_RDONLY | O_CLOEXEC));
    if (!input.isOpen())
        return false;
    FileDescriptor output(
        ::open(destination.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!output.isOpen())
        return false;
    const bool isCopied = copyBytes(input.get(), output.get()) &&
                          ::fchmod(output.get(), status.st_mode & kPermissionBits) == 0;
    if (output.close() && isCopied && copyTimes(destination, status))
        return true;
    ::unlink(destination.c_str());
    return false;
}

bool copyLink(const std::string& source, const std::string& destination, const struct stat& status)
{
    std::array<char, PATH_MAX> target{};
    const ssize_t length = ::readlink(source.c_str(), target.data(), target.size());
    if (length < 0 || static_cast<std::size_t>(length) == target.size())
        return false;
    return ::symlink(std::string(target.data(), static_cast<std::size_t>(length)).c_str(),
                     destination.c_str()) == 0 &&
           copyTimes(destination, status);
}

bool TreeOperation::copy(const std::string& source, const std::string& destination)
{
    struct stat status {};
    bool isCopied = false;
    if (::lstat(source.c_str(), &status) == 0) {
        if (S_ISDIR(status.st_mode))
            return copyFolder(source, destination, status);
        if (S_ISREG(status.st_mode))
            isCopied = copyFile(source, destination, status);
        if (S_ISLNK(status.st_mode))
            isCopied = copyLink(source, destination, status);
    }
    return isCopied || proceedAfterError(source, destination);
}

bool TreeOperation::copyFolder(const std::string& source, const std::string& destination,
                               const struct stat& status)
{
    if (::mkdir(destination.c_str(), 0700) != 0)
        return proceedAfterError(source, destination);
    const bool goesOn = copyChildren(source, destination);
    // Last, because its items change the folder's date and may need more rights than it will grant.
    const bool isLikeSource = ::chmod(destination.c_str(), status.st_mode & kPermissionBits) == 0 &&
                              copyTimes(destination, status);
    return goesOn && (isLikeSource || proceedAfterError(source, destination));
}

bool TreeOperation::copyChildren(const std::string& source, const std::string& destination)
{
    const auto names = _fileManager.listDirectory(source);
    if (!names)
        return proceedAfterError(source, destination);
    for (const std::string& name : *names)
        if (!copy(source + "/" + name, destination + "/" + name))
            return false;
    return true;
}

bool TreeOperation::remove(const std::string& path)
{
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0)
        return proceedAfterError(path, "");
    if (!S_ISDIR(status.st_mode))
        return ::unlink(path.c_str()) == 0 || proceedAfterError(path, "");

    // A folder that lost only some of its items is no failure of its own.
    const bool hadFailed = std::exchange(_hasFailed, false);
    if (const auto names = _fileManager.listDirectory(path))
        for (const std::string& name : *names)
            if (!remove(path + "/" + name))
                return false;
    const bool isIncomplete = _hasFailed;
    _hasFailed = _hasFailed || hadFailed;
    return isIncomplete || ::rmdir(path.c_str()) == 0 || proceedAfterError(path, "");
}

/// Refuses to replace what stands there, in one step where the file system can.
bool renameToNew(const std::string& source, const std::string& destination)
{
    if (::renameat2(AT_FDCWD, source.c_str(), AT_FDCWD, destination.c_str(), RENAME_NOREPLACE) == 0)
        return true;
    if (errno != EINVAL && errno != ENOSYS)
        return false;
    return !exists(destination) && ::rename(source.c_str(), destination.c_str()) == 0;
}

}  // namespace

bool PosixFileManager::copyPath(const std::string& source, const std::string& destination,
                                FileManagerHandler* handler)
{
    if (!exists(source) || exists(destination) || isInside(parentFolder(destination), source))
        return false;
    return TreeOperation(*this, handler, "Error copying").copy(source, destination);
}

bool PosixFileManager::movePath(const std::string& source, const std::string& destination,
                                FileManagerHandler* handler)
{
    if (!exists(source) || exists(destination))
        return false;
    TreeOperation operation(*this, handler, "Error moving");
    if (renameToNew(source, destination))
        return true;
    if (errno != EXDEV)
        return false;
    // To another device: what could not be copied must not be removed either.
    if (!operation.copy(source, destination) || operation.hasFailed())
        return false;
    return operation.remove(source);
}

bool PosixFileManager::removeFileAtPath(const std::string& path, FileManagerHandler* handler)
{
    if (!exists(path))
        return false;
    return TreeOperation(*this, handler, "Error removing").remove(path);
}

}  // namespace kt
