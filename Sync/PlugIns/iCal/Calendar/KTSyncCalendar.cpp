#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "Sync/Foundation/Digest.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/HostInterface/StorePaths.h"
#include "Sync/PlugIns/iCal/Calendar/StoreLayout.h"

namespace kt {

namespace {

constexpr std::string_view kSourceFile = "Sync/PlugIns/iCal/Calendar/KTSyncCalendar";
constexpr int kRecordKeyLine = 205;

// By calendar type.
constexpr std::array<std::string_view, 4> kTypeStrings = {"CalendarNode", "CalendarGroup",
                                                          "CalendarSubscriber", "BirthdayCalendar"};

/// Older records hold the publishing settings as the only element of an array.
Value publisherInRecord(const Value& publisher)
{
    if (!publisher.isArray())
        return publisher;
    return publisher.array().empty() ? Value() : publisher.array().front();
}

}  // namespace

std::shared_ptr<KTSyncCalendar> KTSyncCalendar::syncCalendarWithPluginHelper(
    KTSyncPluginHelper* pluginHelper, std::int32_t calendarType,
    std::optional<std::string> sourceKey, std::optional<std::string> parentRecordKey)
{
    if (pluginHelper == nullptr)
        return nullptr;
    return std::make_shared<KTSyncCalendar>(pluginHelper, calendarType, std::move(sourceKey),
                                            std::move(parentRecordKey));
}

std::shared_ptr<KTSyncCalendar> KTSyncCalendar::syncCalendarWithPluginHelper(
    KTSyncPluginHelper* pluginHelper, std::optional<std::string> recordKey,
    const Dictionary& andSyncRecord)
{
    if (pluginHelper == nullptr)
        return nullptr;
    return std::make_shared<KTSyncCalendar>(pluginHelper, std::move(recordKey), andSyncRecord);
}

KTSyncCalendar::KTSyncCalendar(KTSyncPluginHelper* pluginHelper, std::int32_t calendarType,
                               std::optional<std::string> sourceKey,
                               std::optional<std::string> parentRecordKey)
    : _pluginHelper(pluginHelper),
      _calendarType(calendarType),
      _sourceKey(std::move(sourceKey)),
      _parentRecordKey(std::move(parentRecordKey))
{}

KTSyncCalendar::KTSyncCalendar(KTSyncPluginHelper* pluginHelper,
                               std::optional<std::string> recordKey, const Dictionary& syncRecord)
    : _pluginHelper(pluginHelper),
      _recordKey(std::move(recordKey))
{
    guarded(
        fileLogger(), "[KTSyncCalendar init]:\n%@\n%@", [&] { return syncRecord.description(); },
        [&] { takeRecord(syncRecord); });
}

// What of a calendar does not travel in a record keeps its default: selected and expanded.
void KTSyncCalendar::takeRecord(const Dictionary& syncRecord)
{
    _parentRecordKey = syncRecord["ParentRecordKey"].stringOrNil();
    _calendarType = calendarTypeForString(syncRecord["Type"].stringOrNil());
    _imapFolderKey = syncRecord["IMAPFolderKey"].stringOrNil();
    _title = syncRecord["Title"].stringOrNil();
    _color = syncRecord["Color"].stringOrNil();
    _notes = syncRecord["Notes"].stringOrNil();
    _order = syncRecord["Order"].intValue();
    _sourceKey = syncRecord["SourceKey"].stringOrNil();
    _publisher = publisherInRecord(syncRecord["Publisher"]);
    _subscriber = syncRecord["Subscriber"];
    _subscriberData = syncRecord["SubscriberData"];
    _alarmsDisabled = syncRecord["AlarmsDisabled"].boolValue();
}

KTFileLogger* KTSyncCalendar::fileLogger() const
{
    return _pluginHelper == nullptr ? nullptr : _pluginHelper->fileLogger();
}

Dictionary KTSyncCalendar::syncRecord() const
{
    Dictionary record;
    guarded(
        fileLogger(), "[KTSyncCalendar syncRecord]:\n%@\n%@", [&] { return record.description(); },
        [&] {
            record.setIfPresent("ParentRecordKey", _parentRecordKey);
            record.setIfPresent("IMAPFolderKey", _imapFolderKey);
            record.set("Order", _order);
            record.set("Type", calendarTypeString());
            record.set("Color", _color);
            record.set("Title", _title);
            record.set("Notes", _notes);
            record.setIfPresent("Publisher", _publisher);
            record.setIfPresent("Subscriber", _subscriber);
            record.setIfPresent("SubscriberData", _subscriberData);
            if (_calendarType != kCalendarTypeGroup)
                record.set("SourceKey", sourceKey());
            record.set("AlarmsDisabled", _alarmsDisabled ? 1 : 0);
        });
    return record;
}

std::string KTSyncCalendar::description() const
{
    const auto describe = [&] {
        return stringWithFormat("Name:'%@', Farbe:'%@', Typ:'%@', %d Ereignisse, %d Aufgaben%@%@",
                                _title.value_or("(Kein Name)"), _color.value_or("(Keine Farbe)"),
                                calendarTypeString(), _events ? _events->size() : 0,
                                _tasks ? _tasks->size() : 0,
                                _calendarType == kCalendarTypeNode && _selected ? ", selected" : "",
                                _calendarType == kCalendarTypeGroup && _expanded ? ", expanded"
                                                                                 : "");
    };
    return guardedOr(describe, [&](const Exception& exception) {
        logTo(fileLogger(), "[KTSyncCalendar description]:\n%@", exception.description());
        return std::string();
    });
}

std::optional<std::string> KTSyncCalendar::recordKey() const
{
    // Asked before the kept key is looked at: a calendar without a title is wrong in any case.
    if (!_title) {
        Platform::shared().assertionFailed("_title == nil", kSourceFile, kRecordKeyLine);
        return std::nullopt;
    }
    if (!_recordKey)
        _recordKey = sha1DigestHex(*_title + calendarTypeString());
    return _recordKey;
}

std::optional<std::string> KTSyncCalendar::sourceKey() const
{
    return _sourceKey ? _sourceKey : recordKey();
}

std::optional<std::string> KTSyncCalendar::corestoragePath() const
{
    if (!_corestoragePath && _sourceKey)
        _corestoragePath = computedCorestoragePath();
    return _corestoragePath;
}

std::optional<std::string> KTSyncCalendar::computedCorestoragePath() const
{
    const auto layout = StoreLayout::ofHost(_pluginHelper);
    if (!layout)
        return std::nullopt;

    // Source keys come from other machines; one with a slash would lead out of the store.
    if (!StorePaths::isFolderKey(*_sourceKey)) {
        if (!_isSourceKeyRefused)
            logMsg(_pluginHelper, "Kalender '%@': '%@' ist als Ordnername nicht erlaubt", _title,
                   _sourceKey);
        _isSourceKeyRefused = true;
        return std::nullopt;
    }
    return layout->calendarFolder(*_sourceKey);
}

std::string KTSyncCalendar::calendarTypeString() const
{
    const auto isListed =
        _calendarType >= 0 && static_cast<std::size_t>(_calendarType) < kTypeStrings.size();
    return std::string(kTypeStrings[isListed ? static_cast<std::size_t>(_calendarType) : 0]);
}

std::int32_t KTSyncCalendar::calendarTypeForString(const std::optional<std::string>& string)
{
    const auto found =
        string ? std::find(kTypeStrings.begin(), kTypeStrings.end(), *string) : kTypeStrings.end();
    return found == kTypeStrings.end() ? kCalendarTypeNode
                                       : static_cast<std::int32_t>(found - kTypeStrings.begin());
}

const KTSyncCalendar::Events* KTSyncCalendar::events()
{
    if (!_events)
        loadBothLists();
    return _events ? &*_events : nullptr;
}

const KTSyncCalendar::Tasks* KTSyncCalendar::tasks()
{
    if (!_tasks)
        loadBothLists();
    return _tasks ? &*_tasks : nullptr;
}

void KTSyncCalendar::addEvent(std::shared_ptr<KTSyncEvent> event)
{
    if (!_events)
        _events.emplace();
    _events->push_back(std::move(event));
}

void KTSyncCalendar::addTask(std::shared_ptr<KTSyncTask> task)
{
    if (!_tasks)
        _tasks.emplace();
    _tasks->push_back(std::move(task));
}

const std::string& KTSyncCalendar::notes()
{
    if (!_notes)
        _notes.emplace();
    return *_notes;
}

void KTSyncCalendar::setNotes(std::optional<std::string> notes)
{
    _notes = std::move(notes).value_or("");
}

}  // namespace kt
