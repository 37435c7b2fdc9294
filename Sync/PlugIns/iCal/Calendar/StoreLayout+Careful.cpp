// Rewrites a store so that what did not change keeps its text.

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/HostInterface/KTCarefulWriting.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/PlugIns/iCal/Calendar/CarefulItems.h"
#include "Sync/PlugIns/iCal/Calendar/CarefulStore.h"
#include "Sync/PlugIns/iCal/Calendar/GivenUp.h"
#include "Sync/PlugIns/iCal/Calendar/HostAndSystemLog.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"
#include "Sync/PlugIns/iCal/Calendar/StoreEdits.h"
#include "Sync/PlugIns/iCal/Calendar/StoreLayout.h"

namespace kt {

namespace {

std::string titleOf(const KTSyncCalendar& calendar) { return calendar.title().value_or(""); }

/// Whether a rewrite has to do with items of such a calendar: iCal makes birthdays from the address
/// book.
bool hasItems(const KTSyncCalendar& calendar)
{
    return calendar.calendarType() != kCalendarTypeGroup &&
           calendar.calendarType() != kCalendarTypeBirthday;
}

}  // namespace

/// One such rewrite: worked out whole, then backed up, then done.
class StoreLayout::CarefulRewrite {
public:
    CarefulRewrite(const StoreLayout& layout, KTSyncPluginHelper* pluginHelper,
                   const CarefulStore& store)
        : _layout(layout),
          _pluginHelper(pluginHelper),
          _store(store),
          _items(store.loaded),
          _rewriting{store.loaded.unread, _items, [this] { saveOnce(); }}
    {}

    bool run()
    {
        _layout.planDescriptions(_pluginHelper, _store, _edits);
        for (const CarefulCalendar& calendar : _store.calendars) {
            if (hasItems(*calendar.calendar))
                planItems(calendar);
            const auto folder = calendar.calendar->corestoragePath();
            if (calendar.stored == nullptr && folder)
                _foldersUnderWay.push_back(*folder);
        }
        planRemovals();
        removeWhatWasLeftBehind();
        _layout.planIndex(_pluginHelper, _store, _edits);
        if (_edits.empty())
            return true;
        noteFolders();
        saveOnce();
        const bool isDone = _edits.apply(_pluginHelper);
        synchronize();
        return isDone;
    }

private:
    /// Before anything is touched, and at most once. Throws Exception when what is going to be
    /// changed would stand nowhere else.
    void saveOnce()
    {
        if (std::exchange(_isSaved, true) || _layout.saveStore())
            return;
        constexpr std::string_view kReason =
            "Der alte Kalenderbestand konnte nicht gesichert werden";
        logToHostAndSystem(_pluginHelper, "Fehler: %@", kReason);
        const LossScope scope("", _layout.filesToBackup().front());
        reportLoss(KTLoss::Kind::unwritten, kReason);
        throw Exception(NSGenericException, std::string(kReason));
    }

    void planItems(const CarefulCalendar& calendar)
    {
        const std::string title = titleOf(*calendar.calendar);
        const LossScope ofCalendar(title, "", calendar.calendar->recordKey().value_or(""));
        const auto folder = calendar.calendar->corestoragePath();
        if (!folder) {
            const LossScope scope(title, "");
            return reportLoss(KTLoss::Kind::curtailed,
                              "Der Kalender wird nicht geschrieben: sein Schlüssel ist kein "
                              "Ordnername");
        }
        if (calendar.stored != nullptr && !calendar.stored->areItemsLoaded) {
            if (calendar.items.empty())
                return;
            const LossScope scope(title, *folder);
            return reportLoss(KTLoss::Kind::unwritten,
                              "Der Kalender kann nicht gelesen werden, deshalb bleibt auch "
                              "Neues ungeschrieben");
        }
        CarefulItems(_pluginHelper, calendar.stored, _rewriting, _layout.filing(*folder), title)
            .plan(calendar.items, _edits);
        if (calendar.stored == nullptr)
            clear(_layout.itemsFolder(*folder), title);
    }

    /// Where a calendar comes into a folder that is there, what was in it is given up.
    void clear(const std::string& itemsFolder, const std::string& title)
    {
        for (const std::string& name :
             FileManager::defaultManager().directoryContentsAtPath(itemsFolder)) {
            const std::string path = stringByAppendingPathComponent(itemsFolder, name);
            if (pathExtension(name) == StorePaths::itemFileExtension && !_edits.writes(path))
                _edits.remove(path, title);
        }
    }

