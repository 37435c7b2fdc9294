#include <algorithm>
#include <memory>
#include <vector>

#include "Sync/Additions/KTFileManagerAdditions+Finder.h"
#include "Sync/Additions/KTFileManagerAdditions.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/Foundation/Text.h"

namespace kt {

namespace {

constexpr unsigned kHasBeenInited = 0x0100;

std::string hfsName(std::string name)
{
    std::replace(name.begin(), name.end(), ':', '/');
    return name;
}

}  // namespace

bool getCreatorTypeAtPath(const std::string& path, std::uint32_t& fileCreator,
                          std::uint32_t& fileType)
{
    const auto information = Platform::shared().finderCatalog()->informationAtPath(path);
    if (!information)
        return false;
    fileCreator = information->fileCreator;
    fileType = information->fileType;
    return true;
}

bool changeCreatorTypeAtPath(const std::string& path, std::uint32_t fileCreator,
                             std::uint32_t fileType)
{
    const auto catalog = Platform::shared().finderCatalog();
    auto information = catalog->informationAtPath(path);
    if (!information || information->isDirectory || Platform::shared().isWriteGuarded())
        return false;
    if (fileCreator != 0)
        information->fileCreator = fileCreator;
    if (fileType != 0)
        information->fileType = fileType;
    if (!catalog->setInformation(*information, path))
        return false;
    catalog->notifyModified(stringByDeletingLastPathComponent(path));
    return true;
}

bool getFinderFlagAtPath(const std::string& path, std::uint16_t flagBit, bool& isSet)
{
    const auto information = Platform::shared().finderCatalog()->informationAtPath(path);
    if (!information)
        return false;
    isSet = static_cast<std::uint8_t>(information->finderFlags & flagBit) != 0;
    return true;
}

bool changeFinderFlagsAtPath(const std::string& path, FlagChange setBits, std::uint16_t flagBits)
{
    const auto catalog = Platform::shared().finderCatalog();
    auto information = catalog->informationAtPath(path);
    if (!information || Platform::shared().isWriteGuarded())
        return false;
    const unsigned flags = information->finderFlags;
    const unsigned changed = setBits == FlagChange::set ? flags | flagBits : flags & ~flagBits;
    information->finderFlags = static_cast<std::uint16_t>(changed & ~kHasBeenInited);
    if (!catalog->setInformation(*information, path))
        return false;
    catalog->notifyModified(path);
    catalog->notifyModified(stringByDeletingLastPathComponent(path));
    return true;
}

bool isAliasAtPath(const std::string& path)
{
    return Platform::shared().finderCatalog()->isAliasAtPath(path);
}

std::optional<std::string> aliasTargetAtPath(const std::string& path)
{
    constexpr int kLongestChain = 32;  // longer ones are rings
    constexpr std::size_t kLongestPath = 1024;
    const auto catalog = Platform::shared().finderCatalog();
    std::optional<std::string> target = path;
    for (int length = 0; length <= kLongestChain; ++length) {
        if (!catalog->isAliasAtPath(*target)) {
            if (length == 0 || target->size() > kLongestPath || !isReadableUTF8(*target))
                return std::nullopt;
            return target;
        }
        target = catalog->aliasTargetAtPath(*target);
        if (!target)
            return std::nullopt;
    }
    return std::nullopt;
}

std::optional<std::string> hfsStylePathFromPosixPath(const std::string& posixPath)
{
    const auto volume = Platform::shared().finderCatalog()->volumeAtPath(posixPath);
    if (!volume || !posixPath.starts_with('/'))
        return std::nullopt;
    const std::vector<std::string> mountPoint = pathComponents(volume->mountPoint);
    const std::vector<std::string> components = pathComponents(posixPath);
    if (components.size() < mountPoint.size() ||
        !std::equal(mountPoint.begin(), mountPoint.end(), components.begin()))
        return std::nullopt;

    std::string hfsPath = volume->name;
    for (std::size_t index = mountPoint.size(); index < components.size(); ++index) {
        if (!isPlainPathComponent(components[index]))
            return std::nullopt;
        hfsPath += ':' + hfsName(components[index]);
    }
    if (isDirectoryAtPath(posixPath))
        hfsPath += ':';
    return hfsPath;
}

}  // namespace kt
