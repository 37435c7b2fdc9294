#pragma once

#include <optional>
#include <string>

#include "Sync/Host/Publishing/PublicSite.h"
#include "Sync/Host/Services/AppleScripts.h"

namespace kt {

/// What a settings file (TOML) may say. The command line goes before it.
///
///     home = "/home/anna"
///     server = "sqlite:/srv/kalender.sqlite"
///     device = "Arbeitszimmer"
///     system-version = 5
///     plugin = "/opt/ICalSyncPlugin.bundle"
///
///     [calendar-program]
///     program = "gnome-calendar"           # what counts as iCal here
///     quit = ["gnome-calendar", "--quit"]  # else SIGTERM to that program
///     launch = ["gnome-calendar"]          # else that program
///     quit-seconds = 10                    # how long quitting may take
///
///     [public-site]
///     address = "https://kalender.example"  # else http://, listen and port
///     listen = "127.0.0.1"
///     port = 8080
struct Settings {
    std::optional<std::string> home;
    std::optional<std::string> server;
    std::optional<std::string> device;
    std::optional<std::string> plugin;
    std::optional<int> systemVersion;
    CalendarProgram calendarProgram;
    PublicSite site;
};

/// Throws Exception NSInvalidArgumentException, with a line for the user, for a file that cannot be
/// read, is no TOML, or says something that is not in the list above.
Settings settingsFromFile(const std::string& path);

}  // namespace kt
