#include "Sync/Host/Command/Program.h"

#include <exception>
#include <string>

#include <nlohmann/json.hpp>
#include <unistd.h>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/FileDescriptor.h"
#include "Sync/Host/Command/Commands.h"
#include "Sync/Host/Command/Output.h"

namespace kt {

namespace {

void printError(std::string_view line) { writeFully(STDERR_FILENO, std::string(line) + "\n"); }

ExitCode runCommand(const CommandLine& line, const Place& place)
{
    switch (line.command) {
    case CommandName::sync:
        return syncCommand(line, place);
    case CommandName::calendars:
        return calendarsCommand(line, place);
    case CommandName::records:
        return recordsCommand(line, place);
    case CommandName::check:
        return checkCommand(line, place);
    case CommandName::backups:
        return backupsCommand(line, place);
    case CommandName::restore:
        return restoreCommand(line, place);
    case CommandName::enable:
    case CommandName::disable:
        return switchPluginCommand(line, place);
    case CommandName::on:
    case CommandName::off:
        return switchCalendarCommand(line, place);
    case CommandName::publish:
        return publishCommand(line, place);
    case CommandName::unpublish:
        return unpublishCommand(line, place);
    case CommandName::serve:
        return serveCommand(line, place);
    }
    return ExitCode::wrongUsage;
}

/// Where a program reads the result, it reads the failure there as well.
ExitCode failed(const CommandLine& line, ExitCode exitCode, const std::string& reason)
{
    printError(reason);
    if (line.json)
        writeFully(STDOUT_FILENO, jsonText({{"error", reason}}) + "\n");
    return exitCode;
}

ExitCode answer(const CommandLine& line)
{
    Place place;
    try {
        place = placeForCommandLine(line);
    } catch (const Exception& exception) {
        return failed(line, ExitCode::wrongUsage, exception.reason());
    }
    try {
        return runCommand(line, place);
    } catch (const Exception& exception) {
        return failed(line, ExitCode::failed, exception.reason());
    } catch (const std::exception& exception) {
        return failed(line, ExitCode::failed,
                      std::string("Unerwarteter Fehler: ") + exception.what());
    }
}

ExitCode answer(const UsageAnswer& usage)
{
    writeFully(usage.exitCode == ExitCode::done ? STDOUT_FILENO : STDERR_FILENO, usage.text);
    return usage.exitCode;
}

}  // namespace

int runProgram(int argumentCount, const char* const* arguments)
{
    const auto parsed = parsedCommandLine(argumentCount, arguments);
    return static_cast<int>(std::visit([](const auto& what) { return answer(what); }, parsed));
}

}  // namespace kt
