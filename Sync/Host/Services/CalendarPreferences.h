#pragma once

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/HostInterface/KTSyncPluginHelper.h"

namespace kt {

/// What the plug-in remembers of single calendars in the host's preferences. It does so by their
/// keys, which change with their titles; here what was remembered follows.
class CalendarPreferences {
public:
    /// The host is not owned and outlives this.
    explicit CalendarPreferences(KTSyncPluginHelper& host) : _host(host) {}

    /// Whether each calendar takes part, by its key; none for those that nobody was asked about.
    std::map<std::string, bool> switches();
    /// Gives a calendar's switch to its present key alone.
    void moveSwitch(const std::string& former, const std::string& now);
    /// The same for calendars that others renamed, where they were switched off `before` and nobody
    /// was asked about their present keys. Pairs of former and present keys.
    void moveSwitchesOff(const std::vector<std::pair<std::string, std::string>>& renamed,
                         const std::map<std::string, bool>& before);
    /// Gives what is public to the present keys, all of them at once.
    void movePublished(const std::vector<std::pair<std::string, std::string>>& renamed);

private:
    Dictionary remembered(std::string_view name);

    KTSyncPluginHelper& _host;
};

}  // namespace kt
