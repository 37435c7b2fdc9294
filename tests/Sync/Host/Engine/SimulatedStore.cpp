#include "tests/Sync/Host/Engine/SimulatedStore.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include <gtest/gtest.h>

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

std::string startOf(const Dictionary& fields)
{
    const auto start = fields["StartDate"].objectOfClass<KTSyncEnhancedDate>();
    return start ? start->descriptionWithCalendarFormat("%Y%m%dT%H:%M:%S") : "(null)";
}

std::string itemKey(const SimulatedItem& item, const std::string& calendarKey)
{
    const std::string title = text(item.fields, "Title");
    if (item.conduit == kConduitTask)
        return sha1DigestHex(title + calendarKey);
    return sha1DigestHex(title + startOf(item.fields) + text(item.fields, "Sequence") +
                         calendarKey);
}

// Two events of one calendar that agree in all of this are read once.
std::string uniquenessKey(const SimulatedItem& item)
{
    std::string key;
    for (const char* field :
         {"Title", "Notes", "URL", "Location", "StartDate", "EndDate", "RecurrenceRule", "AllDay"})
        key += item.fields[field].description() + "\n";
    return key;
}

}  // namespace

SimulatedCalendar* SimulatedStore::calendar(const std::string& title)
{
    const auto found = std::find_if(calendars.begin(), calendars.end(),
                                    [&](const auto& each) { return each.title == title; });
    return found == calendars.end() ? nullptr : &*found;
}

SimulatedItem* SimulatedStore::item(const std::string& calendarTitle, const std::string& title)
{
    SimulatedCalendar* owner = calendar(calendarTitle);
    if (owner == nullptr)
        return nullptr;
    const auto found =
        std::find_if(owner->items.begin(), owner->items.end(),
                     [&](const auto& each) { return text(each.fields, "Title") == title; });
    return found == owner->items.end() ? nullptr : &*found;
}

int SimulatedStore::count(const std::string& title) const
{
    int count = 0;
    for (const auto& owner : calendars) {
        for (const auto& each : owner.items)
            count += text(each.fields, "Title") == title ? 1 : 0;
    }
    return count;
}

std::string SimulatedStore::calendarKey(const SimulatedCalendar& each) const
{
    return sha1DigestHex(each.title + each.type);
}

std::optional<std::string> SimulatedStore::parentKey(const SimulatedCalendar& each) const
{
    for (const SimulatedCalendar& group : calendars) {
        if (group.isGroup() && !each.group.empty() && group.title == each.group)
            return calendarKey(group);
    }
    // In the older layout what stands at top level is its own parent.
    return _layout == Layout::tiger ? std::optional(calendarKey(each)) : std::nullopt;
}

SyncRecord SimulatedStore::calendarRecord(const SimulatedCalendar& each) const
{
    Dictionary record;
    const auto parent = parentKey(each);
    record.setIfPresent("ParentRecordKey", parent);
    record.set("Order", each.order);
    record.set("Type", each.type);
    record.set("Color", each.color);
    record.set("Title", each.title);
    record.set("Notes", each.notes);
    if (!each.isGroup())
        record.set("SourceKey", each.sourceKey);
    record.merge(each.extra);
    record.set("AlarmsDisabled", 0);
    return HostSyncRecordClass().syncRecordWithRecordType(0, record, calendarKey(each), parent,
                                                          std::string(kConduitCalendar));
}

void SimulatedStore::addItems(Loaded& loaded, const IsUnread& isUnread) const
{
    const SimulatedCalendar& each = *loaded.text;
    const auto isRead = [&](const SimulatedItem& item) {
        return !isUnread || !isUnread(each, &item);
    };
    const std::string parent = calendarKey(each);
    std::map<std::string, std::string> seriesByUid;
    std::multimap<std::string, Value> occurrences;
    if (_layout == Layout::tiger) {
        for (const SimulatedItem& item : each.items) {
            if (isRead(item) && item.fields.contains("RecurrenceRule"))
                seriesByUid[item.uid] = itemKey(item, parent);
        }
        for (const SimulatedItem& item : each.items) {
            if (isRead(item) && item.fields.contains("RecurrenceId") &&
                seriesByUid.count(item.uid) != 0)
                occurrences.emplace(item.uid, item.fields["RecurrenceId"]);
        }
    }
    std::set<std::string> known;
    for (const SimulatedItem& item : each.items) {
        if (!isRead(item))
            continue;
        if (item.conduit == kConduitEvent && !known.insert(uniquenessKey(item)).second)
            continue;
        Dictionary record = item.fields;
        record.set("ParentRecordKey", parent);
        record.set("Timezone", Platform::shared().localTimeZoneName());
        if (record.contains("RecurrenceId") && seriesByUid.count(item.uid) != 0)
            record.set("RecurrenceParentRecordKey", seriesByUid.at(item.uid));
        if (record.contains("RecurrenceRule") && occurrences.count(item.uid) != 0) {
            Array dates;
            const auto range = occurrences.equal_range(item.uid);
            for (auto at = range.first; at != range.second; ++at)
                dates.push_back(at->second);
            record.set("RecurrenceExceptionDates", dates);
        }
        loaded.items.push_back(
            HostSyncRecordClass().syncRecordWithRecordType(0, record, itemKey(item, parent), parent,
                                                           item.conduit));
        loaded.itemTexts.push_back(&item);
    }
}

