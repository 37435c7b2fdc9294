#pragma once

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "Sync/Foundation/Platform.h"

namespace kt::test {

/// The process-wide settings for the length of a test: home folder, local zone, and recorders in
/// the place of the console log, the assertion handler and the launching of programs. At the end
/// everything is back to the defaults.
class PlatformScope {
public:
    struct Launch {
        std::string path;
        std::vector<std::string> arguments;

        friend bool operator==(const Launch&, const Launch&) = default;
    };
    struct Assertion {
        std::string description;
        std::string file;
        int line;
    };

    /// Without a home folder the scope keeps away from the real one all the same.
    explicit PlatformScope(std::string home = "/nonexistent/home",
                           std::string zone = "Europe/Berlin")
    {
        Platform& platform = Platform::shared();
        platform.reset();
        platform.setHomeDirectory(std::move(home));
        platform.setLocalTimeZoneName(std::move(zone));
        platform.setConsoleLog([this](std::string_view line) {
            const std::lock_guard lock(_mutex);
            _consoleLines.emplace_back(line);
        });
        platform.setAssertionHandler(
            [this](std::string_view description, std::string_view file, int line) {
                const std::lock_guard lock(_mutex);
                _assertions.push_back(Assertion{std::string(description), std::string(file), line});
            });
        platform.setLauncher(
            [this](const std::string& path, const std::vector<std::string>& arguments) {
                const std::lock_guard lock(_mutex);
                _launches.push_back(Launch{path, arguments});
                return _launchResult;
            });
    }
    ~PlatformScope() { Platform::shared().reset(); }
    PlatformScope(const PlatformScope&) = delete;
    PlatformScope& operator=(const PlatformScope&) = delete;

    std::vector<std::string> consoleLines() const
    {
        const std::lock_guard lock(_mutex);
        return _consoleLines;
    }
    std::vector<Launch> launches() const
    {
        const std::lock_guard lock(_mutex);
        return _launches;
    }
    std::vector<Assertion> assertions() const
    {
        const std::lock_guard lock(_mutex);
        return _assertions;
    }
    /// What launching a program answers from now on; true at first.
    void setLaunchResult(bool result)
    {
        const std::lock_guard lock(_mutex);
        _launchResult = result;
    }
    /// Stops the clock at an instant.
    void setNow(Date instant) const
    {
        Platform::shared().setClock([instant] { return instant; });
    }

private:
    mutable std::mutex _mutex;
    std::vector<std::string> _consoleLines;
    std::vector<Launch> _launches;
    std::vector<Assertion> _assertions;
    bool _launchResult = true;
};

}  // namespace kt::test
