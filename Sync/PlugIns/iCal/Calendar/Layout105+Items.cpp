// One file an item, below the calendar's folder.

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
#include "Sync/PlugIns/iCal/Calendar/Layout105.h"

namespace kt {

/// The item files of one calendar while they are being written.
class Layout105::ItemWriter {
public:
    /// `text` is what is being built, for the caller to log.
    ItemWriter(const KTSyncCalendar& calendar, std::string folder, std::string& text)
        : _calendar(calendar),
          _folder(std::move(folder)),
          _text(text)
    {}

    /// False at the first file that could not be written.
    bool writeAll()
    {
        const auto* events = _calendar.heldEvents();
        const auto* tasks = _calendar.heldTasks();
        if ((events != nullptr && !events->empty()) || (tasks != nullptr && !tasks->empty()))
            createPath(_folder);
        return (events == nullptr || writeEvents(*events)) &&
               (tasks == nullptr || writeTasks(*tasks));
    }

private:
    bool writeEvents(const KTSyncCalendar::Events& events)
    {
        for (const auto& event : events) {
            event->setUID(uidOfSeries(*event));
            if (!write(*event))
                return false;
        }
        return true;
    }

    bool writeTasks(const KTSyncCalendar::Tasks& tasks)
    {
        for (const auto& task : tasks) {
            if (!write(*task))
                return false;
        }
        return true;
    }

    bool write(KTSyncCalendarItem& item)
    {
        // Files are named after keys alone, so there is no other place for a second item.
        const std::optional<std::string> key = item.recordKey();
        if (key && !_keys.insert(*key).second) {
            const LossScope scope(_calendar.title().value_or(""),
                                  StorePaths::itemFile105(_folder, *key));
            reportLoss(KTLoss::Kind::curtailed,
                       "Zwei Einträge haben denselben Schlüssel, der spätere gilt");
        }
        return writeFile(item, key.value_or(""));
    }

    bool writeFile(KTSyncCalendarItem& item, const std::string& key)
    {
        const std::string path = StorePaths::itemFile105(_folder, key);
        const LossScope scope(_calendar.title().value_or(""), path);
        _text = kItemFileHeader;
        _text += item.iCalLines();
        _text += kItemFileFooter;

        if (!StorePaths::isItemKey(key)) {
            refuse(item);
            return true;
        }
        if (FileManager::defaultManager().writeAtomically(_text, path))
            return true;
        logMsg(_calendar.pluginHelper(), "'%@' konnte nicht geschrieben werden", path);
        reportLoss(KTLoss::Kind::unwritten, "Datei konnte nicht geschrieben werden");
        return false;
    }

    /// Record keys come from other machines; one with a slash would lead out of the folder.
    void refuse(const KTSyncCalendarItem& item) const
    {
        logMsg(_calendar.pluginHelper(),
               "Kalender '%@': '%@' wird nicht geschrieben, '%@' ist als Dateiname nicht erlaubt",
               _calendar.title(), item.title(), item.recordKey());
        reportLoss(KTLoss::Kind::curtailed,
                   "Eintrag wird nicht geschrieben: sein Schlüssel ist kein Dateiname");
    }

    const KTSyncCalendar& _calendar;
    std::string _folder;
    std::string& _text;
    std::unordered_set<std::string> _keys;  // written so far
};

bool Layout105::storeItems(const KTSyncCalendar& calendar, const std::string& calendarFolder) const
{
    std::string text;
    const auto write = [&] {
        logMsg(calendar.pluginHelper(), "%@", calendar.description());
        logMsg(calendar.pluginHelper(), "%@ -> %@", calendar.title(), calendarFolder);
        createPath(calendarFolder);
        // iCal makes birthdays from the address book.
        return calendar.calendarType() == kCalendarTypeBirthday ||
               ItemWriter(calendar, itemsFolder(calendarFolder), text).writeAll();
    };
    return guarded(
        calendar.fileLogger(), "[KTSyncCalendar storeEventsAndTasks(105)]: %@\n%@",
        [&] { return text; }, write);
}

}  // namespace kt
