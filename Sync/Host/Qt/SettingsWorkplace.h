#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Sync/Host/Command/Place.h"
#include "Sync/Host/Qt/QtNibLoader.h"
#include "Sync/Host/Services/BrowserWorkspace.h"
#include "Sync/Host/Services/HostClasses.h"
#include "Sync/Host/Services/PluginLoader.h"
#include "Sync/Host/Services/SettingsHost.h"
#include "Sync/Host/Services/SuiteFolder.h"

namespace kt {

/// What a settings window works with: the open plug-in, and a host that can show its view. Holds no
/// lock, so that syncs can run beside it. Platform's home folder is the place's while it lives.
class SettingsWorkplace {
public:
    /// `failed` is told of each setting that could not be stored. Throws Exception
    /// NSGenericException, with a line for the user, for a home that is missing or a plug-in that
    /// is refused.
    SettingsWorkplace(const Place& place, std::function<void(std::string_view)> failed);
    ~SettingsWorkplace();
    SettingsWorkplace(const SettingsWorkplace&) = delete;
    SettingsWorkplace& operator=(const SettingsWorkplace&) = delete;

    KTSyncPluginProtocol& plugin() { return **_plugin; }
    const Place& place() const { return _place; }
    /// What keeps everybody from the store right now, as a line for the user.
    std::optional<std::string> obstacle() const;

private:
    KTClassTable classTable();

    Place _place;
    SuiteFolder _suite;
    StatusLine _statusLine;
    HostLog _log;
    HostFileLogger _fileLogger;
    Processes _processes;
    HostClasses _classes;
    QtNibLoader _nibLoader;
    BrowserWorkspace _workspace;
    std::unique_ptr<Preferences> _preferences;
    std::unique_ptr<SettingsHost> _host;
    std::unique_ptr<LoadedPlugin> _plugin;
};

}  // namespace kt
