#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Sync/Host/Command/Workplace.h"
#include "Sync/Host/Services/LookingHost.h"

namespace kt {

/// The plug-in's part in a command that changes the store itself: it says which files those are and
/// which program must not run.
class StoreChange {
public:
    /// The workplace outlives it. Throws Exception NSGenericException, with a line for the user.
    explicit StoreChange(Workplace& workplace);

    const std::vector<std::string>& files() const { return _files; }
    /// Throws Exception NSGenericException, with a line for the user, while the calendar program
    /// runs.
    void refuseWhileProgramRuns();

private:
    LookingHost _host;
    std::unique_ptr<LoadedPlugin> _plugin;
    std::vector<std::string> _files;
};

}  // namespace kt
