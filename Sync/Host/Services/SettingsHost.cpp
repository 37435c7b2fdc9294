#include "Sync/Host/Services/SettingsHost.h"

#include "Sync/Foundation/Exception.h"
#include "Sync/Host/Services/GuardLift.h"
#include "Sync/HostInterface/Guard.h"

namespace kt {

namespace {

bool isEntryOf(const Dictionary& dictionary, std::string_view key, const Value& value)
{
    const Value* found = dictionary.find(key);
    return found != nullptr && *found == value;
}

}  // namespace

SettingsHost::SettingsHost(HostServices services, std::string lockPath, SettingsListener listener)
    : PluginHost(std::move(services)),
      _lockPath(std::move(lockPath)),
      _listener(std::move(listener))
{}

void SettingsHost::readAgain()
{
    Preferences& preferences = services().preferences;
    preferences = Preferences(preferences.path(), Preferences::Storage::file);
}

void SettingsHost::readOrTell()
{
    guardedOr([this] { readAgain(); },
              [this](const Exception& exception) { _listener.failed(exception.reason()); });
}

Value SettingsHost::objectPreferenceForKey(std::string_view key, const Value& defaultValue)
{
    readOrTell();
    const Value stored = PluginHost::objectPreferenceForKey(key, {});
    if (!stored.isNil() && !stored.isDictionary())
        return stored;
    Known& known = _known[std::string(key)];
    known.file = stored.isNil() ? Dictionary() : stored.dictionary();
    if (stored.isNil() && known.unstored.empty())
        return defaultValue;
    Dictionary answer = known.unstored;
    answer.merge(known.file);
    return answer;
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

void SettingsHost::logMsg(std::string_view message)
{
    const GuardLift ownLog;
    PluginHost::logMsg(message);
}

void SettingsHost::consoleLine(std::string_view line)
{
    PluginHost::consoleLine(line);
    _listener.logged(line);
}

void SettingsHost::update(std::string_view key, const Value& value)
{
    const GuardLift ownFile;
    guardedOr(
        [&] {
            readAgain();
            store(key, value);
            if (value.isDictionary())
                _known[std::string(key)] = {value.dictionary(), {}};
        },
        [&](const Exception& exception) {
            keepUnstored(key, value);
            _listener.failed(exception.reason());
        });
    if (!_listener.locked)
        unlock();
}

void SettingsHost::store(std::string_view key, const Value& value)
{
    Preferences& preferences = services().preferences;
    // What is stored already needs no lock, and can so be "stored" while a sync is running.
    if (preferences.objectForKey(key, {}) == merged(key, value))
        return;
    lock();
    readAgain();
    if (!preferences.set(key, merged(key, value)))
        throw Exception(NSGenericException, lineForLostPreferences());
}

void SettingsHost::lock()
{
    if (_lock)
        return;
    _lock = HomeLock::exclusive(_lockPath);
    if (_listener.locked)
        _listener.locked();
}

/// What the file holds, with the entries that the plug-in has changed.
Value SettingsHost::merged(std::string_view key, const Value& value)
{
    const Value stored = services().preferences.objectForKey(key, {});
    if (!value.isDictionary() || !stored.isDictionary())
        return value;
    const Dictionary& before = _known[std::string(key)].file;
    Dictionary merged = stored.dictionary();
    for (const auto& [name, entry] : before)
        if (!value.dictionary().contains(name))
            merged.remove(name);
    for (const auto& [name, entry] : value.dictionary())
        if (!isEntryOf(before, name, entry))
            merged.set(name, entry);
    return merged;
}

void SettingsHost::keepUnstored(std::string_view key, const Value& value)
{
    if (!value.isDictionary())
        return;
    Known& known = _known[std::string(key)];
    for (const auto& [name, entry] : value.dictionary())
        if (!known.file.contains(name) && !known.unstored.contains(name))
            known.unstored.set(name, entry);
}

}  // namespace kt
