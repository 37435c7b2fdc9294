#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace kt {

// KTAdditions on the file manager: volumes and byte counts. Nothing here throws.

// Figures of the volume that holds the item at the path; 0 for a nil path, for a path where nothing
// stands, and for a figure that the file system does not keep.

/// In bytes.
std::uint64_t fileSystemSizeOnVolume(const std::optional<std::string>& path);
/// In bytes, without what is reserved for the administrator.
std::uint64_t freeSpaceOnVolume(const std::optional<std::string>& path);
/// Files, folders and the like that the file system has room for.
std::uint64_t nodesOnVolume(const std::optional<std::string>& path);
std::uint64_t freeNodesOnVolume(const std::optional<std::string>& path);

/// A byte count as people read it: "0.0 B", "1.5 kB". The next unit begins above 1024, so that
/// 1024 bytes are "1024.0 B"; beyond the last unit the number grows: "2048.0 TB".
std::string formatBytesToString(std::uint64_t bytes);

}  // namespace kt
