#pragma once

#include <functional>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include "Sync/Host/Services/HostClasses.h"
#include "Sync/Host/Services/PluginHost.h"
#include "Sync/Host/Services/SuiteFolder.h"
#include "tests/support/PlatformScope.h"
#include "tests/support/SmallPlugin.h"
#include "tests/support/TemporaryFolder.h"

namespace kt::test {

/// A home with all that a host object needs, its log shown in a file.
class HostKit {
public:
    HostKit() { suite.create(); }
    ~HostKit() { ::close(_descriptor); }
    HostKit(const HostKit&) = delete;
    HostKit& operator=(const HostKit&) = delete;

    HostServices services(CalendarProgram program = {}, int systemVersion = 5)
    {
        return {preferences, log, fileLogger, statusLine, processes, program, systemVersion};
    }
    /// What standard error would show.
    std::string shown() const { return _streams.read("stderr").value_or(""); }
    std::string logFile() const { return contents(suite.logPath()); }
    std::string fileLogFile() const { return contents(suite.fileLogPath()); }

private:
    static std::string contents(const std::string& path)
    {
        return FileManager::defaultManager().contentsAtPath(path).value_or("");
    }

    TemporaryFolder _streams;
    int _descriptor = ::open(_streams.path("stderr").c_str(), O_RDWR | O_CREAT, 0600);

public:
    TemporaryFolder home;
    PlatformScope platform{home.path()};
    TemporaryFolder proc;  // what runs on this machine: nothing, until a test says so
    SuiteFolder suite{home.path()};
    StatusLine statusLine{_descriptor, StatusLine::Detail::all};
    HostLog log{suite.logPath(), statusLine};
    HostFileLogger fileLogger{suite.fileLogPath(), statusLine};
    Preferences preferences{suite.preferencesPath(), Preferences::Storage::file};
    Processes processes{proc.path()};
};

/// A plug-in that goes through a session as the real one does, with records and a rewrite that the
/// test gives it.
class ScriptedPlugin : public SmallPlugin {
public:
    explicit ScriptedPlugin(KTSyncPluginHelper& helper) : SmallPlugin(nullptr), _host(helper) {}

    bool isEnabled() override { return isOn; }
    void enable() override { isOn = true; }
    std::optional<std::vector<std::string>> filesToBackup() override { return files; }
    bool doSync() override;

    bool isOn = true;
    std::vector<std::string> files;
    std::function<std::optional<SyncRecordList>()> load = [] { return SyncRecordList{}; };
    SyncRecordList switchedOff;
    std::function<bool(const SyncRecordMap&)> rewrite = [](const auto&) { return true; };
    int runs = 0;  // how often doSync was called
    std::vector<int> startResults;

private:
    KTSyncPluginHelper& _host;
};

inline bool ScriptedPlugin::doSync()
{
    ++runs;
    if (!isOn) {
        _host.setStatusMsg("ausgeschaltet");
        return false;
    }
    if (_host.isBinaryRunning("iCal"))
        return false;
    _host.logMsg("Lauf " + std::to_string(runs));
    _host.disableFileNotifications();
    _host.updatePreferenceWithObject("Lauf", runs);
    const auto records = load();
    if (!records)
        return false;
    const int result = _host.startSync(5);
    startResults.push_back(result);
    if (result == 0 || result == 7)
        return false;
    const auto difference = _host.diffLocalStateWithLocalUpdates(*records, _host.pullRecords(), 7);
    if (!difference || !_host.pushSyncResult(*difference))
        return false;
    _host.updateLocalStateWithUpdates(switchedOff);
    if (!_host.finishSync())
        return false;
    if (result > 2) {
        const auto state = _host.getLocalState();
        if (!state || !rewrite(*state))
            return false;
    }
    _host.setStatusMsg("fertig " + std::to_string(runs));
    return true;
}

}  // namespace kt::test
