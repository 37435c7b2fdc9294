#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/HostInterface/KTSyncPluginHelper.h"
#include "Sync/PlugIns/iCal/Calendar/ItemSources.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncEvent.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncTask.h"

namespace kt {

struct LoadedCalendar;

// Calendar types; any other number is treated like an ordinary calendar.
inline constexpr std::int32_t kCalendarTypeNode = 0;
inline constexpr std::int32_t kCalendarTypeGroup = 1;
inline constexpr std::int32_t kCalendarTypeSubscriber = 2;
inline constexpr std::int32_t kCalendarTypeBirthday = 3;

// Formats of publishing settings: the key sets of the two systems.
inline constexpr int kPublisherFormat104 = 4;
inline constexpr int kPublisherFormat105 = 5;

/// One calendar or calendar group of iCal's store. Owns its items, which it loads from its folder
/// on demand and stores there, both as the layout of the host's system has it. Conduit
/// "ical-calendar".
class KTSyncCalendar {
public:
    using Events = std::vector<std::shared_ptr<KTSyncEvent>>;
    using Tasks = std::vector<std::shared_ptr<KTSyncTask>>;

    /// Null for a null helper.
    static std::shared_ptr<KTSyncCalendar> syncCalendarWithPluginHelper(
        KTSyncPluginHelper* pluginHelper, std::int32_t calendarType,
        std::optional<std::string> sourceKey, std::optional<std::string> parentRecordKey);
    static std::shared_ptr<KTSyncCalendar> syncCalendarWithPluginHelper(
        KTSyncPluginHelper* pluginHelper, std::optional<std::string> recordKey,
        const Dictionary& andSyncRecord);

    /// initWithPluginHelper:calendarType:sourceKey:parentRecordKey:
    KTSyncCalendar(KTSyncPluginHelper* pluginHelper, std::int32_t calendarType,
                   std::optional<std::string> sourceKey,
                   std::optional<std::string> parentRecordKey);
    /// initWithPluginHelper:recordKey:andSyncRecord:
    KTSyncCalendar(KTSyncPluginHelper* pluginHelper, std::optional<std::string> recordKey,
                   const Dictionary& syncRecord);

    /// Throws Exception, logged, when colour, title or notes are missing.
    Dictionary syncRecord() const;
    /// Counts the lists as they are, without loading them. Never throws an Exception.
    std::string description() const;

    /// Digest of title and type, kept once computed; nullopt, after the assertion handler, without
    /// a title.
    std::optional<std::string> recordKey() const;
    /// The source key, or the record key where there is none.
    std::optional<std::string> sourceKey() const;
    /// The calendar's folder, kept once computed; nullopt without a source key, for one that is no
    /// plain path component (logged once), and on a system without a store.
    std::optional<std::string> corestoragePath() const;
    std::string calendarTypeString() const;
    static std::int32_t calendarTypeForString(const std::optional<std::string>& string);

    /// Loaded on first use; null when the items could not be loaded, and then tried again next
    /// time. Asking for a list that is missing loads both anew, whatever was added to the other.
    const Events* events();
    const Tasks* tasks();
    /// The lists as they are, without loading; null when there is none yet.
    const Events* heldEvents() const { return _events ? &*_events : nullptr; }
    const Tasks* heldTasks() const { return _tasks ? &*_tasks : nullptr; }
    /// Append without loading.
    void addEvent(std::shared_ptr<KTSyncEvent> event);
    void addTask(std::shared_ptr<KTSyncTask> task);

    /// Reads every item file of the folder and appends to the two lists. A file that cannot be read
    /// is logged and told as a loss, and the rest goes on. False only without a folder path; throws
    /// Exception, logged, when an item cannot be made.
    bool loadEventsAndTasks();
    /// Writes the lists in the layout of the running system. False without a folder path or after a
    /// failed write, with what was written before it in place; throws Exception, logged, when an
    /// item cannot be put into text.
    bool storeEventsAndTasks();

    /// What the running system's layout keeps of this calendar: its node in the 10.4 node file, or
    /// the content of its 10.5 Info.plist. Throws Exception, logged, when publishing settings are
    /// no dictionary, and in 10.5 when colour, title or notes are missing.
    Dictionary iCalNode() const;
    /// Publishing settings in the key set of a format (kPublisherFormat104, ...105); nullopt where
    /// there is no conversion.
    std::optional<Dictionary> convertPublisher(const Dictionary& publisher, int toFormat) const;
    /// The calendar's own settings in that format. Nullopt when there are none, and when they have
    /// no form in it, which is told as a loss. Throws Exception when they are no dictionary.
    std::optional<Dictionary> publisherInFormat(int format) const;

