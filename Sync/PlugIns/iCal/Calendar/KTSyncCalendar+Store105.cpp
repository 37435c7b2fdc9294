// The 10.5 layout: one file an item, below the calendar's folder in "Events".

#include <string_view>

#include "Sync/Additions/KTFileManagerAdditions.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/PlugIns/iCal/Calendar/ItemFile.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"
#include "Sync/PlugIns/iCal/Calendar/StorePaths.h"

namespace kt {

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
    if (_events) {
        for (const auto& event : *_events) {
            event->setUID(uidOfSeries(*event));
            if (!writeItem105(*event, items, text))
                return false;
        }
    }
    if (_tasks) {
        for (const auto& task : *_tasks) {
            if (!writeItem105(*task, items, text))
                return false;
        }
    }
    return true;
}

bool KTSyncCalendar::writeItem105(KTSyncCalendarItem& item, const std::string& folder,
                                  std::string& text) const
{
    text = kItemFileHeader;
    text += item.iCalLines();
    text += kItemFileFooter;

    const std::string key = item.recordKey().value_or("");
    const std::string name = stringWithFormat("%@.ics", key);
    const std::string path = stringByAppendingPathComponent(folder, name);
    const LossScope scope(_title.value_or(""), path);
    if (!isPlainPathComponent(key) || !isPlainPathComponent(name)) {
        // Record keys come from other machines; one with a slash would lead out of the folder.
        logMsg(_pluginHelper,
               "Kalender '%@': '%@' wird nicht geschrieben, '%@' ist als Dateiname nicht erlaubt",
               _title, item.title(), item.recordKey());
        reportLoss("Eintrag wird nicht geschrieben: sein Schlüssel ist kein Dateiname");
        return true;
    }
    if (FileManager::defaultManager().writeAtomically(text, path))
        return true;
    logMsg(_pluginHelper, "'%@' konnte nicht geschrieben werden", path);
    reportLoss("Datei konnte nicht geschrieben werden");
    return false;
}

}  // namespace kt
