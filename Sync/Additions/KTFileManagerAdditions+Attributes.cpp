#include <chrono>
#include <string_view>
#include <vector>

#include "Sync/Additions/KTFileManagerAdditions+Attributes.h"
#include "Sync/Foundation/FileManager.h"

namespace kt {

namespace {

void setAttributes(const Dictionary& attributes, const std::string& path)
{
    const Value& permissions = attributes[NSFilePosixPermissions];
    if (permissions.isNumber())
        setPermissions(static_cast<unsigned long>(permissions.longLongValue()), path);
    const Value& date = attributes[NSFileModificationDate];
    if (date.kind() == Value::Kind::date)
        setModificationDate(date.date(), path);
}

std::string_view withoutTrailingSlashes(std::string_view path)
{
    while (path.size() > 1 && path.ends_with('/'))
        path.remove_suffix(1);
    return path;
}

/// How much of a path stringByDeletingLastPathComponent leaves.
std::size_t lengthOfParent(std::string_view path)
{
    path = withoutTrailingSlashes(path);
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos
               ? 0
               : withoutTrailingSlashes(path.substr(0, slash + 1)).size();
}

std::optional<FileStatus> statusOfItself(const std::string& path)
{
    return FileManager::defaultManager().linkStatusAtPath(path);
}

}  // namespace

bool createPath(const std::optional<std::string>& path, const Dictionary& attributes)
{
    if (!path)
        return false;
    FileManager& fileManager = FileManager::defaultManager();
    // One text that shrinks to the first folder that is there, then grows again: a path of a
    // thousand names is not copied a thousand times.
    std::string folder = *path;
    std::vector<std::size_t> missing;  // the lengths of the paths to make, the longest first
    while (!fileManager.fileExistsAtPath(folder)) {
        const std::size_t parent = lengthOfParent(folder);
        // A path without a root has no existing folder to begin with.
        if (parent == folder.size())
            return false;
        missing.push_back(folder.size());
        folder.resize(parent);
    }
    if (!fileManager.isDirectory(folder))
        return false;
    for (auto length = missing.rbegin(); length != missing.rend(); ++length) {
        folder.append(*path, folder.size(), *length - folder.size());
        // Two that make the same folder at once must both succeed, so only the parents decide.
        if (fileManager.createDirectoryAtPath(folder))
            setAttributes(attributes, folder);
    }
    return true;
}

std::optional<Date> modificationDateAtPath(const std::string& path)
{
    const auto status = statusOfItself(path);
    if (!status)
        return std::nullopt;
    return Date{std::chrono::floor<std::chrono::microseconds>(status->modified)};
}

bool setModificationDate(Date date, const std::string& atPath)
{
    using Instant = std::chrono::sys_time<std::chrono::nanoseconds>;
    if (date.instant < std::chrono::ceil<std::chrono::microseconds>(Instant::min()) ||
        date.instant > std::chrono::floor<std::chrono::microseconds>(Instant::max()))
        return false;
    return FileManager::defaultManager().setModificationDate(date.instant, atPath);
}

unsigned long permissionsAtPath(const std::string& path)
{
    const auto status = statusOfItself(path);
    return status ? status->permissions : 0;
}

bool setPermissions(unsigned long permissions, const std::string& atPath)
{
    constexpr unsigned long kPermissionBits = 07777;
    return FileManager::defaultManager().setPermissions(static_cast<std::uint32_t>(permissions &
                                                                                   kPermissionBits),
                                                        atPath);
}

std::uint64_t filesizeAtPath(const std::string& path)
{
    const auto status = statusOfItself(path);
    return status ? status->size : 0;
}

}  // namespace kt
