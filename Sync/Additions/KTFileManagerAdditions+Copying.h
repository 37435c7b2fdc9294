#pragma once

#include <string>

namespace kt {

// KTAdditions on the file manager, which work through FileManager::defaultManager() and never
// throw.

/// Copies a file or folder; what stands at the destination is first moved to the destination with
/// the extension added behind a dot ("Info.plist" and "bak" give "Info.plist.bak"), in the place of
/// an earlier backup. The answer is that of the copy: without a destination there is nothing to
/// move, and when the copy fails the old item is found at the backup path.
bool copyPathWithBackup(const std::string& path, const std::string& toPath,
                        const std::string& backupExtension);

}  // namespace kt
