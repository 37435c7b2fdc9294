#include "Sync/Host/Services/Processes.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <optional>
#include <thread>

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Sync/Foundation/FileDescriptor.h"
#include "Sync/Foundation/FileManager.h"

extern char** environ;

namespace kt {

namespace {

/// The kernel keeps this much of a program's name.
constexpr std::size_t kLongestShownName = 15;

std::optional<pid_t> processNumber(std::string_view name)
{
    pid_t number = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
    if (error != std::errc() || end != name.data() + name.size())
        return std::nullopt;
    return number;
}

/// The beginning of a file of /proc, which has no size to go by.
std::string beginningOf(const std::string& path)
{
    std::array<char, 4096> buffer{};
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    const ssize_t count = file.isOpen() ? ::read(file.get(), buffer.data(), buffer.size()) : -1;
    return {buffer.data(), count < 0 ? 0 : static_cast<std::size_t>(count)};
}

/// proc(5), stat: number, name in parentheses, state. The name may hold parentheses itself.
bool isLivingProcessNamed(const std::string& stat, std::string_view name)
{
    const std::size_t open = stat.find('(');
    const std::size_t close = stat.rfind(')');
    if (open == std::string::npos || close == std::string::npos || close + 2 >= stat.size())
        return false;
    const std::string_view shown = std::string_view(stat).substr(open + 1, close - open - 1);
    const char state = stat[close + 2];
    return shown == name.substr(0, kLongestShownName) && state != 'Z' && state != 'X';
}

/// Names that share what the kernel keeps of them are told apart by how they were called.
bool isCalled(const std::string& commandLine, std::string_view name)
{
    const std::string_view program = std::string_view(commandLine.c_str());
    return name.size() <= kLongestShownName || lastPathComponent(program) == name;
}

bool isOwnProcess(const std::string& folder)
{
    struct stat status {};
    return ::stat(folder.c_str(), &status) == 0 && status.st_uid == ::geteuid();
}

}  // namespace

std::vector<pid_t> Processes::processesNamed(std::string_view name) const
{
    std::vector<pid_t> found;
    for (const std::string& entry :
         FileManager::defaultManager().directoryContentsAtPath(_folder)) {
        const auto number = processNumber(entry);
        const std::string folder = stringByAppendingPathComponent(_folder, entry);
        if (number && isLivingProcessNamed(beginningOf(folder + "/stat"), name) &&
            isCalled(beginningOf(folder + "/cmdline"), name))
            found.push_back(*number);
    }
    return found;
}

std::vector<pid_t> Processes::ownProcessesNamed(std::string_view name) const
{
    std::vector<pid_t> found = processesNamed(name);
    std::erase_if(found, [this](pid_t process) {
        return !isOwnProcess(stringByAppendingPathComponent(_folder, std::to_string(process)));
    });
    return found;
}

bool Processes::isRunning(std::string_view name) const { return !processesNamed(name).empty(); }

bool Processes::terminate(std::string_view name, std::chrono::milliseconds patience) const
{
    constexpr std::chrono::milliseconds kPause{20};
    const auto deadline = std::chrono::steady_clock::now() + patience;
    for (const pid_t process : ownProcessesNamed(name))
        ::kill(process, SIGTERM);
    while (!ownProcessesNamed(name).empty()) {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(kPause);
    }
    return true;
}

bool runToEnd(const std::vector<std::string>& command)
{
    if (command.empty())
        return false;
    std::vector<std::string> copies = command;
    std::vector<char*> arguments;
    for (std::string& argument : copies)
        arguments.push_back(argument.data());
    arguments.push_back(nullptr);

    // Standard output belongs to results.
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, STDERR_FILENO, STDOUT_FILENO);
    pid_t child = 0;
    const int failure =
        ::posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    if (failure != 0)
        return false;
    int status = 0;
    while (::waitpid(child, &status, 0) < 0)
        if (errno != EINTR)
            return false;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace kt
