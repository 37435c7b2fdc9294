#pragma once

#include <string>

namespace kt {

// KTAdditions on the file manager. All work through FileManager::defaultManager(), so that a write
// guard or a test's own manager stands in front of them. Nothing here throws.

/// True for an existing folder; links are followed.
bool isDirectoryAtPath(const std::string& path);

/// Makes sure that a folder stands at the absolute path, creating every missing one on the way.
/// False when the path or one of its parents is something else; true says only that the parents are
/// in place, not that the last folder could be created.
bool createPath(const std::string& path);

}  // namespace kt
