#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "Sync/Host/Services/PluginHost.h"

namespace kt {

/// The host object of a settings window. Syncs run in programs of their own, so there is no session
/// here, and each preference is read from the file and written to it at once, under the home's
/// lock, because a run may be at work on it meanwhile.
class SettingsHost : public PluginHost {
public:
    /// `failed` is told, with a line for the user, of each change that could not be stored; the
    /// preferences are then those of the file.
    SettingsHost(HostServices services, std::string lockPath,
                 std::function<void(std::string_view)> failed);

    bool boolPreferenceForKey(std::string_view key, bool defaultValue) override;
    Value objectPreferenceForKey(std::string_view key, const Value& defaultValue) override;
    void updatePreferenceWithBool(std::string_view key, bool value) override;
    void updatePreferenceWithObject(std::string_view key, const Value& value) override;

    int startSync(int) override { return 0; }
    std::optional<SyncRecordList> pullRecords() override { return std::nullopt; }
    std::optional<SyncResult> diffLocalStateWithLocalUpdates(const SyncRecordList&,
                                                             const std::optional<SyncRecordList>&,
                                                             int) override
    {
        return std::nullopt;
    }
    bool pushSyncResult(const SyncResult&) override { return false; }
    void updateLocalStateWithUpdates(const SyncRecordList&) override {}
    bool finishSync() override { return false; }
    std::optional<SyncRecordMap> getLocalState() override { return std::nullopt; }
    bool resetLocalState() override { return false; }

private:
    /// Throws Exception for a file that holds no preferences.
    void readAgain();
    void readOrTell();
    void update(std::string_view key, const Value& value);

    std::string _lockPath;
    std::function<void(std::string_view)> _failed;
};

}  // namespace kt
