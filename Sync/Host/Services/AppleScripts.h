#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "Sync/Host/Services/Processes.h"

namespace kt {

/// The calendar program of this machine: what the plug-in calls by its own name.
struct CalendarProgram {
    std::string pluginName = "iCal";             // what the plug-in calls it
    std::string program = "iCal";                // name or path of what runs here
    std::vector<std::string> quitCommand{};      // empty: SIGTERM to a program of that name
    std::vector<std::string> launchCommand{};    // empty: the program itself
    std::chrono::milliseconds patience{10'000};  // how long quitting may take

    /// The name of the machine's program for one that the plug-in asks for.
    std::string processName(std::string_view name) const;
};

/// What stands for AppleScript on a machine that has none: the two scripts that a plug-in quits and
/// launches a program with are understood, and mapped to what does that here.
class AppleScripts {
public:
    AppleScripts(CalendarProgram program, const Processes& processes);

    /// False for any other script, and when the program could not be quit or launched.
    bool run(std::string_view source) const;

private:
    bool quit(std::string_view name) const;
    bool launch(std::string_view name) const;

    CalendarProgram _program;
    const Processes& _processes;
};

}  // namespace kt
