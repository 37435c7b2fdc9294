#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/FinderCatalog.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/ResourceForks.h"
#include "Sync/Foundation/Value.h"

namespace kt {

/// The settings of the whole process, in one place that host and plug-in both see. Set at start
/// (and by tests); reading is safe from every thread.
class Platform {
public:
    using ConsoleLog = std::function<void(std::string_view line)>;
    using AssertionHandler =
        std::function<void(std::string_view description, std::string_view file, int line)>;
    using Clock = std::function<Date()>;
    /// Starts a program without waiting for it; false when it cannot be started.
    using Launcher =
        std::function<bool(const std::string& path, const std::vector<std::string>& arguments)>;
    /// Runs a script to its end; nullopt when it succeeded, else the error dictionary.
    using ScriptRunner = std::function<std::optional<Dictionary>(const std::string& source)>;

    static Platform& shared();

    /// NSHomeDirectory(): $HOME, or the user database's entry, until set.
    std::string homeDirectory() const;
    void setHomeDirectory(std::string path);

    /// The machine's own zone: $TZ, else the system's setting, else "Etc/UTC", until set. Empty
    /// text resets.
    std::string localTimeZoneName() const;
    void setLocalTimeZoneName(std::string name);

    Date now() const;
    void setClock(Clock clock);

    /// One line on the system log (standard error until set).
    void consoleLog(std::string_view line) const;
    void setConsoleLog(ConsoleLog log);

    /// The default handler writes text, file and line to the console log and returns.
    void assertionFailed(std::string_view description, std::string_view file, int line) const;
    void setAssertionHandler(AssertionHandler handler);

    bool launch(const std::string& path, const std::vector<std::string>& arguments) const;
    void setLauncher(Launcher launcher);

    /// An AppleScript. Until a runner is set there is no such thing here, and that is the error,
    /// under "NSAppleScriptErrorMessage".
    std::optional<Dictionary> runScript(const std::string& source) const;
    void setScriptRunner(ScriptRunner runner);

    /// What another system keeps beside a file's bytes; nothing is reachable until set.
    std::shared_ptr<FinderCatalog> finderCatalog() const;
    void setFinderCatalog(std::shared_ptr<FinderCatalog> catalog);
    std::shared_ptr<ResourceForks> resourceForks() const;
    void setResourceForks(std::shared_ptr<ResourceForks> forks);

    /// Behind a write guard nothing on disk changes: every writing file operation answers false.
    FileManager& fileManager() const;
    void setFileManager(std::shared_ptr<FileManager> fileManager);
    bool isWriteGuarded() const;
    void setWriteGuarded(bool guarded);

    /// Back to the defaults of a fresh process.
    void reset();

private:
    Platform();
    struct State;
    std::unique_ptr<State> _state;
};

/// The write guard for the length of a scope.
class WriteGuard {
public:
    WriteGuard();
    ~WriteGuard();
    WriteGuard(const WriteGuard&) = delete;
    WriteGuard& operator=(const WriteGuard&) = delete;

private:
    bool _before;
};

std::string NSHomeDirectory();

/// One line on the system log.
template <class... Arguments>
void NSLog(std::string_view format, const Arguments&... arguments)
{
    Platform::shared().consoleLog(stringWithFormat(format, arguments...));
}

}  // namespace kt
