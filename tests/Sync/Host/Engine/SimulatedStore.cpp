#include "tests/Sync/Host/Engine/SimulatedStore.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "Sync/Foundation/Digest.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/Host/Engine/HostSyncRecord.h"

namespace kt::test {

namespace {

std::string text(const Dictionary& record, std::string_view field)
{
    const Value& value = record[field];
    return value.isString() ? std::string(value.string()) : std::string();
}

std::string itemKey(const HomeItem& item, const std::string& calendarKey)
{
    const std::string title = text(item.fields, "Title");
    if (item.conduit == kConduitTask)
        return sha1DigestHex(title + calendarKey);
    const auto start = item.fields["StartDate"].objectOfClass<KTSyncEnhancedDate>();
    return sha1DigestHex(
        title + (start ? start->descriptionWithCalendarFormat("%Y%m%dT%H:%M:%S") : "(null)") +
        text(item.fields, "Sequence") + calendarKey);
}

// Two events of one calendar that agree in all of this are read once.
std::string uniquenessKey(const HomeItem& item)
{
    std::string key;
    for (const char* field :
         {"Title", "Notes", "URL", "Location", "StartDate", "EndDate", "RecurrenceRule", "AllDay"})
        key += item.fields[field].description() + "\n";
    return key;
}

SyncRecord calendarRecord(const HomeCalendar& each)
{
    const Dictionary record{{"Order", each.order}, {"Type", each.type},
                            {"Color", each.color}, {"Title", each.title},
                            {"Notes", each.notes}, {"SourceKey", each.sourceKey},
                            {"AlarmsDisabled", 0}};
    return HostSyncRecordClass().syncRecordWithRecordType(0, record, each.recordKey(), std::nullopt,
                                                          std::string(kConduitCalendar));
}

HomeCalendar calendarFrom(const KTSyncRecord& record)
{
    const Dictionary& fields = record.record();
    HomeCalendar calendar;
    calendar.title = text(fields, "Title");
    calendar.type = text(fields, "Type");
    calendar.color = text(fields, "Color");
    calendar.sourceKey = text(fields, "SourceKey");
    calendar.notes = text(fields, "Notes");
    calendar.order = fields["Order"].intValue();
    return calendar;
}

HomeItem itemFrom(const KTSyncRecord& record)
{
    HomeItem item;
    item.conduit = record.conduit();
    item.fields = record.record();
    item.uid = record.recordKey();
    for (const char* lost : {"ParentRecordKey", "Timezone"})
        item.fields.remove(lost);
    return item;
}

}  // namespace

HomeCalendar* SimulatedStore::calendar(const std::string& title)
{
    const auto found = std::find_if(calendars.begin(), calendars.end(),
                                    [&](const auto& each) { return each.title == title; });
    return found == calendars.end() ? nullptr : &*found;
}

std::vector<SimulatedStore::Loaded> SimulatedStore::load() const
{
    std::vector<Loaded> all;
    for (const HomeCalendar& each : calendars) {
        Loaded& loaded = all.emplace_back(Loaded{calendarRecord(each), {}, &each, {}});
        const std::string parent = each.recordKey();
        std::set<std::string> known;
        for (const HomeItem& item : each.items) {
            if (item.conduit == kConduitEvent && !known.insert(uniquenessKey(item)).second)
                continue;
            Dictionary record = item.fields;
            record.set("ParentRecordKey", parent);
            record.set("Timezone", Platform::shared().localTimeZoneName());
            loaded.items.push_back(
                HostSyncRecordClass().syncRecordWithRecordType(0, record, itemKey(item, parent),
                                                               parent, item.conduit));
            loaded.itemTexts.push_back(&item);
        }
    }
    return all;
}

std::string SimulatedStore::folderOf(const HomeCalendar& each)
{
    return "/home/Calendars/" + each.sourceKey;
}

std::string SimulatedStore::fileOf(const HomeCalendar& each, const HomeItem& item)
{
    return folderOf(each) + "/Events/" + item.uid + ".ics";
}

void SimulatedStore::rewrite(const SyncRecordMap& records)
{
    ++_version;
    std::map<std::string, HomeCalendar> written;
    for (const auto& [key, record] : records) {
        if (record->conduit() == kConduitCalendar)
            written.emplace(key, calendarFrom(*record));
    }
    for (const auto& [key, record] : records) {
        const auto owner = written.find(text(record->record(), "ParentRecordKey"));
        if (record->conduit() != kConduitCalendar && owner != written.end())
            owner->second.items.push_back(itemFrom(*record));
    }
    calendars.clear();
    for (auto& [key, each] : written) {
        // One file an item, listed by name; the names are the keys.
        std::stable_sort(each.items.begin(), each.items.end(),
                         [](const auto& left, const auto& right) { return left.uid < right.uid; });
        calendars.push_back(std::move(each));
    }
}

}  // namespace kt::test
