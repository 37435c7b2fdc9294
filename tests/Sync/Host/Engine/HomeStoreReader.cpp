#include "tests/Sync/Host/Engine/HomeStoreReader.h"

#include <algorithm>
#include <map>
#include <utility>

#include <gtest/gtest.h>

#include "Sync/Foundation/Platform.h"
#include "Sync/Host/Services/HostClasses.h"
#include "Sync/HostInterface/StorePaths.h"
#include "Sync/PlugIns/iCal/Calendar/ItemFile.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"
#include "Sync/PlugIns/iCal/ICalHelper.h"
#include "tests/Sync/Host/Engine/HomeItemTexts.h"
#include "tests/Sync/Host/Engine/HomeStoreWriter.h"
#include "tests/support/ClassesInForce.h"
#include "tests/support/RecordingPluginHelper.h"

namespace kt::test {

namespace {

std::string text(const Dictionary& record, std::string_view field)
{
    const Value& value = record[field];
    return value.isString() ? std::string(value.string()) : std::string();
}

/// What of a record the item's own text says.
Dictionary ownFields(const Dictionary& record)
{
    Dictionary fields = record;
    for (const char* added :
         {"ParentRecordKey", "Timezone", "RecurrenceParentRecordKey", "RecurrenceExceptionDates"})
        fields.remove(added);
    return fields;
}

bool stands(const StoredText& stored)
{
    const auto bytes = FileManager::defaultManager().contentsAtPath(stored.path);
    return bytes && bytes->find(stored.text) != std::string::npos;
}

std::shared_ptr<const StoredText> textAt(const LoadedCalendar& loaded, const TextPlace& place,
                                         const Dictionary& fields)
{
    const std::string& path = loaded.files[place.file].path;
    const std::string text = itemFileText(path).value_or("");
    return std::make_shared<StoredText>(
        StoredText{path, text.substr(place.offset, place.length), fields});
}

}  // namespace

HomeStoreReader::HomeStoreReader(Layout layout, const std::vector<HomeCalendar>& before)
    : _layout(layout),
      _before(before)
{
    HostClasses classes;
    const ClassesInForce inForce(classes.table());
    RecordingPluginHelper helper;
    helper.script.macOSVersion = layout == Layout::tiger ? 4 : 5;
    std::int32_t count = 0;
    Dictionary activated;
    RecordKeySet keys;
    SyncRecordList skipped;
    classes.reports().begin();
    Platform::shared().setConsoleLog([](std::string_view) {});  // the run says it all
    const auto records =
        ICalHelper::loadCalendarsWithPluginHelper(&helper, count, count, count, activated, keys,
                                                  count, skipped, keys, keys, &_loaded);
    EXPECT_TRUE(records.has_value()) << "the store cannot be read at all";
}

std::vector<HomeCalendar> HomeStoreReader::calendars() const
{
    std::vector<HomeCalendar> calendars;
    for (const LoadedCalendar& loaded : _loaded.calendars)
        calendars.push_back(calendarFrom(loaded));
    for (HomeCalendar& calendar : calendars)
        calendar.stored = std::make_shared<StoredCalendar>(
            StoredCalendar{calendar.stored->folder,
                           HomeStoreWriter::recordOf(calendar, calendars)});
    keepUnread(calendars);
    std::stable_sort(calendars.begin(), calendars.end(),
                     [](const auto& left, const auto& right) { return left.order < right.order; });
    return calendars;
}

std::string HomeStoreReader::titleOf(const std::string& recordKey) const
{
    for (const LoadedCalendar& loaded : _loaded.calendars)
        if (loaded.recordKey == recordKey)
            return text(loaded.record->record(), "Title");
    return "";
}

HomeCalendar HomeStoreReader::calendarFrom(const LoadedCalendar& loaded) const
{
    const Dictionary& record = loaded.record->record();
    HomeCalendar calendar;
    calendar.title = text(record, "Title");
    calendar.type = text(record, "Type");
    calendar.color = text(record, "Color");
    calendar.notes = text(record, "Notes");
    calendar.sourceKey = loaded.calendar->ownSourceKey().value_or("");
    calendar.order = record["Order"].intValue();
    const std::string parent = text(record, "ParentRecordKey");
    if (parent != loaded.recordKey)
        calendar.group = titleOf(parent);
    for (const char* kept : {"Subscriber", "SubscriberData", "Publisher"})
        calendar.extra.setIfPresent(kept, record[kept]);
    calendar.stored = std::make_shared<StoredCalendar>(
        StoredCalendar{loaded.calendar->storedFolder().value_or("")});
    addItems(loaded, calendar);
    addUnread(loaded, calendar);
    return calendar;
}

void HomeStoreReader::addItems(const LoadedCalendar& loaded, HomeCalendar& calendar) const
{
    const auto add = [&](const LoadedItem& item, const TextPlace& place) {
        HomeItem added;
        added.conduit = item.record->conduit();
        added.fields = ownFields(item.record->record());
        added.stored = textAt(loaded, place, added.fields);
        added.uid = valueInText(added.stored->text, "UID");
        calendar.items.push_back(std::move(added));
    };
    for (const LoadedItem& item : loaded.items)
        add(item, item.place);
    for (const ItemSources::Copy& copy : loaded.copies)
        add(loaded.items[copy.of], copy.place);
}

/// Text that gave no record and that nobody here broke.
void HomeStoreReader::addUnread(const LoadedCalendar& loaded, HomeCalendar& calendar) const
{
    for (const ItemSources::Unread& unread : loaded.unread) {
        HomeItem item;
        item.stored = textAt(loaded, unread.place, {});
        const auto isIt = [&](const HomeItem& known) {
            return known.stored && known.stored->whole && known.stored->text == item.stored->text;
        };
        const bool isKnown =
            std::any_of(_before.begin(), _before.end(), [&](const HomeCalendar& each) {
                return std::any_of(each.items.begin(), each.items.end(), isIt);
            });
        if (isKnown)
            continue;
        item.conduit = item.stored->text.starts_with("BEGIN:VTODO") ? kConduitTask : kConduitEvent;
        item.fields = {{"Title", valueInText(item.stored->text, "SUMMARY")}};
        item.uid = valueInText(item.stored->text, "UID");
        item.isBroken = true;
        calendar.items.push_back(std::move(item));
    }
}

/// What was broken stays what it was for as long as its text stands.
void HomeStoreReader::keepUnread(std::vector<HomeCalendar>& calendars) const
{
    FileManager& disk = FileManager::defaultManager();
    for (const HomeCalendar& old : _before) {
        if (!old.stored || old.stored->folder.empty())
            continue;
        const auto isItsFolder = [&](const HomeCalendar& each) {
            return each.stored && each.stored->folder == old.stored->folder;
        };
        const auto read = std::find_if(calendars.begin(), calendars.end(), isItsFolder);
        HomeCalendar rest = old;
        std::erase_if(rest.items, [&](const HomeItem& item) {
            const bool isBroken = item.stored && item.stored->whole;
            return !item.stored || !stands(*item.stored) || (read != calendars.end() && !isBroken);
        });
        if (read != calendars.end()) {
            read->items.insert(read->items.end(), rest.items.begin(), rest.items.end());
            continue;
        }
        const auto info = disk.contentsAtPath(StorePaths::infoFile(old.stored->folder));
        if (!info && (rest.items.empty() || !disk.fileExistsAtPath(old.stored->folder)))
            continue;
        if (!info) {
            // Text without its calendar; to be mended, that is described anew.
            rest.isBroken = true;
            rest.stored = std::make_shared<StoredCalendar>(
                StoredCalendar{old.stored->folder, old.stored->record, true, ""});
        }
        // A group says itself which calendars belong to it.
        for (HomeCalendar& each : calendars) {
            const auto wasMember = [&](const HomeCalendar& other) {
                return other.stored && other.stored->folder == each.stored->folder &&
                       other.group == old.title;
            };
            if (old.isGroup() && each.group.empty() &&
                std::any_of(_before.begin(), _before.end(), wasMember))
                each.group = old.title;
        }
        calendars.push_back(std::move(rest));
    }
}

}  // namespace kt::test
