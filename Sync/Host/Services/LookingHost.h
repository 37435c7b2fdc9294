#pragma once

#include <string>
#include <vector>

#include "Sync/Host/Services/PluginHost.h"
#include "Sync/HostInterface/KTSyncPluginProtocol.h"

namespace kt {

/// What loading a store yields.
struct StoreContents {
    SyncRecordList active;       // of calendars that take part in a sync, as loaded
    SyncRecordList switchedOff;  // of calendars that do not
};

/// The host object of somebody who only wants to look: the plug-in goes through a whole session,
/// so that no other way into it is needed, but the session has no server, keeps nothing and asks
/// for no rewrite. Meant to stand behind the write guard, with preferences in memory.
class LookingHost : public PluginHost {
public:
    explicit LookingHost(HostServices services) : PluginHost(std::move(services)) {}

    /// Has the plug-in load its store. Nullopt when it could not; why stands in the log.
    std::optional<StoreContents> look(KTSyncPluginProtocol& plugin);

    int startSync(int mode) override;
    std::optional<SyncRecordList> pullRecords() override { return SyncRecordList{}; }
    std::optional<SyncResult> diffLocalStateWithLocalUpdates(
        const SyncRecordList& localUpdates, const std::optional<SyncRecordList>& remoteUpdates,
        int diffMode) override;
    bool pushSyncResult(const SyncResult&) override { return true; }
    void updateLocalStateWithUpdates(const SyncRecordList& updates) override;
    bool finishSync() override { return true; }
    std::optional<SyncRecordMap> getLocalState() override { return std::nullopt; }
    bool resetLocalState() override { return true; }

    /// A running calendar program does not keep anybody from looking.
    bool isBinaryRunning(std::string_view) override { return false; }
    void disableFileNotifications() override { _isLoading = true; }

    /// Passed on while the store is being loaded: what the plug-in says around it is about a sync,
    /// and there is none.
    void logMsg(std::string_view message) override;
    void setStatusMsg(std::string_view) override {}

private:
    StoreContents _contents;
    bool _isLoading = false;
};

}  // namespace kt
