#pragma once

#include <string>
#include <utility>
#include <vector>

#include "Sync/Host/Services/StoreReplacement.h"

namespace kt {

/// A backup that stands complete beside the store; what is still there at its end is removed.
class UnpackedBackup {
public:
    struct Root {
        std::string path;   // where it belongs, links followed
        std::string aside;  // where it stands now, beside that
    };

    explicit UnpackedBackup(std::vector<Root> roots) : _roots(std::move(roots)) {}
    ~UnpackedBackup();
    UnpackedBackup(const UnpackedBackup&) = delete;
    UnpackedBackup& operator=(const UnpackedBackup&) = delete;

    /// Those that the backup holds, once it has been unpacked.
    const std::vector<Root>& roots() const { return _roots; }
    void forgetRootsThatAreNotThere();
    /// What puts all of it in the store's place.
    std::vector<Replacement> replacements() const;

private:
    std::vector<Root> _roots;
};

/// Where a store is unpacked to: beside its place, so that a rename brings it there.
UnpackedBackup::Root rootForPath(const std::string& path);

}  // namespace kt
