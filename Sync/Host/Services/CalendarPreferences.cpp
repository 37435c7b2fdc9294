#include "Sync/Host/Services/CalendarPreferences.h"

#include <algorithm>

#include "Sync/Host/Services/PluginPreferences.h"

namespace kt {

Dictionary CalendarPreferences::remembered(std::string_view name)
{
    const Value value = _host.objectPreferenceForKey(name, Value());
    return value.isDictionary() ? value.dictionary() : Dictionary();
}

std::map<std::string, bool> CalendarPreferences::switches()
{
    std::map<std::string, bool> switches;
    for (const auto& [key, value] : remembered(kSyncedCalendarsPreference))
        switches.emplace(key, value.boolValue());
    return switches;
}

void CalendarPreferences::moveSwitch(const std::string& former, const std::string& now)
{
    Dictionary switches = remembered(kSyncedCalendarsPreference);
    const Value* found = switches.find(former);
    if (found == nullptr)
        return;
    const Value isOn = *found;
    switches.remove(former);
    switches.set(now, isOn);
    _host.updatePreferenceWithObject(kSyncedCalendarsPreference, switches);
}

void CalendarPreferences::moveSwitchesOff(
    const std::vector<std::pair<std::string, std::string>>& renamed,
    const std::map<std::string, bool>& before)
{
    for (const auto& [former, now] : renamed) {
        const auto found = before.find(former);
        if (found != before.end() && !found->second && before.count(now) == 0)
            moveSwitch(former, now);
    }
}

void CalendarPreferences::movePublished(
    const std::vector<std::pair<std::string, std::string>>& renamed)
{
    if (renamed.empty())
        return;
    const Dictionary before = remembered(kPublishedCalendarsPreference);
    Dictionary after = before;
    for (const auto& [former, now] : renamed)
        after.remove(now);
    for (const auto& [former, now] : renamed) {
        if (const Value* options = before.find(former))
            after.set(now, *options);
    }
    for (const auto& [former, now] : renamed) {
        const bool isAnothersNow =
            std::any_of(renamed.begin(), renamed.end(),
                        [&, &key = former](const auto& each) { return each.second == key; });
        if (!isAnothersNow)
            after.remove(former);
    }
    if (after != before)
        _host.updatePreferenceWithObject(kPublishedCalendarsPreference, after);
}

}  // namespace kt
