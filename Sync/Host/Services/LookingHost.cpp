#include "Sync/Host/Services/LookingHost.h"

#include <utility>

namespace kt {

namespace {

constexpr int kOnlyLocalChanges = 1;  // the start result after which no store is rewritten

}  // namespace

std::optional<StoreContents> LookingHost::look(KTSyncPluginProtocol& plugin)
{
    _contents = {};
    plugin.enable();
    services().statusLine.setStatus("Kalender laden...");
    const bool isDone = plugin.doSync();
    services().statusLine.clear();
    _isLoading = false;
    if (!isDone)
        return std::nullopt;
    return std::move(_contents);
}

int LookingHost::startSync(int)
{
    _isLoading = false;
    return kOnlyLocalChanges;
}

std::optional<SyncResult> LookingHost::diffLocalStateWithLocalUpdates(
    const SyncRecordList& localUpdates, const std::optional<SyncRecordList>&, int)
{
    _contents.active = localUpdates;
    return SyncResult{};
}

void LookingHost::updateLocalStateWithUpdates(const SyncRecordList& updates)
{
    _contents.switchedOff = updates;
}

void LookingHost::logMsg(std::string_view message)
{
    if (_isLoading)
        PluginHost::logMsg(message);
}

}  // namespace kt
