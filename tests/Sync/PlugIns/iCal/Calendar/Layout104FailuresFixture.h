#pragma once

#include <memory>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "tests/Sync/PlugIns/iCal/Calendar/Store104Fixture.h"
#include "tests/support/FailingFileManager.h"

namespace kt::test {

inline constexpr const char* kNotSaved = "Fehler (1): 'Sources' konnte nicht gesichert werden";
inline constexpr const char* kNotMoved =
    "Fehler (2): 'Sources' konnte nicht gesichert/verschoben werden";
inline constexpr const char* kNotMade = "Fehler (3): 'Sources' konnte nicht neu angelegt werden";
inline constexpr const char* kNotBack = "Fehler (3): 'Sources' konnte nicht zurueckkopiert werden";
inline constexpr const char* kNodesNotWritten =
    "Fehler: Die nodes.plist fuer iCal konnte nicht zurueckgeschrieben werden";
inline constexpr const char* kNodesNotSaved =
    "Fehler: Die nodes.plist von iCal konnte nicht gesichert werden";
inline constexpr const char* kNodesNotMoved =
    "Fehler: Die nodes.plist von iCal konnte nicht verschoben werden";
inline constexpr const char* kNodesNotReplaced =
    "Fehler: Die nodes.plist fuer iCal konnte nicht ersetzt werden";

/// What stands where. Each place holds the "older" store of a former rewrite, the "old" one, the
/// "new" one, something "empty", or "none".
struct Disk {
    std::string sources, sourcesAside, nodes, nodesAside;  // in iCal's folder
    std::string sourcesBackup, nodesBackup, newNodes;      // in the plug-in's

    friend bool operator==(const Disk&, const Disk&) = default;
    friend void PrintTo(const Disk& disk, std::ostream* out)
    {
        *out << "iCal: Sources " << disk.sources << ", Sources.bak " << disk.sourcesAside
             << ", nodes.plist " << disk.nodes << ", nodes.plist.bak " << disk.nodesAside
             << "; plug-in: Sources.bak " << disk.sourcesBackup << ", nodes.plist.bak "
             << disk.nodesBackup << ", nodes.plist " << disk.newNodes;
    }
};

class Layout104Failures : public Store104Fixture {
protected:
    const Disk before{"old", "older", "old", "older", "older", "older", "older"};
    const Disk rewritten{"new", "old", "new", "old", "old", "old", "new"};

    /// Every place filled, so that what fails to be removed is still there.
    void prepare() const
    {
        home.remove("Library");
        for (const std::string& side : {kICal, kPlugin}) {
            home.write(side + "Sources.bak/older.calendar/corestorage.ics", "older");
            home.write(side + "nodes.plist.bak", nodes("older"));
        }
        home.write(kPlugin + "nodes.plist", nodes("older"));
        writeCalendar("old", "Alt");
        home.write(kNodeFile, nodes("old"));
    }
    static std::string nodes(const std::string& sourceKey)
    {
        return xmlPropertyList(
            Dictionary{{"Version", 2}, {"List", Array{calendarNode(sourceKey)}}});
    }
    Disk disk() const
    {
        return Disk{sources(kICal + "Sources"),
                    sources(kICal + "Sources.bak"),
                    nodeFile(kNodeFile),
                    nodeFile(kICal + "nodes.plist.bak"),
                    sources(kPlugin + "Sources.bak"),
                    nodeFile(kPlugin + "nodes.plist.bak"),
                    nodeFile(kPlugin + "nodes.plist")};
    }
    bool rewrite()
    {
        const auto made = calendar(kCalendarTypeNode, "new");
        made->addTask(task("SUMMARY:Einkaufen"));
        return store->storeCalendars({made});
    }
    /// An operation with short paths: "movePath Sources -> Sources.bak", the plug-in's folder as
    /// "plug-in/".
    std::string shortened(std::string operation) const
    {
        const auto replace = [&](const std::string& what, const std::string& with) {
            for (auto at = operation.find(what); at != std::string::npos; at = operation.find(what))
                operation.replace(at, what.size(), with);
        };
        replace(home.path(kICal), "");
        replace(home.path(kPlugin), "plug-in/");
        replace(home.path("Library/Application Support/"), "~");
        return operation;
    }
    std::shared_ptr<FailingFileManager> failing(const std::set<std::string>& operations) const
    {
        return failFileOperations([this, operations](const std::string& operation) {
            return operations.contains(shortened(operation));
        });
    }
    /// The lines of the writer itself, which stand on both logs.
    std::vector<std::string> errors() const { return platform.consoleLines(); }

private:
    std::string sources(const std::string& folder) const
    {
        const auto names = FileManager::defaultManager().listDirectory(home.path(folder));
        if (!names || names->empty())
            return names ? "empty" : "none";
        return names->size() == 1 ? names->front().substr(0, names->front().find('.')) : "several";
    }
    std::string nodeFile(const std::string& file) const
    {
        if (!home.exists(file))
            return "none";
        const Array list = storedNodes(file);
        return list.empty() ? std::string("empty")
                            : std::string(list.front().dictionary()["SourceKey"].string());
    }
};

}  // namespace kt::test