std::vector<SimulatedStore::Loaded> SimulatedStore::load(const IsUnread& isUnread) const
{
    // Of two calendars with one key the later one wins.
    std::map<std::string, const SimulatedCalendar*> byKey;
    for (const SimulatedCalendar& each : calendars) {
        if (!isUnread || !isUnread(each, nullptr))
            byKey[calendarKey(each)] = &each;
    }
    std::vector<Loaded> loaded;
    for (const auto& [key, each] : byKey) {
        SyncRecord record = calendarRecord(*each);
        if (!record)
            continue;
        loaded.push_back({record, {}, each, {}});
        addItems(loaded.back(), isUnread);
    }
    return loaded;
}

std::string SimulatedStore::folderOf(const SimulatedCalendar& each)
{
    return "/home/Calendars/" + (each.isGroup() ? each.title + ".group" : each.sourceKey);
}

std::string SimulatedStore::fileOf(const SimulatedCalendar& each, const SimulatedItem& item) const
{
    return folderOf(each) +
           (_layout == Layout::tiger ? "/corestorage.ics" : "/Events/" + item.uid + ".ics");
}

// What stays keeps its place, also where nothing else is written.
void SimulatedStore::putBack(const std::vector<SimulatedCalendar>& before,
                             const Rewriting& rewriting)
{
    if (!rewriting.stays)
        return;
    for (const SimulatedCalendar& old : before) {
        const auto isItsFolder = [&](const SimulatedCalendar& each) {
            return folderOf(each) == folderOf(old);
        };
        const auto written = std::find_if(calendars.begin(), calendars.end(), isItsFolder);
        if (rewriting.stays(old, nullptr)) {
            if (written != calendars.end())
                ADD_FAILURE() << "written over an unread calendar: " << old.title << " by "
                              << written->title;
            calendars.push_back(old);
            // A group says itself which calendars belong to it.
            for (SimulatedCalendar& each : calendars) {
                const auto isIt = [&](const SimulatedCalendar& other) {
                    return folderOf(other) == folderOf(each) && other.group == old.title;
                };
                if (old.isGroup() && std::any_of(before.begin(), before.end(), isIt))
                    each.group = old.title;
            }
            continue;
        }
        SimulatedCalendar rest = old;
        std::erase_if(rest.items,
                      [&](const SimulatedItem& item) { return !rewriting.stays(old, &item); });
        if (rest.items.empty())
            continue;
        if (written == calendars.end()) {
            // Without its Info file nobody knows what it is.
            rest.isBroken = !rewriting.limit;
            calendars.push_back(rest);
        } else {
            written->items.insert(written->items.end(), rest.items.begin(), rest.items.end());
        }
    }
}

void SimulatedStore::rewrite(const SyncRecordMap& records, const Rewriting& rewriting)
{
    ++_rewrites;
    touch();
    std::vector<std::pair<SyncRecord, SyncRecordList>> written;
    std::map<std::string, std::size_t> places;
    std::map<std::string, std::string> titles;
    for (const auto& [key, record] : records) {
        if (record->conduit() != kConduitCalendar)
            continue;
        places[key] = written.size();
        titles[key] = text(record->record(), "Title");
        written.emplace_back(record, SyncRecordList{});
    }
    for (const auto& [key, record] : records) {
        const auto place = places.find(text(record->record(), "ParentRecordKey"));
        if (record->conduit() != kConduitCalendar && place != places.end())
            written[place->second].second.push_back(record);
    }
    std::stable_sort(written.begin(), written.end(), [](const auto& left, const auto& right) {
        return left.first->record()["Order"].intValue() < right.first->record()["Order"].intValue();
    });
    if (rewriting.limit && *rewriting.limit < written.size())
        written.resize(*rewriting.limit);

    const std::vector<SimulatedCalendar> before = std::exchange(calendars, {});
    std::map<std::string, int> orders;
    for (const auto& [record, items] : written) {
        const Dictionary& fields = record->record();
        SimulatedCalendar each;
        each.title = text(fields, "Title");
        if (rewriting.full.count(each.title) != 0)
            continue;
        each.type = text(fields, "Type");
        each.color = text(fields, "Color");
        each.sourceKey =
            fields.contains("SourceKey") ? text(fields, "SourceKey") : record->recordKey();
        const std::string parent = text(fields, "ParentRecordKey");
        if (parent != record->recordKey() && titles.count(parent) != 0)
            each.group = titles.at(parent);
        if (_layout == Layout::leopard || each.isGroup())
            each.notes = text(fields, "Notes");
        each.order = _layout == Layout::leopard ? fields["Order"].intValue() : orders[each.group]++;
        for (const char* kept : {"Subscriber", "SubscriberData", "Publisher"})
            each.extra.setIfPresent(kept, fields[kept]);
        for (const SyncRecord& itemRecord : items) {
            SimulatedItem item;
            item.conduit = itemRecord->conduit();
            item.fields = itemRecord->record();
            if (rewriting.full.count(text(item.fields, "Title")) != 0)
                continue;
            item.uid = item.fields.contains("RecurrenceParentRecordKey")
                           ? text(item.fields, "RecurrenceParentRecordKey")
                           : itemRecord->recordKey();
            for (const char* lost : {"ParentRecordKey", "Timezone", "RecurrenceParentRecordKey",
                                     "RecurrenceExceptionDates"})
                item.fields.remove(lost);
            each.items.push_back(std::move(item));
        }
        // One file per item, listed by name; the names are the keys, which is near enough to
        // random.
        std::stable_sort(each.items.begin(), each.items.end(),
                         [](const auto& left, const auto& right) { return left.uid < right.uid; });
        calendars.push_back(std::move(each));
    }
    putBack(before, rewriting);
}

}  // namespace kt::test
