#include "Sync/Host/Services/PluginHost.h"

#include <utility>

#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/Platform.h"

namespace kt {

PluginHost::PluginHost(HostServices services)
    : _services(std::move(services)),
      _appleScripts(_services.calendarProgram, _services.processes),
      _preferences(&_services.preferences)
{
    Platform::shared().setConsoleLog([this](std::string_view line) { consoleLine(line); });
}

PluginHost::~PluginHost() { Platform::shared().setConsoleLog({}); }

bool PluginHost::boolPreferenceForKey(std::string_view key, bool defaultValue)
{
    return _preferences->boolForKey(key, defaultValue);
}

Value PluginHost::objectPreferenceForKey(std::string_view key, const Value& defaultValue)
{
    return _preferences->objectForKey(key, defaultValue);
}

void PluginHost::updatePreferenceWithBool(std::string_view key, bool value) { store(key, value); }

void PluginHost::updatePreferenceWithObject(std::string_view key, const Value& value)
{
    store(key, value);
}

void PluginHost::store(std::string_view key, const Value& value)
{
    if (_preferences->set(key, value) || std::exchange(_hasLostPreferences, true))
        return;
    _services.statusLine.warn(lineForLostPreferences());
}

std::string PluginHost::lineForLostPreferences() const
{
    return stringWithFormat("Die Einstellungen \"%@\" können nicht gesichert werden.",
                            _preferences->path());
}

void PluginHost::logMsg(std::string_view message)
{
    if (!_isSilent)
        _services.log.line(message);
}

KTFileLogger* PluginHost::fileLogger() { return _isSilent ? nullptr : &_services.fileLogger; }

void PluginHost::consoleLine(std::string_view line)
{
    if (!_isSilent)
        _services.fileLogger.log("Konsole: %@", line);
}

void PluginHost::setStatusMsg(std::string_view message)
{
    if (_isSilent)
        return;
    _status = message;
    _services.statusLine.setStatus(message);
}

void PluginHost::progress(std::string_view title, int current, int total)
{
    if (!_isSilent)
        _services.statusLine.setProgress(title, current, total);
}

bool PluginHost::runAppleScript(std::string_view source) { return _appleScripts.run(source); }

bool PluginHost::isBinaryRunning(std::string_view name)
{
    return _services.processes.isRunning(_services.calendarProgram.processName(name));
}

std::optional<std::string> PluginHost::publicSiteUrl()
{
    if (_services.publicSite.empty())
        return std::nullopt;
    return _services.publicSite;
}

PluginHost::Silence::Silence(PluginHost& host)
    : _host(host),
      _preferences(host._preferences->copyInMemory())
{
    _host._preferences = &_preferences;
    _host._isSilent = true;
}

PluginHost::Silence::~Silence()
{
    _host._preferences = &_host._services.preferences;
    _host._isSilent = false;
}

}  // namespace kt
