#include "tests/support/SyncKit.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <SQLiteCpp/SQLiteCpp.h>
#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kt::test {

namespace fs = std::filesystem;

namespace {

constexpr uid_t kNobody = 65534;

std::vector<std::string> environment()
{
    std::vector<std::string> variables{"PATH=/usr/local/bin:/usr/bin:/bin", "TZ=Europe/Berlin",
                                       "HOME=/nonexistent"};
    for (const char* name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS", "LSAN_OPTIONS"})
        if (const char* value = std::getenv(name))
            variables.push_back(std::string(name) + "=" + value);
    return variables;
}

std::vector<char*> pointers(std::vector<std::string>& texts)
{
    std::vector<char*> list;
    for (std::string& text : texts)
        list.push_back(text.data());
    list.push_back(nullptr);
    return list;
}

void redirect(int descriptor, const std::string& path)
{
    const int file = ::open(path.c_str(), O_RDWR | O_CREAT, 0600);
    ::dup2(file, descriptor);
    ::close(file);
}

[[noreturn]] void becomeProgram(char* const* arguments, char* const* variables,
                                const TemporaryFolder& streams, RunAs runAs)
{
    redirect(STDOUT_FILENO, streams.path("out"));
    redirect(STDERR_FILENO, streams.path("err"));
    if (runAs == RunAs::nobody &&
        (::setgroups(0, nullptr) != 0 || ::setgid(kNobody) != 0 || ::setuid(kNobody) != 0))
        ::_exit(126);
    ::execve(arguments[0], arguments, variables);
    ::_exit(127);
}

/// Everything of a file that a change of it would change.
std::string stateOf(const fs::path& path)
{
    struct stat status {};
    ::lstat(path.c_str(), &status);
    std::ostringstream text;
    text << std::oct << status.st_mode << std::dec << ' ' << status.st_mtim.tv_sec << '.'
         << status.st_mtim.tv_nsec << ' ';
    if (S_ISREG(status.st_mode))
        text << status.st_size << ' ' << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

std::map<std::string, std::string> snapshotOf(const fs::path& folder)
{
    std::map<std::string, std::string> all{{"", stateOf(folder)}};
    for (const auto& item : fs::recursive_directory_iterator(folder))
        all[item.path().lexically_relative(folder).string()] = stateOf(item.path());
    return all;
}

std::string inVCalendar(const std::string& component)
{
    return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Apple Inc.//iCal 3.0//EN\r\n"
           "CALSCALE:GREGORIAN\r\n" +
           component + "END:VCALENDAR\r\n";
}

}  // namespace

nlohmann::ordered_json ProgramResult::json() const
{
    constexpr bool kThrows = false;
    auto parsed = nlohmann::ordered_json::parse(out, nullptr, kThrows);
    return parsed.is_discarded() ? nlohmann::ordered_json() : parsed;
}

ProgramResult runProgram(const std::string& name, const std::vector<std::string>& arguments,
                         RunAs runAs)
{
    const TemporaryFolder streams;
    std::vector<std::string> words{std::string(KT_PROGRAM_DIR) + "/" + name};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<std::string> variables = environment();
    const std::vector<char*> wordPointers = pointers(words);
    const std::vector<char*> variablePointers = pointers(variables);

    const pid_t child = ::fork();
    if (child == 0)
        becomeProgram(wordPointers.data(), variablePointers.data(), streams, runAs);
    int status = 0;
    ::waitpid(child, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status),
            streams.read("out").value_or(""), streams.read("err").value_or("")};
}

std::map<std::string, std::string> StoryServer::records() const
{
    std::map<std::string, std::string> all;
    if (!fs::exists(path()))
        return all;
    SQLite::Database database(path(), SQLite::OPEN_READONLY);
    SQLite::Statement rows(database, "SELECT conduit, key, revision, deleted, hash FROM records");
    while (rows.executeStep())
        all[rows.getColumn(0).getString() + " " + rows.getColumn(1).getString()] =
            rows.getColumn(2).getString() + " " + rows.getColumn(3).getString() + " " +
            rows.getColumn(4).getString();
    return all;
}

std::vector<std::string> StoryServer::sharings() const
{
    std::vector<std::string> keys;
    SQLite::Database database(path(), SQLite::OPEN_READONLY);
    SQLite::Statement rows(database, "SELECT key FROM sharings ORDER BY key");
    while (rows.executeStep())
        keys.push_back(rows.getColumn(0).getString());
    return keys;
}

std::string textForEvent(const StoryEvent& event)
{
    return inVCalendar("BEGIN:VEVENT\r\nSEQUENCE:" + std::to_string(event.sequence) +
                       "\r\nUID:" + event.title + "\r\nDTSTART;TZID=Europe/Berlin:" + event.start +
                       "\r\nDTEND;TZID=Europe/Berlin:" + event.end +
                       "\r\nDTSTAMP:20080110T080000Z\r\nSUMMARY:" + event.title + "\r\n" +
                       event.more + "END:VEVENT\r\n");
}

std::string textForTask(std::string_view title)
{
    return inVCalendar("BEGIN:VTODO\r\nSEQUENCE:1\r\nDTSTAMP:20080110T080000Z\r\nSUMMARY:" +
                       std::string(title) + "\r\nEND:VTODO\r\n");
}

void StoryHome::addCalendar(const std::string& key, const std::string& title) const
{
    _folder.write("Library/Calendars/" + key + ".calendar/Info.plist",
                  "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n"
                  "<key>Checked</key><integer>1</integer>\n"
                  "<key>Color</key><string>#0E61B9FF</string>\n"
                  "<key>Key</key><string>" +
                      key +
                      "</string>\n<key>Notes</key><string></string>\n"
                      "<key>Order</key><integer>1</integer>\n<key>Title</key><string>" +
                      title +
                      "</string>\n<key>Type</key><string>Local</string>\n</dict>\n</plist>\n");
}

void StoryHome::addEvent(const std::string& calendar, const std::string& file,
                         const StoryEvent& event) const
{
    writeItem(calendar, file, textForEvent(event));
}

void StoryHome::writeItem(const std::string& calendar, const std::string& file,
                          std::string_view text) const
{
    _folder.write("Library/Calendars/" + calendar + ".calendar/Events/" + file, text);
}

void StoryHome::removeItem(const std::string& calendar, const std::string& file) const
{
    _folder.remove("Library/Calendars/" + calendar + ".calendar/Events/" + file);
}

std::string StoryHome::pathOf(const std::string& calendar, const std::string& file) const
{
    const std::string folder = _folder.path("Library/Calendars/" + calendar + ".calendar");
    return file.empty() ? folder : folder + "/Events/" + file;
}

std::vector<std::string> StoryHome::filesWith(const std::string& calendar,
                                              std::string_view text) const
{
    std::vector<std::string> found;
    for (const auto& [name, bytes] : _folder.tree())
        if (name.starts_with("Library/Calendars/" + calendar + ".calendar/Events/") &&
            bytes.find(text) != std::string::npos)
            found.push_back(fs::path(name).filename().string());
    return found;
}

ProgramResult StoryHome::run(std::vector<std::string> arguments, RunAs runAs) const
{
    arguments.insert(arguments.end(), {"--home", path(), "--server", _server.url()});
    return runProgram("icalsync", arguments, runAs);
}

ProgramResult StoryHome::sync(std::vector<std::string> arguments) const
{
    arguments.insert(arguments.begin(), "sync");
    return run(std::move(arguments));
}

std::vector<std::string> StoryHome::titles() const
{
    std::vector<std::string> all;
    for (const auto& record : run({"records"}).json())
        all.push_back(record["record"]["Title"]);
    std::sort(all.begin(), all.end());
    return all;
}

std::string StoryHome::calendarKey(const std::string& title) const
{
    for (const auto& calendar : run({"calendars", "--json"}).json())
        if (calendar["title"] == title)
            return calendar["key"];
    return "";
}

std::map<std::string, std::string> StoryHome::snapshot() const { return snapshotOf(path()); }

std::map<std::string, std::string> StoryHome::storeSnapshot() const
{
    return snapshotOf(_folder.path("Library/Calendars"));
}

}  // namespace kt::test
