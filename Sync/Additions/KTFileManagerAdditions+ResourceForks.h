#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Sync/Foundation/ResourceForks.h"
#include "Sync/Foundation/Value.h"

namespace kt {

// KTAdditions on the file manager: the second fork of a file. All of it is asked of Platform's
// ResourceForks; where that reaches nothing, as on Linux, each answer is false or nil and nothing
// changes. Behind a write guard nothing changes either. Nothing here throws.

/// Whether bytes are allocated for the fork; how many goes to `ofSize`, 0 included, unless that is
/// null or the item cannot be reached.
bool hasResourceForkAtPath(const std::string& path, std::uint64_t* ofSize = nullptr);

/// Opens the fork of an item that exists; to write, one without a fork gets it first. The caller
/// closes the reference. False, and `reference` untouched, when it cannot be opened, and to write
/// also for a name over 1024 UTF-16 units.
bool fileReference(ResourceForks::Reference& reference, const std::string& forResourceForkAtPath,
                   ResourceForks::Access forWriting);

/// Nil unless exactly the whole fork could be read.
std::optional<Data> dataForResourceForkAtPath(const std::string& path);

/// Replaces the fork's bytes; true only when all were written. False, and nothing changed, for nil
/// or empty data.
bool writeResourceFork(const std::optional<Data>& data, const std::string& atPath);

}  // namespace kt
