#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Sync/Host/Services/RunBackups.h"
#include "Sync/Host/Services/StoreFingerprint.h"
#include "tests/support/MemoryFileManager.h"

namespace kt::test {

/// The last backup of a store on a disk in memory, under a name that tests know.
class OneBackup : public RunBackups {
public:
    static constexpr const char* kName = "2007-12-24";

    /// The disk is not owned and outlives this.
    explicit OneBackup(MemoryFileManager& disk) : _disk(disk) {}

    std::optional<BackupCopy> make(const std::vector<std::string>& paths,
                                   const Pause&) const override
    {
        _copies.clear();
        for (const std::string& path : paths)
            _copies.push_back(_disk.snapshot(path));
        return BackupCopy{kName, {}, true, fingerprintOfFiles(paths)};
    }
    void prune(const std::optional<std::string>&) const override {}
    void restore(const std::string&, const std::vector<std::string>& paths) const override
    {
        for (std::size_t index = 0; index < paths.size() && index < _copies.size(); ++index)
            _disk.restore(_copies[index], paths[index]);
    }

private:
    MemoryFileManager& _disk;
    mutable std::vector<MemoryFileManager::Snapshot> _copies;
};

}  // namespace kt::test
