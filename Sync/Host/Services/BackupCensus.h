#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace kt {

/// A calendar in a backup, as the backup's list shows it.
struct BackupCalendar {
    std::string folder;     // in the backup: "Calendars/KEY.calendar"
    std::string title;      // empty when its description could not be read
    std::string sourceKey;  // the calendar program's own key
    std::string recordKey;  // as `calendars` shows it; empty without a title
    std::size_t items = 0;  // events and tasks

    friend bool operator==(const BackupCalendar&, const BackupCalendar&) = default;
};

/// Counts what goes by: the calendars of a store of either layout and the items in them, told by
/// the lines that begin them.
class BackupCensus {
public:
    /// The next bytes of a file, by its path in the backup. The files come one after another, each
    /// from its beginning.
    void add(const std::string& path, std::string_view bytes);
    /// By folder.
    std::vector<BackupCalendar> calendars() const;

    /// Whether a census wants to see the file at all.
    static bool counts(std::string_view path);

private:
    void countItems(BackupCalendar& calendar, std::string_view bytes);
    void beginFile(const std::string& path);

    std::map<std::string, BackupCalendar> _calendars;
    std::map<std::string, std::string> _descriptions;  // the calendars' Info.plist, by folder
    std::string _path;                                 // of the file that is going by
    std::string _lineBegun;  // what is known of the line that goes on in the next bytes
};

}  // namespace kt