    KTSyncPluginHelper* pluginHelper() const { return _pluginHelper; }
    /// The host's; may be null.
    KTFileLogger* fileLogger() const;
    std::int32_t calendarType() const { return _calendarType; }
    /// iCal's own key; nullopt for a calendar that iCal does not know yet.
    const std::optional<std::string>& ownSourceKey() const { return _sourceKey; }
    const std::optional<std::string>& title() const { return _title; }
    void setTitle(std::optional<std::string> title) { _title = std::move(title); }
    const std::optional<std::string>& color() const { return _color; }
    void setColor(std::optional<std::string> color) { _color = std::move(color); }
    /// Never nil: supplies, and keeps, the empty string.
    const std::string& notes();
    void setNotes(std::optional<std::string> notes);
    /// The notes as they are.
    const std::optional<std::string>& ownNotes() const { return _notes; }
    std::int32_t order() const { return _order; }
    void setOrder(std::int32_t order) { _order = order; }
    const std::optional<std::string>& parentRecordKey() const { return _parentRecordKey; }
    void setParentRecordKey(std::optional<std::string> key) { _parentRecordKey = std::move(key); }
    /// The folder that it was read from; nullopt for what was not, and for groups of a layout that
    /// has no folders for them.
    const std::optional<std::string>& storedFolder() const { return _storedFolder; }
    void setStoredFolder(std::optional<std::string> folder) { _storedFolder = std::move(folder); }
    /// Where the items that were loaded stand, in the order of the lists; moved out. Nullopt when
    /// nothing was loaded, and where the host does not ask for careful writing.
    std::optional<ItemSources> takeItemSources() { return std::exchange(_sources, std::nullopt); }
    /// Lets the next loading of the items take over what an earlier one found in files that stand
    /// as they stood then: the lists hold null for those items, ItemSources says which they are.
    /// All is read where that was a calendar of another key. Not owned, outlives that loading.
    void takeItemsFrom(const LoadedCalendar& earlier);
    /// Forgets the items, which are loaded anew when they are asked for.
    void dropItems();
    const std::optional<std::string>& imapFolderKey() const { return _imapFolderKey; }
    void setImapFolderKey(std::optional<std::string> key) { _imapFolderKey = std::move(key); }
    /// Nil or a dictionary when well formed; kept as it came.
    const Value& publisher() const { return _publisher; }
    void setPublisher(Value publisher) { _publisher = std::move(publisher); }
    const Value& subscriber() const { return _subscriber; }
    void setSubscriber(Value subscriber) { _subscriber = std::move(subscriber); }
    const Value& subscriberData() const { return _subscriberData; }
    void setSubscriberData(Value data) { _subscriberData = std::move(data); }
    bool selected() const { return _selected; }
    void setSelected(bool selected) { _selected = selected; }
    bool expanded() const { return _expanded; }
    void setExpanded(bool expanded) { _expanded = expanded; }
    bool alarmsDisabled() const { return _alarmsDisabled; }
    void setAlarmsDisabled(bool disabled) { _alarmsDisabled = disabled; }

private:
    class Loading;  // one run over the item files

    void takeRecord(const Dictionary& syncRecord);
    std::optional<std::string> computedCorestoragePath() const;

    void loadBothLists();
    std::optional<std::string> itemsFolder() const;
    void loadItemFiles(const std::string& folder, const std::vector<std::string>& names);

    KTSyncPluginHelper* _pluginHelper;  // not owned
    std::int32_t _calendarType = kCalendarTypeNode;
    std::optional<std::string> _sourceKey;
    std::optional<std::string> _title;
    std::optional<std::string> _color;
    std::optional<std::string> _notes;
    std::int32_t _order = 0;
    mutable std::optional<std::string> _corestoragePath;  // once computed
    mutable bool _isSourceKeyRefused = false;             // said so in the log
    mutable std::optional<std::string> _recordKey;        // given, or once computed
    std::optional<std::string> _parentRecordKey;
    std::optional<std::string> _imapFolderKey;
    std::optional<Events> _events;
    std::optional<Tasks> _tasks;
    std::optional<ItemSources> _sources;
    const LoadedCalendar* _earlier = nullptr;
    std::optional<std::string> _storedFolder;
    Value _publisher;
    Value _subscriber;
    Value _subscriberData;
    bool _selected = true;
    bool _expanded = true;
    bool _alarmsDisabled = false;
};

}  // namespace kt
