#include "Sync/Host/Services/ReferenceHost.h"

#include <string_view>
#include <utility>

namespace kt {

namespace {

constexpr std::string_view kStoreChanged =
    "Die Kalender haben sich während der Synchronisierung geändert und bleiben, wie sie sind; die "
    "nächste gleicht sie vollständig ab.";

}  // namespace

ReferenceHost::ReferenceHost(HostServices services, SyncEngine& engine)
    : PluginHost(std::move(services)),
      _engine(engine)
{}

void ReferenceHost::beginRun(StoreFingerprint store, std::string before, const StopWish* stop)
{
    _course = {};
    _stop = stop;
    _store = std::move(store);
    _storeWhenRead = std::move(before);
}

int ReferenceHost::startSync(int mode)
{
    _course.hasStarted = true;
    if (_store && _storeWhenRead.empty())
        _storeWhenRead = _store();
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

std::optional<SyncRecordMap> ReferenceHost::getLocalState()
{
    if (_store && _store() != _storeWhenRead) {
        _course.refusal = kStoreChanged;
        return std::nullopt;
    }
    auto state = _engine.getLocalState();
    _course.hasTakenState = state.has_value();
    return state;
}

bool ReferenceHost::resetLocalState() { return _engine.resetLocalState(); }

bool ReferenceHost::isBinaryRunning(std::string_view name)
{
    if (_stop != nullptr)
        _stop->repeat();
    const bool isRunning = PluginHost::isBinaryRunning(name);
    _course.foundProgramRunning = _course.foundProgramRunning || isRunning;
    return isRunning;
}

}  // namespace kt
