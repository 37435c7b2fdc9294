#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/HostInterface/KTSyncPluginHelper.h"
#include "Sync/HostInterface/StorePaths.h"
#include "Sync/PlugIns/iCal/Calendar/ParsedCalendars.h"

namespace kt {

class KTSyncCalendar;
class KTSyncCalendarStore;
class KTSyncEvent;
class StoreEdits;
struct CarefulCalendar;
struct CarefulStore;
struct ItemFiling;
struct LoadedCalendar;

/// One of the forms that iCal's store has on disk: where its files stand, how it is read and
/// written whole, and what it keeps of a single calendar. Holds nothing but the paths of its home;
/// the calendars and the store ask it instead of telling systems apart.
class StoreLayout {
public:
    using Calendars = std::vector<std::shared_ptr<KTSyncCalendar>>;

    /// The layout of that minor system version; null for a system without a store that is known.
    /// Here, and nowhere else in the plug-in, system versions mean something.
    static std::unique_ptr<const StoreLayout> forSystemVersion(int version,
                                                               StorePaths paths = StorePaths());
    /// That of the system which the host reports; null without a host.
    static std::unique_ptr<const StoreLayout> ofHost(KTSyncPluginHelper* pluginHelper);
    /// Whether to offer calendars there at all: from the first system with a known layout on, later
    /// ones included, whose layout is not known yet.
    static bool isOfferedOnSystem(int version);

    virtual ~StoreLayout() = default;

    // Where things stand; absolute paths.

    /// `sourceKey` is a folder name (StorePaths::isFolderKey).
    virtual std::string calendarFolder(std::string_view sourceKey) const = 0;
    /// Where in a calendar's folder its item files stand.
    virtual std::string itemsFolder(std::string_view calendarFolder) const = 0;
    virtual std::vector<std::string> filesToBackup() const = 0;
    /// What iCal changes whenever it changes its store.
    virtual std::vector<std::string> filesToWatch() const = 0;

    // The whole store. It goes by what the store object says of its host, and asks it when an
    // operation on a folder fails.

    /// As KTSyncCalendarStore::calendars, but for an Exception, which is passed on.
    virtual std::optional<ParsedCalendars> read(KTSyncCalendarStore& store) const = 0;
    /// As KTSyncCalendarStore::storeCalendars, but for an Exception, which is passed on.
    virtual bool write(KTSyncCalendarStore& store, const Calendars& calendars) const = 0;

    // One calendar.

    /// As KTSyncCalendar::iCalNode.
    virtual Dictionary node(const KTSyncCalendar& calendar) const = 0;
    /// Writes the items that the calendar holds, without loading any, and what else the layout
    /// keeps beside them. Sets the UIDs of events. False after a failed write, with what was
    /// written before it in place; throws Exception, logged, when an item cannot be put into text.
    virtual bool storeItems(const KTSyncCalendar& calendar,
                            const std::string& calendarFolder) const = 0;

    /// Gives the store this content and keeps every text of it that did not change, or that could
    /// not be read. A calendar that is gone leaves such text in its folder, without a description
    /// but where 10.4 lists it: to the reader it is a calendar that cannot be read, so that the
    /// text goes on being told of, and no calendar comes back. Nothing is touched before all is
    /// worked out and the store is backed up. False when a file could not be written or removed,
    /// which is told as a loss; then nothing was removed that may stand nowhere else. Throws
    /// Exception, logged, for a record that cannot be taken, and when a file changed since it was
    /// loaded; then nothing has been written.
    bool writeCarefully(KTSyncPluginHelper* pluginHelper, const CarefulStore& store) const;

protected:
    explicit StoreLayout(StorePaths paths) : _paths(std::move(paths)) {}
    StoreLayout(const StoreLayout&) = default;
    StoreLayout& operator=(const StoreLayout&) = default;

    const StorePaths& paths() const { return _paths; }
    /// An occurrence carries the UID of its series.
    static Value uidOfSeries(const KTSyncEvent& event);

    // Of a careful rewrite.

    /// Where the items of a calendar stand.
    virtual ItemFiling filing(const std::string& calendarFolder) const = 0;
    /// Makes the plug-in's backup the copy of the store; false when it is not whole.
    virtual bool saveStore() const = 0;
    /// What describes each calendar, written before its items.
    virtual void planDescriptions(KTSyncPluginHelper* pluginHelper, const CarefulStore& store,
                                  StoreEdits& edits) const = 0;
    /// What lists the calendars, written after them.
    virtual void planIndex(KTSyncPluginHelper* pluginHelper, const CarefulStore& store,
                           StoreEdits& edits) const = 0;
    /// Whether a folder is a calendar only if an index lists it, and those of that kind that it
    /// does not list; absolute paths. Throws Exception when the index cannot be read.
    virtual bool hasIndex() const { return false; }
    virtual std::vector<std::string> unlistedFolders() const { return {}; }
    /// The calendar of the store as its record makes it, with its view.
    static std::shared_ptr<KTSyncCalendar> calendarAsStored(KTSyncPluginHelper* pluginHelper,
                                                            const LoadedCalendar& loaded);

private:
    friend class CalendarPlaces;
    class CarefulRewrite;

    std::vector<std::string> foldersLeftBehind() const;

    StorePaths _paths;
};

}  // namespace kt
