#include "Sync/Host/Services/SettingsHost.h"

#include <utility>

#include "Sync/Foundation/Exception.h"
#include "Sync/Host/Services/HomeLock.h"
#include "Sync/HostInterface/Guard.h"

namespace kt {

SettingsHost::SettingsHost(HostServices services, std::string lockPath,
                           std::function<void(std::string_view)> failed)
    : PluginHost(std::move(services)),
      _lockPath(std::move(lockPath)),
      _failed(std::move(failed))
{}

void SettingsHost::readAgain()
{
    Preferences& preferences = services().preferences;
    preferences = Preferences(preferences.path(), Preferences::Storage::file);
}

void SettingsHost::readOrTell()
{
    guardedOr([this] { readAgain(); },
              [this](const Exception& exception) { _failed(exception.reason()); });
}

Value SettingsHost::objectPreferenceForKey(std::string_view key, const Value& defaultValue)
{
    readOrTell();
    return PluginHost::objectPreferenceForKey(key, defaultValue);
}

bool SettingsHost::boolPreferenceForKey(std::string_view key, bool defaultValue)
{
    readOrTell();
    return PluginHost::boolPreferenceForKey(key, defaultValue);
}

void SettingsHost::updatePreferenceWithBool(std::string_view key, bool value)
{
    update(key, value);
}

void SettingsHost::updatePreferenceWithObject(std::string_view key, const Value& value)
{
    update(key, value);
}

void SettingsHost::update(std::string_view key, const Value& value)
{
    // What is stored already needs no lock, and can so be "stored" while a sync is running.
    if (objectPreferenceForKey(key, {}) == value)
        return;
    guardedOr(
        [&] {
            const auto lock = HomeLock::exclusive(_lockPath);
            readAgain();
            PluginHost::updatePreferenceWithObject(key, value);
        },
        [this](const Exception& exception) { _failed(exception.reason()); });
}

}  // namespace kt
