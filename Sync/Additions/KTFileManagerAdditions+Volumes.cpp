#include <array>
#include <cstddef>

#include <sys/statvfs.h>

#include "Sync/Additions/KTFileManagerAdditions+Volumes.h"
#include "Sync/Foundation/Format.h"

namespace kt {

namespace {

/// All zeros when there is no such volume.
struct statvfs figuresOfVolume(const std::optional<std::string>& path)
{
    struct statvfs figures {};
    if (!path || ::statvfs(path->c_str(), &figures) != 0)
        return {};
    return figures;
}

}  // namespace

std::uint64_t fileSystemSizeOnVolume(const std::optional<std::string>& path)
{
    const struct statvfs figures = figuresOfVolume(path);
    return std::uint64_t{figures.f_blocks} * figures.f_frsize;
}

std::uint64_t freeSpaceOnVolume(const std::optional<std::string>& path)
{
    const struct statvfs figures = figuresOfVolume(path);
    return std::uint64_t{figures.f_bavail} * figures.f_frsize;
}

std::uint64_t nodesOnVolume(const std::optional<std::string>& path)
{
    return figuresOfVolume(path).f_files;
}

std::uint64_t freeNodesOnVolume(const std::optional<std::string>& path)
{
    return figuresOfVolume(path).f_ffree;
}

std::string formatBytesToString(std::uint64_t bytes)
{
    static constexpr std::array<const char*, 5> kUnits{"B", "kB", "MB", "GB", "TB"};
    constexpr double kStep = 0.0009765625;  // 1 / 1024, exact
    double value = static_cast<double>(bytes);
    std::size_t unit = 0;
    // A fifth division would leave the number without a unit to match.
    while (value > 1024.0 && unit + 1 < kUnits.size()) {
        value *= kStep;
        ++unit;
    }
    return stringWithFormat("%.1f %s", value, kUnits[unit]);
}

}  // namespace kt
