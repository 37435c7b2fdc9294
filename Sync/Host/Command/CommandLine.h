#pragma once

#include <optional>
#include <string>
#include <variant>

#include "Sync/Host/Services/SyncRun.h"

namespace kt {

/// What icalsync answers to the shell.
enum class ExitCode {
    done = 0,
    failed = 1,      // a run that ended with NO or was held; what cannot be read or repaired
    wrongUsage = 2,  // of command line or settings
};

enum class CommandName {
    sync,
    calendars,
    records,
    check,
    backups,
    restore,
    enable,
    disable,
    on,
    off,
    publish,
    unpublish,
    serve,
};

/// What the user typed. Options that were not given are absent: settings and defaults come later.
struct CommandLine {
    std::optional<std::string> home;
    std::optional<std::string> server;
    std::optional<std::string> device;
    std::optional<std::string> config;
    std::optional<std::string> plugin;
    std::optional<int> systemVersion;
    bool json = false;
    bool quiet = false;
    bool events = false;  // log and progress for a program

    CommandName command = CommandName::sync;
    SyncRunWishes wishes;     // sync; of check --repair only the dry run
    bool fullSync = false;    // sync
    bool countOnly = false;   // records
    bool repair = false;      // check
    std::string calendarKey;  // on, off, publish, unpublish; restore, empty for the whole store
    std::string backupName;   // restore; backups show, empty for the list

    bool publishTasks = false;          // publish
    bool leaveEventsOut = false;        // publish
    bool anonymize = false;             // publish
    std::optional<std::string> listen;  // serve
    std::optional<int> port;            // serve
};

/// A command line that is answered without a command: help, or what is wrong with it.
struct UsageAnswer {
    ExitCode exitCode;
    std::string text;  // ends in a line feed; for standard output when the exit code is 0
};

std::variant<CommandLine, UsageAnswer> parsedCommandLine(int argumentCount,
                                                         const char* const* arguments);

}  // namespace kt
