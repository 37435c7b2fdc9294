#include "Sync/Host/Services/AppleScripts.h"

#include <optional>
#include <utility>

#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Platform.h"

namespace kt {

namespace {

/// `tell application "NAME"`, one command, `end tell`: the name, if that is what stands there.
std::optional<std::string_view> nameTold(std::string_view source, std::string_view command)
{
    constexpr std::string_view kBegin = "tell application \"";
    constexpr std::string_view kEndOfName = "\"\n";
    constexpr std::string_view kEnd = "\nend tell\n";
    if (!source.starts_with(kBegin))
        return std::nullopt;
    source.remove_prefix(kBegin.size());
    const std::size_t end = source.find('"');
    if (end == std::string_view::npos || end == 0)
        return std::nullopt;
    const std::string_view rest = source.substr(end);
    if (rest != std::string(kEndOfName) + std::string(command) + std::string(kEnd))
        return std::nullopt;
    return source.substr(0, end);
}

}  // namespace

std::string CalendarProgram::processName(std::string_view name) const
{
    return name == pluginName ? lastPathComponent(program) : std::string(name);
}

AppleScripts::AppleScripts(CalendarProgram program, const Processes& processes)
    : _program(std::move(program)),
      _processes(processes)
{}

bool AppleScripts::run(std::string_view source) const
{
    if (const auto name = nameTold(source, "quit saving yes"))
        return quit(*name);
    if (const auto name = nameTold(source, "launch"))
        return launch(*name);
    return false;
}

bool AppleScripts::quit(std::string_view name) const
{
    if (name == _program.pluginName && !_program.quitCommand.empty())
        return runToEnd(_program.quitCommand);
    return _processes.terminate(_program.processName(name), _program.patience);
}

bool AppleScripts::launch(std::string_view name) const
{
    if (name != _program.pluginName)
        return Platform::shared().launch(std::string(name), {});
    if (_program.launchCommand.empty())
        return Platform::shared().launch(_program.program, {});
    const auto& command = _program.launchCommand;
    return Platform::shared().launch(command.front(), {command.begin() + 1, command.end()});
}

}  // namespace kt
