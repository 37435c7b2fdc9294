#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "Sync/Host/Services/HomeLock.h"
#include "Sync/Host/Services/PluginHost.h"

namespace kt {

/// Who shows the user what a SettingsHost has to say.
struct SettingsListener {
    /// A change could not be stored; the preferences are then those of the file.
    std::function<void(std::string_view line)> failed = [](std::string_view) {};
    /// A line of the system log.
    std::function<void(std::string_view line)> logged = [](std::string_view) {};
    /// The home was locked for a change. Whoever is told calls unlock when the event at hand is
    /// over, so that settings that belong together are stored together or not at all; with nobody
    /// to tell, each change has its own lock.
    std::function<void()> locked{};
};

/// The host object of a settings window. Syncs run in programs of their own, so there is no session
/// here, and each preference is read from the file and written to it at once, under the home's
/// lock, because a run may be at work on it meanwhile.
///
/// A plug-in remembers the dictionaries that it read and stores them whole. Of such a dictionary
/// only those entries are written that differ from what was read last, so that what other programs
/// stored meanwhile stays. An entry that could not be stored and that the file does not have either
/// is answered with the value that it had first: nothing of a refused change is left.
class SettingsHost : public PluginHost {
public:
    SettingsHost(HostServices services, std::string lockPath, SettingsListener listener = {});

    void setListener(SettingsListener listener) { _listener = std::move(listener); }
    void unlock() { _lock.reset(); }

    bool boolPreferenceForKey(std::string_view key, bool defaultValue) override;
    Value objectPreferenceForKey(std::string_view key, const Value& defaultValue) override;
    void updatePreferenceWithBool(std::string_view key, bool value) override;
    void updatePreferenceWithObject(std::string_view key, const Value& value) override;
    void logMsg(std::string_view message) override;

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

protected:
    void consoleLine(std::string_view line) override;

private:
    /// What the plug-in knows of a preference that is a dictionary.
    struct Known {
        Dictionary file;      // as it was read or written last
        Dictionary unstored;  // first values of entries that never reached the file
    };

    /// Throws Exception for a file that holds no preferences.
    void readAgain();
    void readOrTell();
    void update(std::string_view key, const Value& value);
    /// Throws Exception when it cannot.
    void store(std::string_view key, const Value& value);
    void lock();
    Value merged(std::string_view key, const Value& value);
    void keepUnstored(std::string_view key, const Value& value);

    std::string _lockPath;
    std::unique_ptr<HomeLock> _lock;  // from a change to the end of its event
    SettingsListener _listener;
    std::map<std::string, Known, std::less<>> _known;  // by the preference's key
};

}  // namespace kt
