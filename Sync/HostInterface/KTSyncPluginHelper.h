#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/Value.h"
#include "Sync/HostInterface/KTFileLogger.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

/// Everything that the plug-in asks of its host. Host operations report failure by their results
/// and never throw.
class KTSyncPluginHelper {
public:
    virtual ~KTSyncPluginHelper() = default;

    // Preferences, kept across launches.
    virtual bool boolPreferenceForKey(std::string_view key, bool defaultValue) = 0;
    virtual Value objectPreferenceForKey(std::string_view key, const Value& defaultValue) = 0;
    /// updatePreference:withBool:
    virtual void updatePreferenceWithBool(std::string_view key, bool value) = 0;
    /// updatePreference:withObject:
    virtual void updatePreferenceWithObject(std::string_view key, const Value& value) = 0;

    // Logging and status.
    /// One line in the host's sync log.
    virtual void logMsg(std::string_view message) = 0;
    /// May be null.
    virtual KTFileLogger* fileLogger() = 0;
    /// Replaces the status line; may hold a line break.
    virtual void setStatusMsg(std::string_view message) = 0;

    // The sync engine, one session at a time.
    /// `mode` 5 incremental or 6 full; the start result 0 to 7.
    virtual int startSync(int mode) = 0;
    virtual std::optional<SyncRecordList> pullRecords() = 0;
    virtual std::optional<SyncResult> diffLocalStateWithLocalUpdates(
        const SyncRecordList& localUpdates, const std::optional<SyncRecordList>& remoteUpdates,
        int diffMode) = 0;
    virtual bool pushSyncResult(const SyncResult& result) = 0;
    virtual void updateLocalStateWithUpdates(const SyncRecordList& updates) = 0;
    virtual bool finishSync() = 0;
    /// Nullopt when the state cannot be had; an empty one would be written out as an empty store.
    virtual std::optional<SyncRecordMap> getLocalState() = 0;
    virtual bool resetLocalState() = 0;

    // System services.
    virtual bool runAppleScript(std::string_view source) = 0;
    virtual bool isBinaryRunning(std::string_view name) = 0;
    /// Minor system version: 4 the 10.4 layout, 5 the 10.5 layout.
    virtual int macOSVersion() = 0;
    virtual bool isAutomaticSyncActivated() = 0;
    virtual void triggerExternalSync() = 0;
    virtual void disableFileNotifications() = 0;
    virtual void enableFileNotifications() = 0;
    virtual std::optional<std::string> publicSiteUrl() = 0;

    // Optional: how far a long run has come. A host without a progress display ignores it.
    /// `title` is the calendar being worked on, number `current` of `total` (1-based).
    virtual void progress(std::string_view title, int current, int total);
};

/// logMsg with a format; a null helper is no one to tell.
template <class... Arguments>
void logMsg(KTSyncPluginHelper* helper, std::string_view format, const Arguments&... arguments)
{
    if (helper != nullptr)
        helper->logMsg(stringWithFormat(format, arguments...));
}

}  // namespace kt
