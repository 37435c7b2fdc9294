#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Sync/Host/Engine/SyncEngine.h"
#include "Sync/Host/Services/ReferenceHost.h"
#include "Sync/Host/Services/RunBackups.h"
#include "Sync/Host/Services/StopWish.h"
#include "Sync/HostInterface/KTSyncPluginProtocol.h"

namespace kt {

/// What the user asked of a run.
struct SyncRunWishes {
    bool fromServer = false;
    bool acceptLosses = false;
    bool allowMassDelete = false;
    bool dryRun = false;
    bool storeIsPutBack = false;  // an older copy stands in its place, which is no edit; no dry run
};

struct SyncRunResult {
    bool isCompleted = false;  // doSync's answer
    std::string status;        // the plug-in's last status text
    SyncRunSummary summary;
    bool wasRestored = false;          // the store did not load, a backup was put back
    std::vector<std::string> reasons;  // German lines of the host: why not, or what to know
    ReferenceHost::Course course;      // of the run itself, not of settling
};

/// One run of a plug-in from the first look at the store to the settled end.
///
/// A wish to stop ends it at each step up to the plug-in's part, within the backup too, and then
/// where the plug-in looks. Once the store is being rewritten the run comes to its end, settling
/// included: that is short, and leaves nothing for the next run to find out.
class SyncRun {
public:
    /// Nothing is owned; all outlives the run.
    SyncRun(ReferenceHost& host, KTSyncPluginProtocol& plugin, SyncEngine& engine,
            const RunBackups& backups, std::string home, StopWish& stop);

    /// Never throws for what a store or a server does; the reasons say what went wrong.
    SyncRunResult run(const SyncRunWishes& wishes);

private:
    /// Everything after the question whether the plug-in is switched on. Throws Exception.
    void runOnStore(const SyncRunWishes& wishes, SyncRunResult& result);
    void refuse(const std::string& reason, SyncRunResult& result);
    std::optional<std::string> reasonAgainstLayout();
    /// Throws Exception.
    void putBack(const std::string& backup, SyncRunResult& result);
    /// The dated backup's name, empty where there is nothing to back up. Throws Exception.
    std::string backUp(const SyncRunWishes& wishes);
    /// doSync between the engine's beginning and end, and settling where it is due.
    void synchronize(const SyncRunOptions& options, SyncRunResult& result);
    void settle(SyncRunOptions options, const std::string& notedFingerprint, SyncRunResult& result);
    bool couldNotLoad(const SyncRunResult& result) const;
    std::vector<std::string> storeFiles();

    ReferenceHost& _host;
    KTSyncPluginProtocol& _plugin;
    SyncEngine& _engine;
    const RunBackups& _backups;
    std::string _home;
    StopWish& _stop;
    std::string _storeBefore;  // fingerprint of the store before the run; empty when not taken
};

}  // namespace kt
