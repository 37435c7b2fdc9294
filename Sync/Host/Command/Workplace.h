#pragma once

#include <memory>
#include <string>

#include "Sync/Host/Command/Place.h"
#include "Sync/Host/Services/HomeLock.h"
#include "Sync/Host/Services/HostClasses.h"
#include "Sync/Host/Services/PluginHost.h"
#include "Sync/Host/Services/PluginLoader.h"
#include "Sync/Host/Services/SuiteFolder.h"

namespace kt {

/// What every command that has to do with a home works with, from the lock to the open plug-in.
class Workplace {
public:
    enum class Access {
        change,
        look,  // behind the write guard, with preferences in memory: nothing on disk changes
    };

    /// Throws Exception NSGenericException, with a line for the user, for a home that is missing,
    /// taken, or that cannot be written to although it has to.
    Workplace(const Place& place, const CommandLine& line, Access access);
    ~Workplace();
    Workplace(const Workplace&) = delete;
    Workplace& operator=(const Workplace&) = delete;

    const Place& place() const { return _place; }
    const SuiteFolder& suite() const { return _suite; }
    Preferences& preferences() { return *_preferences; }
    StatusLine& statusLine() { return _statusLine; }
    HostFileLogger& fileLogger() { return _fileLogger; }
    HostReports& reports() { return _classes.reports(); }
    HostLossReport& lossReport() { return _classes.lossReport(); }
    /// For a host object; the preferences may be others than the workplace's own.
    HostServices services(Preferences& preferences);

    /// The plug-in, its host being `host`. Throws Exception NSGenericException, with a line for the
    /// user.
    std::unique_ptr<LoadedPlugin> loadPlugin(PluginHost& host);

private:
    Place _place;
    SuiteFolder _suite;
    StatusLine _statusLine;
    std::unique_ptr<HomeLock> _lock;
    std::unique_ptr<Preferences> _preferences;
    HostLog _log;
    HostFileLogger _fileLogger;
    Processes _processes;
    HostClasses _classes;
};

}  // namespace kt
