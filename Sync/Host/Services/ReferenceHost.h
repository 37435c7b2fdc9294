#pragma once

#include <functional>
#include <string>

#include "Sync/Host/Engine/SyncEngine.h"
#include "Sync/Host/Services/PluginHost.h"
#include "Sync/Host/Services/StopWish.h"

namespace kt {

/// The host object of a sync: a session of the plug-in is a session of the engine. Notes how far
/// the plug-in came, which doSync's answer alone does not say.
class ReferenceHost : public PluginHost {
public:
    /// The engine is not owned and outlives the host.
    ReferenceHost(HostServices services, SyncEngine& engine);

    int startSync(int mode) override;
    std::optional<SyncRecordList> pullRecords() override;
    std::optional<SyncResult> diffLocalStateWithLocalUpdates(
        const SyncRecordList& localUpdates, const std::optional<SyncRecordList>& remoteUpdates,
        int diffMode) override;
    bool pushSyncResult(const SyncResult& result) override;
    void updateLocalStateWithUpdates(const SyncRecordList& updates) override;
    bool finishSync() override;
    std::optional<SyncRecordMap> getLocalState() override;
    bool resetLocalState() override;
    bool isBinaryRunning(std::string_view name) override;

    /// Tells one state of the plug-in's files from another.
    using StoreFingerprint = std::function<std::string()>;

    /// What the plug-in did since beginRun.
    struct Course {
        bool foundProgramRunning = false;
        bool hasStarted = false;     // startSync was called, so the store could be loaded
        bool hasTakenState = false;  // getLocalState answered, so the store was to be rewritten
        std::string refusal;         // why it was held back, one German line; else empty
    };
    /// With a fingerprint a store that somebody else wrote into since it was read is not rewritten:
    /// getLocalState then answers nullopt, which ends the run before the plug-in writes anything.
    /// `before` is the fingerprint of the store before the run; empty where it was not taken. A
    /// wish to stop is repeated when the plug-in asks what runs, which it does first of all; it is
    /// not owned and outlives the run.
    void beginRun(StoreFingerprint store = {}, std::string before = {},
                  const StopWish* stop = nullptr);
    const Course& course() const { return _course; }

private:
    SyncEngine& _engine;
    Course _course;
    StoreFingerprint _store;
    std::string _storeWhenRead;
    const StopWish* _stop = nullptr;
};

}  // namespace kt
