#pragma once

#include <string>
#include <vector>

#include "Sync/Host/Services/RunBackups.h"
#include "tests/support/MemoryFileManager.h"

namespace kt::test {

/// Dated backups of a store on a disk in memory. Survives what happens to a run, as files would.
class MemoryBackups : public RunBackups {
public:
    explicit MemoryBackups(MemoryFileManager& disk) : _disk(disk) {}

    std::optional<BackupCopy> make(const std::vector<std::string>& paths,
                                   const Pause& pause) const override;
    void prune(const std::optional<std::string>& kept) const override;
    void restore(const std::string& name, const std::vector<std::string>& paths) const override;

    /// Oldest first.
    std::vector<std::string> names() const;
    /// Puts it back where it was made from.
    void restore(const std::string& name) const { restore(name, found(name).paths); }

private:
    struct Backup {
        std::string name;
        std::string fingerprint;
        std::vector<std::string> paths;
        std::vector<MemoryFileManager::Snapshot> snapshots;  // of each path
    };
    const Backup& found(const std::string& name) const;

    MemoryFileManager& _disk;
    mutable std::vector<Backup> _backups;
    mutable int _made = 0;
};

}  // namespace kt::test
