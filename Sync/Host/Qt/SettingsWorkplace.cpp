#include "Sync/Host/Qt/SettingsWorkplace.h"

#include <unistd.h>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/Host/Command/Output.h"
#include "Sync/Host/Services/GuardLift.h"
#include "Sync/Host/Services/HomeLayout.h"
#include "Sync/HostInterface/Guard.h"

namespace kt {

void SettingsWorkplace::DetailedLog::logEntry(std::string_view entry)
{
    const GuardLift ownLog;
    HostFileLogger::logEntry(entry);
}

SettingsWorkplace::SettingsWorkplace(const Place& place)
    : _place(place),
      _suite(place.home),
      _statusLine(STDERR_FILENO, StatusLine::Detail::warnings),
      _log(_suite.logPath(), _statusLine),
      _fileLogger(_suite.fileLogPath(), _statusLine),
      _classes(place.serverURL, keysByState(_suite.localStatePath()))
{
    if (!FileManager::defaultManager().isDirectory(_place.home))
        throw Exception(NSGenericException,
                        stringWithFormat("Den Heimordner \"%@\" gibt es nicht.", _place.home));
    Platform::shared().setHomeDirectory(_place.home);
    _suite.create();
    _preferences =
        std::make_unique<Preferences>(_suite.preferencesPath(), Preferences::Storage::file);
    _host =
        std::make_unique<SettingsHost>(HostServices{*_preferences, _log, _fileLogger, _statusLine,
                                                    _processes, _place.calendarProgram,
                                                    _place.systemVersion, _place.site.url()},
                                       _suite.lockPath());
    _plugin = PluginLoader::load(_place.pluginPath, classTable(), *_host);
}

SettingsWorkplace::~SettingsWorkplace()
{
    _plugin.reset();
    _host.reset();
    Platform::shared().setHomeDirectory({});
}

void SettingsWorkplace::setListener(SettingsListener listener)
{
    _told = std::move(listener);
    const auto find = [this](std::string_view line) {
        if (_isReading)
            _found.emplace_back(line);
    };
    _host->setListener({_told.failed, find, _told.locked});
}

View* SettingsWorkplace::configView()
{
    const auto before = std::exchange(_found, {});
    _classes.lossReport().clear();
    View* view = readView();
    // What is still to come of this event can wait for the publishing service.
    unlock();
    for (const KTLoss& loss : _classes.lossReport().losses())
        _found.push_back(std::string(headingForLossKind(loss.kind)) + " " + lineForLoss(loss));
    if (_found != before)
        for (const std::string& line : _found)
            _told.logged(line);
    return view;
}

View* SettingsWorkplace::readView()
{
    const WriteGuard guard;
    _isReading = true;
    View* view =
        guardedOr([this] { return plugin().configView(); },
                  [](const Exception& exception) -> View* {
                      NSLog("Nichtabgefangener Fehler in configView: %@", exception.description());
                      return nullptr;
                  });
    _isReading = false;
    return view;
}

std::optional<std::string> SettingsWorkplace::obstacle() const
{
    const auto obstacle = obstacleInStore(_place.home, _place.systemVersion);
    return obstacle ? std::optional(obstacle->reason) : std::nullopt;
}

KTClassTable SettingsWorkplace::classTable()
{
    KTClassTable table = _classes.table();
    table.setClass(NibLoader::className, &_nibLoader);
    table.setClass(Workspace::className, &_workspace);
    return table;
}

}  // namespace kt
