#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "tests/support/TemporaryFolder.h"

// What the stories of the command line are told with: homes, a server between them, and the program
// itself, run as a person runs it.

namespace kt::test {

struct ProgramResult {
    int exitCode = -1;  // 128 and the signal's number when a signal ended it
    std::string out;
    std::string err;

    /// Standard output as JSON; null when it is none.
    nlohmann::ordered_json json() const;
};

enum class RunAs {
    self,
    nobody,  // somebody without any rights; only for tests that run as root
};

/// Runs a program of this build to its end, in the zone Europe/Berlin and without a home of its
/// own.
ProgramResult runProgram(const std::string& name, const std::vector<std::string>& arguments,
                         RunAs runAs = RunAs::self);

/// The server of a story: a file that the first home makes.
class StoryServer {
public:
    std::string url() const { return "sqlite:" + path(); }
    std::string path() const { return _folder.path("server.sqlite"); }
    /// Every record the server holds, tombstones included, by conduit and key: revision, deletion
    /// and the content's hash.
    std::map<std::string, std::string> records() const;
    /// The keys of what is public.
    std::vector<std::string> sharings() const;

private:
    TemporaryFolder _folder;
};

/// What an event of a story is made of.
struct StoryEvent {
    std::string title;
    std::string start = "20080116T083000";  // in Europe/Berlin
    std::string end = "20080116T091500";
    int sequence = 1;
    std::string more{};  // further property lines, each ended by CR LF
};

/// The text of an item file, CR LF.
std::string textForEvent(const StoryEvent& event);
std::string textForTask(std::string_view title);

/// One device: a home and the arguments that every command on it gets.
class StoryHome {
public:
    explicit StoryHome(const StoryServer& server) : _server(server) {}

    const TemporaryFolder& folder() const { return _folder; }
    std::string path() const { return _folder.path(); }

    // The 10.5 store, as the calendar program would change it.
    void addCalendar(const std::string& key, const std::string& title) const;
    void addEvent(const std::string& calendar, const std::string& file,
                  const StoryEvent& event) const;
    void writeItem(const std::string& calendar, const std::string& file,
                   std::string_view text) const;
    void removeItem(const std::string& calendar, const std::string& file) const;
    /// Path of an item file; of the calendar's folder without a file.
    std::string pathOf(const std::string& calendar, const std::string& file = "") const;
    /// The item files of a calendar in which the text occurs.
    std::vector<std::string> filesWith(const std::string& calendar, std::string_view text) const;

    ProgramResult run(std::vector<std::string> arguments, RunAs runAs = RunAs::self) const;
    /// sync with further arguments.
    ProgramResult sync(std::vector<std::string> arguments = {}) const;

    /// The titles of all records, sorted; those of records that are there twice stand there twice.
    std::vector<std::string> titles() const;
    /// The record's key of the calendar of that title.
    std::string calendarKey(const std::string& title) const;

    /// Names, kinds, sizes, times of change and contents of all below the home, or of its store
    /// alone: what must not move when nothing may move.
    std::map<std::string, std::string> snapshot() const;
    std::map<std::string, std::string> storeSnapshot() const;

private:
    const StoryServer& _server;
    TemporaryFolder _folder;
};

}  // namespace kt::test
