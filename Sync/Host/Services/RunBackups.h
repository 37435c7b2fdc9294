#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kt {

/// One dated backup of the store.
struct BackupCopy {
    std::string name;
    std::vector<std::string> unreadable;  // paths that could not be saved
    bool isNew = true;                    // false: the last backup holds exactly this store
    std::string fingerprint{};            // of the store as it was found (fingerprintOfFiles)
};

/// The dated backups as far as a run needs them. An interface, so that a run can be driven where
/// there is no disk.
class RunBackups {
public:
    /// Called after each block that is read; what it throws ends the backup.
    using Pause = std::function<void()>;

    virtual ~RunBackups() = default;

    /// Saves files and folders, whole, unless the last backup holds them as they are: then nothing
    /// is written. Nullopt when none of them holds anything. Throws Exception NSGenericException,
    /// with a line for the user, when no backup could be made; nothing of it is then left behind.
    virtual std::optional<BackupCopy> make(const std::vector<std::string>& paths,
                                           const Pause& pause) const = 0;

    /// Removes what is older than the last ones that are kept, but neither the first nor the one
    /// named. Writes nothing where there is nothing to remove.
    virtual void prune(const std::optional<std::string>& kept) const = 0;

    /// Puts a backup in the place of what stands at the paths, whole or not at all. Throws
    /// Exception NSGenericException, with a line for the user, when that fails.
    virtual void restore(const std::string& name, const std::vector<std::string>& paths) const = 0;
};

}  // namespace kt
