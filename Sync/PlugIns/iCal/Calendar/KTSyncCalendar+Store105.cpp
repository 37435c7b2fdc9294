// The 10.5 layout: one file an item, below the calendar's folder in "Events".

#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>

#include "Sync/Additions/KTFileManagerAdditions.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/PlugIns/iCal/Calendar/ItemFile.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"
#include "Sync/PlugIns/iCal/Calendar/StorePaths.h"

namespace kt {

namespace {

constexpr std::string_view kItemFileExtension = ".ics";

std::string itemFile105(const std::string& folder, const std::string& key)
{
    return stringByAppendingPathComponent(folder, key + std::string(kItemFileExtension));
}

}  // namespace

bool KTSyncCalendar::storeEventsAndTasks105(const std::string& folder)
{
    std::string text;
    const auto write = [&] {
        logMsg(_pluginHelper, "%@", description());
        logMsg(_pluginHelper, "%@ -> %@", _title, folder);
        createPath(folder);
        // iCal makes birthdays from the address book.
        return _calendarType == kCalendarTypeBirthday || writeItems105(folder, text);
    };
    return guarded(
        fileLogger(), "[KTSyncCalendar storeEventsAndTasks(105)]: %@\n%@", [&] { return text; },
        write);
}

/// `text` is what is being built, for the caller to log.
bool KTSyncCalendar::writeItems105(const std::string& folder, std::string& text)
{
    const std::string items = StorePaths::eventsFolder(folder);
    if ((_events && !_events->empty()) || (_tasks && !_tasks->empty()))
        createPath(items);
    std::unordered_set<std::string> keys;
    const auto write = [&](KTSyncCalendarItem& item) {
        // Files are named after keys alone, so there is no other place for a second item.
        const std::optional<std::string> key = item.recordKey();
        if (key && !keys.insert(*key).second) {
            const LossScope scope(_title.value_or(""), itemFile105(items, *key));
            reportLoss(KTLoss::Kind::curtailed,
                       "Zwei Einträge haben denselben Schlüssel, der spätere gilt");
        }
        return writeItem105(item, items, text);
    };
    if (_events) {
        for (const auto& event : *_events) {
            event->setUID(uidOfSeries(*event));
            if (!write(*event))
                return false;
        }
    }
    if (_tasks) {
        for (const auto& task : *_tasks) {
            if (!write(*task))
                return false;
        }
    }
    return true;
}

bool KTSyncCalendar::writeItem105(KTSyncCalendarItem& item, const std::string& folder,
                                  std::string& text) const
{
    const std::string key = item.recordKey().value_or("");
    const std::string name = key + std::string(kItemFileExtension);
    const std::string path = itemFile105(folder, key);
    const LossScope scope(_title.value_or(""), path);
    text = kItemFileHeader;
    text += item.iCalLines();
    text += kItemFileFooter;

    if (!isPlainPathComponent(key) || !isPlainPathComponent(name)) {
        // Record keys come from other machines; one with a slash would lead out of the folder.
        logMsg(_pluginHelper,
               "Kalender '%@': '%@' wird nicht geschrieben, '%@' ist als Dateiname nicht erlaubt",
               _title, item.title(), item.recordKey());
        reportLoss(KTLoss::Kind::curtailed,
                   "Eintrag wird nicht geschrieben: sein Schlüssel ist kein Dateiname");
        return true;
    }
    if (FileManager::defaultManager().writeAtomically(text, path))
        return true;
    logMsg(_pluginHelper, "'%@' konnte nicht geschrieben werden", path);
    reportLoss(KTLoss::Kind::unwritten, "Datei konnte nicht geschrieben werden");
    return false;
}

}  // namespace kt