    void planRemovals()
    {
        std::unordered_set<const LoadedCalendar*> wanted;
        for (const CarefulCalendar& calendar : _store.calendars)
            wanted.insert(calendar.stored);
        for (const LoadedCalendar& loaded : _store.loaded.calendars) {
            if (!wanted.contains(&loaded))
                planRemoval(loaded);
        }
    }

    /// A folder with text that nobody could read stays with that text, as a calendar that cannot be
    /// read: with its description it would be read as a new one without items, and go to all other
    /// devices.
    void planRemoval(const LoadedCalendar& loaded)
    {
        const auto folder = loaded.calendar->storedFolder();
        if (!folder || (hasItems(*loaded.calendar) && !loaded.areItemsLoaded))
            return;
        const std::string title = titleOf(*loaded.calendar);
        if (!holdsUnread(*folder)) {
            _foldersUnderWay.push_back(*folder);
            return _edits.remove(*folder, title);
        }
        CarefulItems(_pluginHelper, &loaded, _rewriting, _layout.filing(*folder), title)
            .plan({}, _edits);
        _edits.remove(StorePaths::infoFile(*folder), title);
    }

    /// What a rewrite that was cut off made of calendars that the index never came to list, or left
    /// of such that it does not list any more.
    void removeWhatWasLeftBehind()
    {
        for (const std::string& folder : _layout.foldersLeftBehind()) {
            if (std::find(_foldersUnderWay.begin(), _foldersUnderWay.end(), folder) ==
                _foldersUnderWay.end())
                _edits.remove(folder, "");
        }
    }

    /// Should the index never come to say so, the next rewrite knows whose they are.
    void noteFolders() const
    {
        auto* const careful = hostClass<KTCarefulWriting>();
        if (careful == nullptr || !_layout.hasIndex() || _foldersUnderWay.empty())
            return;
        std::vector<std::string> names;
        for (const std::string& folder : _foldersUnderWay)
            names.push_back(lastPathComponent(folder));
        if (!careful->noteFolders(names))
            throw Exception(NSGenericException,
                            "Es konnte nicht vermerkt werden, welche Kalender geschrieben werden");
    }

    bool holdsUnread(const std::string& folder) const
    {
        for (const KTLoss& unread : _store.loaded.unread) {
            if (isBelow(unread.file, folder) && !isGivenUp(unread))
                return true;
        }
        return false;
    }

    void synchronize() const
    {
        const std::string folder = _layout.filesToBackup().front();
        if (!FileManager::defaultManager().synchronizeFileSystem(folder))
            logToHostAndSystem(_pluginHelper,
                               "Das Dateisystem konnte nicht synchronisiert werden: %@", folder);
    }

    const StoreLayout& _layout;
    KTSyncPluginHelper* _pluginHelper;
    const CarefulStore& _store;
    const StoredItems _items;
    const CarefulRewriting _rewriting;
    StoreEdits _edits;
    std::vector<std::string> _foldersUnderWay;  // of calendars that come or go
    bool _isSaved = false;
};

bool StoreLayout::writeCarefully(KTSyncPluginHelper* pluginHelper, const CarefulStore& store) const
{
    return CarefulRewrite(*this, pluginHelper, store).run();
}

std::vector<std::string> StoreLayout::foldersLeftBehind() const
{
    const auto* const careful = hostClass<KTCarefulWriting>();
    const auto noted =
        careful == nullptr ? std::vector<std::string>() : careful->foldersLeftBehind();
    if (noted.empty())
        return {};
    std::vector<std::string> folders = unlistedFolders();
    std::erase_if(folders, [&](const std::string& folder) {
        return std::find(noted.begin(), noted.end(), lastPathComponent(folder)) == noted.end();
    });
    return folders;
}

std::shared_ptr<KTSyncCalendar> StoreLayout::calendarAsStored(KTSyncPluginHelper* pluginHelper,
                                                              const LoadedCalendar& loaded)
{
    Dictionary record = loaded.record->record();
    record.setIfPresent("SourceKey", loaded.calendar->ownSourceKey());
    auto calendar =
        KTSyncCalendar::syncCalendarWithPluginHelper(pluginHelper, loaded.recordKey, record);
    calendar->setSelected(loaded.calendar->selected());
    calendar->setExpanded(loaded.calendar->expanded());
    return calendar;
}

}  // namespace kt
