#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Sync/Host/Engine/HostReports.h"
#include "Sync/Host/Engine/LocalState.h"
#include "Sync/Host/Engine/StandingRecords.h"
#include "Sync/Host/Engine/SyncRunOptions.h"
#include "Sync/Host/Server/SyncServer.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

/// The host's sync engine: what the plug-in asks for through KTSyncPluginHelper, in the order in
/// which it asks.
///
/// One run, as the host drives it:
///
///     engine.beginRun(options);            // forgets earlier losses
///     bool done = plugin->doSync();        // calls startSync ... finishSync, getLocalState
///     auto summary = engine.endRun(done);  // rolls back a session that is still open
///     if (summary.needsSettling) {         // the store was rewritten
///         options.settling = {fingerprint(), fingerprint, summary.losses};
///         options.fromServer = options.acceptLosses = options.dryRun = false;
///         engine.beginRun(options);
///         engine.endRun(plugin->doSync()); // its status, log lines and preferences are not kept
///     }
///
/// Local keys and agreed keys. The plug-in computes a record's key from its content each time it
/// reads the store; the engine keeps a record under the key of its first exchange. Both are the
/// same almost always. They differ for records of equal keys (`-2` and so on behind the key), and
/// where a store gives a record back under another key than it was handed out with. The rows of
/// *seen* connect the two; settling makes them, by key where it can, else by content, so that what
/// was handed out is recognised when it comes back. What the engine hands to the plug-in for
/// thinning out (pullRecords, the comparison's result) carries a calendar's local key as recordKey
/// and as its items' recordParentKey, since the plug-in's lists of switched-off calendars hold
/// local keys; the dictionaries inside carry agreed keys.
///
/// No operation throws. Not for use from two threads at once.
class SyncEngine {
public:
    using LogLine = std::function<void(std::string_view)>;  // one German line in the sync log

    /// None of the arguments is owned; all outlive the engine.
    SyncEngine(LocalState& state, SyncServer& server, HostReports& reports, LogLine log,
               std::string account = "default");
    ~SyncEngine();
    SyncEngine(const SyncEngine&) = delete;
    SyncEngine& operator=(const SyncEngine&) = delete;

    /// Before doSync. A run that another process of this device still holds shows as start result
    /// 0.
    void beginRun(const SyncRunOptions& options);
    /// After doSync, with its answer.
    SyncRunSummary endRun(bool doSyncResult);

    /// The dated backup made before a rewrite that was not settled; nullopt when no mark stands. A
    /// host whose plug-in cannot load the store puts that backup back and runs once more.
    std::optional<std::string> markedBackup();

    /// Notes that an older copy of the store was put in its place: until it is settled nothing that
    /// is missing was deleted, and what is older is no edit. `backup` is named by the mark, unless
    /// one stands.
    void noteStorePutBack(const std::string& backup);

    /// Whose layout the store had at the last run, as the options said; 0 before the first.
    int systemVersion();

    // The operations of KTSyncPluginHelper.
    int startSync(int mode);
    std::optional<SyncRecordList> pullRecords();
    std::optional<SyncResult> diffLocalStateWithLocalUpdates(
        const SyncRecordList& localUpdates, const std::optional<SyncRecordList>& remoteUpdates,
        int diffMode);
    bool pushSyncResult(const SyncResult& result);
    void updateLocalStateWithUpdates(const SyncRecordList& updates);
    bool finishSync();
    /// Nullopt when the state cannot be read: the plug-in would take an empty answer for an empty
    /// store.
    std::optional<SyncRecordMap> getLocalState();
    /// Forgets everything exchanged so far; device, and while a mark stands also mark and kept
    /// records with what is unread of them, stay.
    bool resetLocalState();

private:
    class Run;

    template <class Body, class Result>
    Result guarded(Body&& body, Result failed);
    void log(std::string_view line);
    void forgetState();
    bool noteFolders(const std::vector<std::string>& names);

    LocalState& _state;
    SyncServer& _server;
    HostReports& _reports;
    LogLine _log;
    std::string _account;
    std::unique_ptr<Run> _run;
    StandingRecords _standing;  // of the run that is to be settled
};

}  // namespace kt
