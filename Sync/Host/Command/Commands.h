#pragma once

#include "Sync/Host/Command/CommandLine.h"
#include "Sync/Host/Command/Place.h"

namespace kt {

// The commands. Each prints its result on standard output; log and progress go to standard error.
// They throw Exception, with a line for the user, when they cannot do what they are there for.

ExitCode syncCommand(const CommandLine& line, const Place& place);
ExitCode calendarsCommand(const CommandLine& line, const Place& place);
ExitCode recordsCommand(const CommandLine& line, const Place& place);
ExitCode checkCommand(const CommandLine& line, const Place& place);
/// check --repair.
ExitCode repairCommand(const CommandLine& line, const Place& place);
/// backups and backups show.
ExitCode backupsCommand(const CommandLine& line, const Place& place);
ExitCode restoreCommand(const CommandLine& line, const Place& place);
/// enable and disable: the plug-in as a whole.
ExitCode switchPluginCommand(const CommandLine& line, const Place& place);
/// on and off: one calendar.
ExitCode switchCalendarCommand(const CommandLine& line, const Place& place);
ExitCode publishCommand(const CommandLine& line, const Place& place);
ExitCode unpublishCommand(const CommandLine& line, const Place& place);
/// Until SIGINT or SIGTERM.
ExitCode serveCommand(const CommandLine& line, const Place& place);

}  // namespace kt
