#include "Sync/Foundation/Platform.h"

#include <array>
#include <atomic>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <utility>

#include <pwd.h>
#include <unistd.h>

#include "Sync/Foundation/CalendarDate.h"
#include "Sync/Foundation/ChildProcess.h"
#include "Sync/Foundation/FileDescriptor.h"

namespace kt {

namespace {

std::string defaultHomeDirectory()
{
    if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0')
        return home;
    passwd entry{};
    passwd* found = nullptr;
    std::array<char, 16384> buffer{};
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 &&
        found != nullptr)
        return found->pw_dir;
    return "/";
}

/// The zone database's name in what /etc/timezone holds or /etc/localtime leads to.
std::optional<std::string> systemTimeZoneName()
{
    const auto files = makePosixFileManager();
    if (auto name = files->contentsAtPath("/etc/timezone")) {
        name->erase(name->find_last_not_of(" \t\r\n") + 1);
        if (isKnownTimeZone(*name))
            return name;
    }
    constexpr std::string_view kDatabase = "/zoneinfo/";
    std::array<char, 4096> target{};
    const ssize_t length = ::readlink("/etc/localtime", target.data(), target.size());
    const std::string_view link(target.data(), length < 0 ? 0 : static_cast<std::size_t>(length));
    const std::size_t database = link.find(kDatabase);
    if (database == std::string_view::npos)
        return std::nullopt;
    std::string name(link.substr(database + kDatabase.size()));
    if (!isKnownTimeZone(name))
        return std::nullopt;
    return name;
}

std::string defaultTimeZoneName()
{
    if (const char* variable = std::getenv("TZ")) {
        std::string_view name = variable;
        if (name.starts_with(':'))
            name.remove_prefix(1);
        if (isKnownTimeZone(name))
            return std::string(name);
    }
    return systemTimeZoneName().value_or("Etc/UTC");
}

Date currentDate()
{
    return Date{std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now())};
}

void logToStandardError(std::string_view line)
{
    std::string text(line);
    text += '\n';
    writeFully(STDERR_FILENO, text);  // one call, so that lines of two threads do not mix
}

void logAssertion(std::string_view description, std::string_view file, int line)
{
    Platform::shared().consoleLog(stringWithFormat("%@ (%@:%d)", description, file, line));
}

std::optional<Dictionary> refuseScript(const std::string&)
{
    return Dictionary{
        {"NSAppleScriptErrorMessage", "AppleScript ist auf diesem System nicht vorhanden"}};
}

}  // namespace

struct Platform::State {
    mutable std::mutex
        mutex;  // guards everything below; never held while a function of theirs runs
    std::optional<std::string> homeDirectory;
    std::optional<std::string> localTimeZoneName;
    Clock clock;
    ConsoleLog consoleLog;
    AssertionHandler assertionHandler;
    Launcher launcher;
    ScriptRunner scriptRunner;
    std::shared_ptr<FinderCatalog> finderCatalog;
    std::shared_ptr<ResourceForks> resourceForks;
    std::shared_ptr<FileManager> fileManager;
    std::shared_ptr<FileManager> readOnlyFileManager;  // in front of the above

    std::atomic<bool> isWriteGuarded{false};

    template <class T>
    T read(T State::*field) const
    {
        const std::lock_guard lock(mutex);
        return this->*field;
    }
    template <class T>
    void write(T State::*field, T value)
    {
        const std::lock_guard lock(mutex);
        std::swap(this->*field, value);
    }
};

Platform::Platform() : _state(std::make_unique<State>()) { reset(); }

Platform& Platform::shared()
{
    static Platform platform;
    return platform;
}

void Platform::reset()
{
    setHomeDirectory({});
    setLocalTimeZoneName({});
    setClock({});
    setConsoleLog({});
    setAssertionHandler({});
    setLauncher({});
    setScriptRunner({});
    setFinderCatalog({});
    setResourceForks({});
    setFileManager({});
    setWriteGuarded(false);
}

