#pragma once

#include <chrono>
#include <cstdint>

#include "Sync/Foundation/FileManager.h"

namespace kt {

/// Tells a file as it stands from itself as it stood at any other time, as good as always; 0 where
/// nothing does: for what is no plain file, and where the file system does not count its changes.
inline std::uint64_t fileIdentity(const FileStatus& status)
{
    const auto changed = static_cast<std::uint64_t>(status.changed.time_since_epoch().count());
    if (status.kind != FileStatus::Kind::file || changed == 0)
        return 0;
    constexpr std::uint64_t kOdd = 0x9E3779B97F4A7C15;
    std::uint64_t identity = kOdd;
    for (const std::uint64_t part :
         {status.device, status.inode, status.size, changed,
          static_cast<std::uint64_t>(status.modified.time_since_epoch().count())}) {
        identity = (identity ^ part) * kOdd;
        identity ^= identity >> 29;
    }
    return identity;
}

/// Whether its next change is sure to show: file systems count time in steps, so that a second
/// change within one of them would look like the first.
inline bool isLongUnchanged(const FileStatus& status,
                            std::chrono::sys_time<std::chrono::nanoseconds> noted)
{
    constexpr std::chrono::seconds kLongestStep{2};
    return status.changed < noted - kLongestStep;
}

}  // namespace kt
