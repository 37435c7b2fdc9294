// Reads the item files of a calendar's folder into its two lists.

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Sync/Foundation/FileManager.h"
#include "Sync/HostInterface/KTCarefulWriting.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/HostInterface/StorePaths.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar+Loading.h"
#include "Sync/PlugIns/iCal/Calendar/LoadedStore.h"
#include "Sync/PlugIns/iCal/Calendar/StoreLayout.h"

namespace kt {

void KTSyncCalendar::takeItemsFrom(const LoadedCalendar& earlier)
{
    const bool isSame = earlier.areItemsLoaded && earlier.recordKey == recordKey() &&
                        hostClass<KTCarefulWriting>() != nullptr;
    _earlier = isSame ? &earlier : nullptr;
}

std::optional<std::string> KTSyncCalendar::itemsFolder() const
{
    const std::optional<std::string> folder = corestoragePath();
    const auto layout = StoreLayout::ofHost(_pluginHelper);
    return folder && layout ? layout->itemsFolder(*folder) : folder;
}

bool KTSyncCalendar::loadEventsAndTasks()
{
    const std::optional<std::string> folder = itemsFolder();
    if (!folder) {
        logMsg(_pluginHelper, "loadEventsAndTasks: _corestoragePath == nil");
        return false;
    }
    if (!_events)
        _events.emplace();
    if (!_tasks)
        _tasks.emplace();
    const FileManager& files = FileManager::defaultManager();
    const auto names = files.listDirectory(*folder);
    if (!names && files.linkStatusAtPath(*folder)) {
        const LossScope scope(_title.value_or(""), *folder);
        reportUnread({KTLoss::Extent::calendar}, "Ordner kann nicht gelesen werden");
    }
    if (!names || names->empty()) {
        logMsg(_pluginHelper, "Es gibt keine Dateien fuer '%@' in '%@'", _title, folder);
        return true;
    }
    loadItemFiles(*folder, *names);
    return true;
}

void KTSyncCalendar::loadItemFiles(const std::string& folder, const std::vector<std::string>& names)
{
    Loading loading(*this, names.size());
    EarlierItems earlier(std::exchange(_earlier, nullptr), folder);
    for (const std::string& name : names) {
        if (pathExtension(name) != StorePaths::itemFileExtension)
            continue;
        const std::string path = stringByAppendingPathComponent(folder, name);
        if (const auto file = earlier.next(name); file && !loading.hasNewCopies(*file)) {
            loading.takeOver(*file);
            continue;
        }
        try {
            loading.loadFile(path);
        } catch (const Exception& exception) {
            logMsg(_pluginHelper, "[ICalCalendar loadEvents] fuer '%@': %@", _title,
                   exception.description());
            const LossScope scope(_title.value_or(""), path);
            reportUnread({KTLoss::Extent::calendar, "", Loading::digestOfFile(path)},
                         stringWithFormat("Kalender abgebrochen: %@", exception.description()));
            throw;
        }
    }
}

void KTSyncCalendar::dropItems()
{
    _events.reset();
    _tasks.reset();
    _sources.reset();
    _earlier = nullptr;
}

/// A list that was only filled in part would pass for the whole calendar, so it goes as well.
void KTSyncCalendar::loadBothLists()
{
    const auto drop = [&] { dropItems(); };
    _events.emplace();
    _tasks.emplace();
    try {
        if (!loadEventsAndTasks())
            drop();
    } catch (const Exception&) {
        drop();
        throw;
    }
}

}  // namespace kt