std::string Platform::homeDirectory() const
{
    if (auto path = _state->read(&State::homeDirectory))
        return *path;
    return defaultHomeDirectory();
}

void Platform::setHomeDirectory(std::string path)
{
    _state->write(&State::homeDirectory,
                  path.empty() ? std::nullopt : std::optional(std::move(path)));
}

std::string Platform::localTimeZoneName() const
{
    if (auto name = _state->read(&State::localTimeZoneName))
        return *std::move(name);
    std::string name = defaultTimeZoneName();
    _state->write(&State::localTimeZoneName, std::optional(name));
    return name;
}

void Platform::setLocalTimeZoneName(std::string name)
{
    _state->write(&State::localTimeZoneName,
                  name.empty() ? std::nullopt : std::optional(std::move(name)));
}

Date Platform::now() const { return _state->read(&State::clock)(); }

void Platform::setClock(Clock clock)
{
    _state->write(&State::clock, clock ? std::move(clock) : Clock(currentDate));
}

void Platform::consoleLog(std::string_view line) const { _state->read (&State::consoleLog)(line); }

void Platform::setConsoleLog(ConsoleLog log)
{
    _state->write(&State::consoleLog, log ? std::move(log) : ConsoleLog(logToStandardError));
}

void Platform::assertionFailed(std::string_view description, std::string_view file, int line) const
{
    _state->read (&State::assertionHandler)(description, file, line);
}

void Platform::setAssertionHandler(AssertionHandler handler)
{
    _state->write(&State::assertionHandler,
                  handler ? std::move(handler) : AssertionHandler(logAssertion));
}

bool Platform::launch(const std::string& path, const std::vector<std::string>& arguments) const
{
    return _state->read(&State::launcher)(path, arguments);
}

void Platform::setLauncher(Launcher launcher)
{
    _state->write(&State::launcher,
                  launcher ? std::move(launcher) : Launcher(startDetachedProcess));
}

std::optional<Dictionary> Platform::runScript(const std::string& source) const
{
    return _state->read(&State::scriptRunner)(source);
}

void Platform::setScriptRunner(ScriptRunner runner)
{
    _state->write(&State::scriptRunner, runner ? std::move(runner) : ScriptRunner(refuseScript));
}

std::shared_ptr<FinderCatalog> Platform::finderCatalog() const
{
    return _state->read(&State::finderCatalog);
}

void Platform::setFinderCatalog(std::shared_ptr<FinderCatalog> catalog)
{
    if (!catalog)
        catalog = std::make_shared<FinderCatalog>();
    _state->write(&State::finderCatalog, std::move(catalog));
}

std::shared_ptr<ResourceForks> Platform::resourceForks() const
{
    return _state->read(&State::resourceForks);
}

void Platform::setResourceForks(std::shared_ptr<ResourceForks> forks)
{
    if (!forks)
        forks = std::make_shared<ResourceForks>();
    _state->write(&State::resourceForks, std::move(forks));
}

FileManager& Platform::fileManager() const
{
    return *_state->read(_state->isWriteGuarded ? &State::readOnlyFileManager
                                                : &State::fileManager);
}

void Platform::setFileManager(std::shared_ptr<FileManager> fileManager)
{
    if (!fileManager)
        fileManager = makePosixFileManager();
    _state->write(&State::readOnlyFileManager, makeReadOnlyFileManager(fileManager));
    _state->write(&State::fileManager, std::move(fileManager));
}

bool Platform::isWriteGuarded() const { return _state->isWriteGuarded; }

void Platform::setWriteGuarded(bool guarded) { _state->isWriteGuarded = guarded; }

WriteGuard::WriteGuard() : _before(Platform::shared().isWriteGuarded())
{
    Platform::shared().setWriteGuarded(true);
}

WriteGuard::~WriteGuard() { Platform::shared().setWriteGuarded(_before); }

std::string NSHomeDirectory() { return Platform::shared().homeDirectory(); }

}  // namespace kt
