#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Sync/Host/Command/Place.h"
#include "Sync/Host/Qt/QtNibLoader.h"
#include "Sync/Host/Services/BrowserWorkspace.h"
#include "Sync/Host/Services/HostClasses.h"
#include "Sync/Host/Services/PluginLoader.h"
#include "Sync/Host/Services/SettingsHost.h"
#include "Sync/Host/Services/SuiteFolder.h"

namespace kt {

/// What a settings window works with: the open plug-in, and a host that can show its view. Holds a
/// lock only while settings are changed, so that syncs can run beside it. Platform's home folder is
/// the place's while it lives.
class SettingsWorkplace {
public:
    /// Throws Exception NSGenericException, with a line for the user, for a home that is missing or
    /// a plug-in that is refused.
    explicit SettingsWorkplace(const Place& place);
    ~SettingsWorkplace();
    SettingsWorkplace(const SettingsWorkplace&) = delete;
    SettingsWorkplace& operator=(const SettingsWorkplace&) = delete;

    KTSyncPluginProtocol& plugin() { return **_plugin; }
    const Place& place() const { return _place; }
    void setListener(SettingsListener listener);
    /// Lets others change the home again, see SettingsListener.
    void unlock() { _host->unlock(); }
    /// The plug-in's view, prepared anew; null where there is none. Whatever the plug-in finds, the
    /// store stays as it is: a run may be rewriting it at this moment. What could not be read, and
    /// what the plug-in wrote to the system log, is told as logged, unless the last reading found
    /// the same; it is the only part of that log that is.
    View* configView();
    /// What keeps everybody from the store right now, as a line for the user.
    std::optional<std::string> obstacle() const;

private:
    /// Writes whether or not the plug-in may.
    class DetailedLog : public HostFileLogger {
    public:
        using HostFileLogger::HostFileLogger;
        void logEntry(std::string_view entry) override;
    };

    KTClassTable classTable();
    View* readView();

    SettingsListener _told;
    bool _isReading = false;
    std::vector<std::string> _found;  // at the last reading
    Place _place;
    SuiteFolder _suite;
    StatusLine _statusLine;
    HostLog _log;
    DetailedLog _fileLogger;
    Processes _processes;
    HostClasses _classes;
    QtNibLoader _nibLoader;
    BrowserWorkspace _workspace;
    std::unique_ptr<Preferences> _preferences;
    std::unique_ptr<SettingsHost> _host;
    std::unique_ptr<LoadedPlugin> _plugin;
};

}  // namespace kt
