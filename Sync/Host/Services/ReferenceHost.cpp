#include "Sync/Host/Services/ReferenceHost.h"

#include <utility>

namespace kt {

ReferenceHost::ReferenceHost(HostServices services, SyncEngine& engine)
    : PluginHost(std::move(services)),
      _engine(engine)
{}

int ReferenceHost::startSync(int mode)
{
    _course.hasStarted = true;
    return _engine.startSync(mode);
}

std::optional<SyncRecordList> ReferenceHost::pullRecords() { return _engine.pullRecords(); }

std::optional<SyncResult> ReferenceHost::diffLocalStateWithLocalUpdates(
    const SyncRecordList& localUpdates, const std::optional<SyncRecordList>& remoteUpdates,
    int diffMode)
{
    return _engine.diffLocalStateWithLocalUpdates(localUpdates, remoteUpdates, diffMode);
}

bool ReferenceHost::pushSyncResult(const SyncResult& result)
{
    return _engine.pushSyncResult(result);
}

void ReferenceHost::updateLocalStateWithUpdates(const SyncRecordList& updates)
{
    _engine.updateLocalStateWithUpdates(updates);
}

bool ReferenceHost::finishSync() { return _engine.finishSync(); }

SyncRecordMap ReferenceHost::getLocalState()
{
    _course.hasTakenState = true;
    return _engine.getLocalState();
}

bool ReferenceHost::resetLocalState() { return _engine.resetLocalState(); }

bool ReferenceHost::isBinaryRunning(std::string_view name)
{
    const bool isRunning = PluginHost::isBinaryRunning(name);
    _course.foundProgramRunning = _course.foundProgramRunning || isRunning;
    return isRunning;
}

}  // namespace kt
