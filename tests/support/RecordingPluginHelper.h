#pragma once

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/HostInterface/KTSyncPluginHelper.h"
#include "tests/support/RecordingFileLogger.h"

namespace kt::test {

/// A host for unit tests. What it answers stands in its `script`, to be set before (or, through
/// `before`, while) the code under test runs; what it was asked to do is recorded in order.
class RecordingPluginHelper : public KTSyncPluginHelper {
public:
    struct Script {
        int macOSVersion = 5;
        bool hasFileLogger = true;

        /// Present preferences; updates change them. An absent key gives the default asked with.
        Dictionary preferences;

        int startResult = 1;
        std::optional<SyncRecordList> pulledRecords = SyncRecordList{};
        /// Null: one list with all local updates.
        std::function<std::optional<SyncResult>(const SyncRecordList& localUpdates,
                                                const std::optional<SyncRecordList>& remoteUpdates)>
            diff;
        bool pushResult = true;
        bool finishResult = true;
        std::optional<SyncRecordMap> localState = SyncRecordMap{};
        bool resetResult = true;

        std::set<std::string, std::less<>> runningBinaries;
        bool appleScriptResult = true;
        bool isAutomaticSyncActivated = false;
        std::optional<std::string> publicSiteUrl = "http://site.invalid";

        /// Called before each recorded call is answered, with the call as it stands in `calls`:
        /// lets a test change the script, cancel or start a program at that very moment. May throw.
        std::function<void(std::string_view call)> before;
    };

    Script script;

    /// Every call in order, as `name` or `name:argument`: "startSync:6", "updatePreference:KEY=1",
    /// "pushSyncResult", "updateLocalStateWithUpdates:3" (how many), "progress:Title 1/2". Pure
    /// questions about the host (fileLogger, macOSVersion) are left out, they are asked any number
    /// of times.
    const std::vector<std::string>& calls() const { return _calls; }
    /// The calls whose name is one of these.
    std::vector<std::string> callsNamed(const std::set<std::string, std::less<>>& names) const;
    /// Calls that steer a session: startSync, pullRecords, diff..., pushSyncResult,
    /// updateLocalStateWithUpdates, finishSync, getLocalState, resetLocalState, disable- and
    /// enableFileNotifications.
    std::vector<std::string> engineCalls() const;
    std::size_t count(std::string_view call) const;

    const std::vector<std::string>& messages() const { return _messages; }        // logMsg
    const std::vector<std::string>& statusTexts() const { return _statusTexts; }  // setStatusMsg
    /// The last status text, or empty.
    std::string status() const { return _statusTexts.empty() ? "" : _statusTexts.back(); }
    const std::vector<std::string>& fileLog() const { return _fileLogger.entries(); }

    // What the engine was handed.
    const std::optional<SyncRecordList>& localUpdates() const { return _localUpdates; }
    const std::optional<SyncRecordList>& remoteUpdates() const { return _remoteUpdates; }
    const std::optional<SyncResult>& pushed() const { return _pushed; }
    const std::optional<SyncRecordList>& keptRecords() const { return _keptRecords; }
    const std::vector<std::string>& appleScripts() const { return _appleScripts; }

    /// Forgets what was recorded; the script stays.
    void clear();

    bool boolPreferenceForKey(std::string_view key, bool defaultValue) override;
    Value objectPreferenceForKey(std::string_view key, const Value& defaultValue) override;
    void updatePreferenceWithBool(std::string_view key, bool value) override;
    void updatePreferenceWithObject(std::string_view key, const Value& value) override;
    void logMsg(std::string_view message) override;
    KTFileLogger* fileLogger() override { return script.hasFileLogger ? &_fileLogger : nullptr; }
    void setStatusMsg(std::string_view message) override;
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
    bool runAppleScript(std::string_view source) override;
    bool isBinaryRunning(std::string_view name) override;
    int macOSVersion() override { return script.macOSVersion; }
    bool isAutomaticSyncActivated() override;
    void triggerExternalSync() override;
    void disableFileNotifications() override;
    void enableFileNotifications() override;
    std::optional<std::string> publicSiteUrl() override;
    void progress(std::string_view title, int current, int total) override;

private:
    void record(std::string call);

    std::vector<std::string> _calls;
    std::vector<std::string> _messages;
    std::vector<std::string> _statusTexts;
    std::vector<std::string> _appleScripts;
    RecordingFileLogger _fileLogger;
    std::optional<SyncRecordList> _localUpdates;
    std::optional<SyncRecordList> _remoteUpdates;
    std::optional<SyncResult> _pushed;
    std::optional<SyncRecordList> _keptRecords;
};

}  // namespace kt::test
