#include <chrono>

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
    if (fileManager.fileExistsAtPath(*path))
        return fileManager.isDirectory(*path);
    const std::string parent = stringByDeletingLastPathComponent(*path);
    // A path without a root has no existing folder to begin with.
    if (parent == *path || !createPath(parent, attributes))
        return false;
    // Two that make the same folder at once must both succeed, so only the parents decide.
    if (fileManager.createDirectoryAtPath(*path))
        setAttributes(attributes, *path);
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
