#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Sync/Foundation/Digest.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/PlugIns/iCal/Calendar/DigestTable.h"
#include "Sync/PlugIns/iCal/Calendar/EarlierItems.h"
#include "Sync/PlugIns/iCal/Calendar/EventCopies.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"

namespace kt {

/// One run over a calendar's files. Copies of an event are found across files, the occurrences of a
/// series within one.
class KTSyncCalendar::Loading {
public:
    /// The calendar has both of its lists, is not owned and outlives this.
    Loading(KTSyncCalendar& calendar, std::size_t fileCount);

    /// Whether one of the file's events is a copy of one that was found before it now, though it
    /// was none earlier.
    bool hasNewCopies(const EarlierItems::File& file) const;
    /// The file's items as they were found in it earlier.
    void takeOver(const EarlierItems::File& file);
    /// Logs and tells, as losses, what cannot be taken of it. Passes on the Exception of a
    /// component, logged.
    void loadFile(const std::string& path);

    /// Tells one content of a file from others, in what is told of it as a loss.
    static std::string digestOfFile(const std::string& path);

private:
    /// One component as it stands in the file, for the log: making an item empties its lines.
    struct AsRead {
        std::string description() const { return all[index].description(); }

        const FileComponents& all;
        std::size_t index;
        std::string_view name;  // of the component
    };

    // The file.

    /// Its status, where there is text.
    std::optional<FileStatus> readFile(const std::string& path);
    /// Leaves what stands inside the calendar.
    bool opensCalendar(std::string_view& text) const;
    void refuseFile(std::string_view reason) const;
    void refuseEmptyFile(std::string_view reason) const;

    // Its components.

    void loadItems(FileLines lines);
    /// Grows once for a file of many events, not over and over; small files grow as they go.
    void makeRoomForEvents(std::size_t count);
    void loadComponents(const FileComponents& components, std::string_view name,
                        std::string_view failure, void (Loading::*load)(LineList&, const AsRead&));
    void loadEvent(LineList& component, const AsRead& asRead);
    void loadTask(LineList& component, const AsRead& asRead);
    /// A component that gives no record.
    void refuse(const AsRead& asRead, const Value& uid, std::string_view reason);
    /// From its BEGIN to its END line.
    TextPlace placeOf(const AsRead& asRead) const;

    // Copies and occurrences.

    /// Enters the event, under the position that it is going to have; that of the event which it
    /// is a copy of, if there is one.
    std::uint32_t enter(const SHA1Digest& uniqueness, std::uint32_t position);
    void takeCopy(const KTSyncEvent& event, std::uint32_t of, const AsRead& asRead);
    SHA1Digest uniquenessOf(std::uint32_t event) const;
    /// Whether a component holds nothing that the event of that number does not. Without places
    /// nothing is kept, and the records decide.
    bool hasTextOf(std::uint32_t event, const AsRead& asRead);
    std::string_view textOfFile(std::uint32_t file);
    /// The series of this file by their UIDs, asked for only where there are occurrences.
    std::unordered_map<std::string, KTSyncEvent*> seriesByUID() const;
    void linkOccurrences() const;

    KTSyncCalendar& _calendar;
    KTSyncPluginHelper* _helper;
    KTFileLogger* _logger;
    const Value _parentKey;  // one text for all items
    DigestTable _known;      // where the events stand, by what makes them unique
    EventCopies _copies;
    std::optional<std::uint32_t> _otherFile;  // the last one that a copy's first stood in ...
    std::string _otherText;                   // ... and its text
    std::size_t _firstEventOfFile = 0;
    std::vector<KTSyncEvent*> _occurrences;  // of this file, detached; the calendar owns them
    std::string _path;                       // of this file
    std::string_view _text;                  // what it holds
    bool _hasCopiesInFile = false;
    ItemSources* _sources = nullptr;  // null where nobody asks for them
    const std::chrono::sys_time<std::chrono::nanoseconds> _begun = Platform::shared().now().instant;
};

}  // namespace kt
