#pragma once

#include <string>

namespace kt {

// KTAdditions on the file manager: what only the Finder can do, asked of it in AppleScript through
// Platform's script runner. Items are named by their HFS paths, so each answers false, without a
// script, where hfsStylePathFromPosixPath gives nil. When a script fails the answer is false and
// the description of its error dictionary goes to the system log, as a format of its own.

/// Makes an alias file that points to `pathContent`. An item that stands at its path is removed
/// first, whether an alias can be made or not.
bool createAliasAtPath(const std::string& path, const std::string& pathContent);

/// Has the Finder show the item as it is now.
bool updateFinderDisplayAtPath(const std::string& path);

/// Has the Finder eject the volume mounted at the path. An Exception on the way is logged and gives
/// false.
bool ejectVolumeAtPath(const std::string& path);

}  // namespace kt
