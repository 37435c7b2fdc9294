#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace kt {

/// The programs that are running, as /proc shows them.
class Processes {
public:
    explicit Processes(std::string folder = "/proc") : _folder(std::move(folder)) {}

    /// Whether a process runs the program of that name (the last component of a path), whoever
    /// started it. What has ended and is only waiting to be collected does not run.
    bool isRunning(std::string_view name) const;

    /// Asks this user's processes of that name to end (SIGTERM) and waits for them. True when none
    /// of them runs any more, also when none did.
    bool terminate(std::string_view name, std::chrono::milliseconds patience) const;

private:
    std::vector<pid_t> processesNamed(std::string_view name) const;
    std::vector<pid_t> ownProcessesNamed(std::string_view name) const;

    std::string _folder;
};

/// Runs a program (looked up in $PATH) to its end, its output going to standard error. True when it
/// ended with 0.
bool runToEnd(const std::vector<std::string>& command);

}  // namespace kt
