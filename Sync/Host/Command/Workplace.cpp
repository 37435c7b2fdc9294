#include "Sync/Host/Command/Workplace.h"

#include <unistd.h>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/Platform.h"

namespace kt {

namespace {

StatusLine::Detail detailFor(const CommandLine& line)
{
    if (line.events)
        return StatusLine::Detail::events;
    return line.quiet ? StatusLine::Detail::warnings : StatusLine::Detail::all;
}

}  // namespace

Workplace::Workplace(const Place& place, const CommandLine& line, Access access)
    : _place(place),
      _suite(place.home),
      _statusLine(STDERR_FILENO, detailFor(line)),
      _log(_suite.logPath(), _statusLine),
      _fileLogger(_suite.fileLogPath(), _statusLine),
      _classes(place.serverURL, keysByState(_suite.localStatePath()))
{
    if (!FileManager::defaultManager().isDirectory(_place.home))
        throw Exception(NSGenericException,
                        stringWithFormat("Den Heimordner \"%@\" gibt es nicht.", _place.home));
    Platform::shared().setHomeDirectory(_place.home);
    if (access == Access::change) {
        _suite.create();
        _lock = HomeLock::exclusive(_suite.lockPath());
    } else {
        Platform::shared().setWriteGuarded(true);
        _lock = HomeLock::shared(_suite.lockPath());
    }
    _preferences =
        std::make_unique<Preferences>(_suite.preferencesPath(), access == Access::change
                                                                    ? Preferences::Storage::file
                                                                    : Preferences::Storage::memory);
}

Workplace::~Workplace() { Platform::shared().reset(); }

HostServices Workplace::services(Preferences& preferences)
{
    return {preferences,          _log,
            _fileLogger,          _statusLine,
            _processes,           _place.calendarProgram,
            _place.systemVersion, _place.site.url()};
}

std::unique_ptr<LoadedPlugin> Workplace::loadPlugin(PluginHost& host)
{
    return PluginLoader::load(_place.pluginPath, _classes.table(), host);
}

}  // namespace kt
