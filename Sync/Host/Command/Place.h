#pragma once

#include <string>

#include "Sync/Host/Command/CommandLine.h"
#include "Sync/Host/Publishing/PublicSite.h"
#include "Sync/Host/Services/AppleScripts.h"
#include "Sync/Host/Services/HomeLayout.h"

namespace kt {

/// Where a command works and with what: command line, settings and defaults taken together.
struct Place {
    std::string home;                          // absolute
    int systemVersion = kNewestSystemVersion;  // one of kHomeLayouts
    std::string serverURL;
    std::string device;
    std::string pluginPath;
    CalendarProgram calendarProgram;
    PublicSite site;
};

/// Throws Exception NSInvalidArgumentException, with a line for the user, for settings that cannot
/// be used. Reads, but writes nothing.
Place placeForCommandLine(const CommandLine& line);

}  // namespace kt
