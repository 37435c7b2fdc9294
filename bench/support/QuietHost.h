#pragma once

#include "Sync/Host/Engine/HostEnhancedDate.h"
#include "Sync/Host/Engine/HostSyncRecord.h"
#include "Sync/HostInterface/KTClassTable.h"
#include "Sync/HostInterface/KTSyncPluginHelper.h"

namespace kt::bench {

/// A host that answers with as little work as possible, so that a measurement shows the plug-in
/// alone. Its classes are installed for as long as it lives.
class QuietHost : public KTSyncPluginHelper {
public:
    explicit QuietHost(int systemVersion) : _systemVersion(systemVersion)
    {
        KTClassTable table;
        table.setClass(KTSyncEnhancedDateClass::className, &_dates);
        table.setClass(KTSyncRecordClass::className, &_records);
        setHostClassTable(table);
    }
    ~QuietHost() override { setHostClassTable({}); }

    bool boolPreferenceForKey(std::string_view, bool defaultValue) override { return defaultValue; }
    Value objectPreferenceForKey(std::string_view, const Value& defaultValue) override
    {
        return defaultValue;
    }
    void updatePreferenceWithBool(std::string_view, bool) override {}
    void updatePreferenceWithObject(std::string_view, const Value&) override {}
    void logMsg(std::string_view) override {}
    KTFileLogger* fileLogger() override { return nullptr; }
    void setStatusMsg(std::string_view) override {}
    int startSync(int) override { return 0; }
    std::optional<SyncRecordList> pullRecords() override { return {}; }
    std::optional<SyncResult> diffLocalStateWithLocalUpdates(const SyncRecordList&,
                                                             const std::optional<SyncRecordList>&,
                                                             int) override
    {
        return {};
    }
    bool pushSyncResult(const SyncResult&) override { return false; }
    void updateLocalStateWithUpdates(const SyncRecordList&) override {}
    bool finishSync() override { return false; }
    std::optional<SyncRecordMap> getLocalState() override { return std::nullopt; }
    bool resetLocalState() override { return false; }
    bool runAppleScript(std::string_view) override { return false; }
    bool isBinaryRunning(std::string_view) override { return false; }
    int macOSVersion() override { return _systemVersion; }
    bool isAutomaticSyncActivated() override { return false; }
    void triggerExternalSync() override {}
    void disableFileNotifications() override {}
    void enableFileNotifications() override {}
    std::optional<std::string> publicSiteUrl() override { return {}; }

private:
    int _systemVersion;
    HostEnhancedDateClass _dates;
    HostSyncRecordClass _records;
};

}  // namespace kt::bench
