#include "tests/support/SyncKit.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <SQLiteCpp/SQLiteCpp.h>
#include <sys/stat.h>

#include "tests/support/RunningProgram.h"

namespace kt::test {

namespace fs = std::filesystem;

namespace {

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
    return RunningProgram(name, arguments, runAs).end();
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
