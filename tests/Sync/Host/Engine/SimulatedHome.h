#pragma once

#include <map>
#include <string>

#include "Sync/Host/Engine/SyncEngine.h"
#include "tests/Sync/Host/Engine/SimulatedStore.h"

namespace kt::test {

/// One device: a store, a state file, and a plug-in that drives the engine in the real one's order.
class SimulatedHome {
public:
    SimulatedHome(std::string statePath, std::string serverUrl);

    SimulatedStore store;

    /// One run and, where it is due, its settling run.
    SyncRunSummary sync();

private:
    bool doSync(SyncEngine& engine);
    SyncRecordList load();
    SyncRecord asBefore(const SyncRecord& record, const std::string& place);

    std::string _statePath;
    std::string _serverUrl;
    HostReports _reports;
    std::map<std::string, SyncRecord> _given;  // by the last load that gave it, by place
};

}  // namespace kt::test
