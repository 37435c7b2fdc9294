#include "Sync/Host/Publishing/PublishedCalendarReader.h"

#include <algorithm>
#include <map>
#include <tuple>
#include <unordered_map>
#include <utility>

#include "Sync/Host/Engine/HostSyncRecord.h"
#include "Sync/Host/Engine/RecordCoding.h"
#include "Sync/Host/Publishing/PublishedItems.h"
#include "Sync/Host/Publishing/PublishedText.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

namespace {

using Records = std::vector<std::pair<std::string, Dictionary>>;

/// iCal's colours carry an opacity that a page has no use for.
std::string colorOf(const Value& field)
{
    constexpr std::size_t kLength = 7;  // #RRGGBB
    const std::string text(field.isString() ? field.string().substr(0, kLength)
                                            : std::string_view());
    const bool isColor = text.size() == kLength && text.front() == '#' &&
                         text.find_first_not_of("0123456789abcdefABCDEF", 1) == std::string::npos;
    return isColor ? text : "";
}

PublishedHead headOf(const Sharing& sharing, const Dictionary& record)
{
    PublishedHead head;
    head.key = sharing.id.key;
    head.options = PublishingOptions::fromText(sharing.options);
    head.since = sharing.since;
    head.title = plainTextOfField(record["Title"]);
    if (!head.options.anonymous)
        head.notes = plainTextOfField(record["Notes"]);
    head.color = colorOf(record["Color"]);
    if (const Value& order = record["Order"]; order.isNumber())
        head.order = order.intValue();
    return head;
}

/// Those that can be decoded, of each conduit.
std::map<std::string, Records> decodedRecords(const std::vector<ServerRecord>& stored)
{
    std::map<std::string, Records> records;
    for (const ServerRecord& record : stored) {
        guardedOr(
            [&] {
                records[record.id.conduit].emplace_back(record.id.key,
                                                        decodedRecord(record.content));
                return true;
            },
            [](const Exception&) { return false; });
    }
    return records;
}

using SeriesStarts = std::unordered_map<std::string, PublishedDate>;

std::optional<PublishedItems::Series> seriesOf(const Dictionary& record, const SeriesStarts& starts)
{
    const Value& key = record["RecurrenceParentRecordKey"];
    const auto found = key.isString() ? starts.find(std::string(key.string())) : starts.end();
    if (found == starts.end())
        return std::nullopt;
    return PublishedItems::Series{found->first, found->second};
}

std::optional<PublishedEvent> eventOf(const std::string& key, const Dictionary& record,
                                      const SeriesStarts& starts, const PublishedItems& items)
{
    return guardedOr([&] { return items.event(key, record, seriesOf(record, starts)); },
                     [](const Exception&) { return std::optional<PublishedEvent>(); });
}

/// Series are read first, because occurrences that were detached from them lean on what is shown of
/// them.
std::vector<PublishedEvent> eventsOf(const Records& records, const PublishedItems& items)
{
    const auto isSeries = [](const Dictionary& record) {
        return record.contains("RecurrenceRule") && !record.contains("RecurrenceParentRecordKey");
    };
    std::vector<std::optional<PublishedEvent>> found(records.size());
    SeriesStarts starts;
    for (std::size_t at = 0; at < records.size(); ++at) {
        const auto& [key, record] = records[at];
        if (isSeries(record))
            found[at] = eventOf(key, record, {}, items);
        if (found[at] && found[at]->rule)
            starts.emplace(key, found[at]->start);
    }
    std::vector<PublishedEvent> events;
    for (std::size_t at = 0; at < records.size(); ++at) {
        const auto& [key, record] = records[at];
        if (!isSeries(record))
            found[at] = eventOf(key, record, starts, items);
        if (found[at])
            events.push_back(std::move(*found[at]));
    }
    return events;
}

std::vector<PublishedTask> tasksOf(const Records& records, const PublishedItems& items)
{
    std::vector<PublishedTask> tasks;
    for (const auto& [key, record] : records) {
        auto task =
            guardedOr([&, &itemKey = key, &fields = record] { return items.task(itemKey, fields); },
                      [](const Exception&) { return std::optional<PublishedTask>(); });
        if (task)
            tasks.push_back(std::move(*task));
    }
    return tasks;
}

/// Records stand in the order of their keys, which are digests of titles.
void mixUp(PublishedCalendar& calendar)
{
    std::sort(calendar.events.begin(), calendar.events.end(),
              [](const PublishedEvent& left, const PublishedEvent& right) {
                  return std::tuple(left.start.instant(), std::string_view(left.uid)) <
                         std::tuple(right.start.instant(), std::string_view(right.uid));
              });
    const auto dateOf = [](const PublishedTask& task) {
        return (task.due ? task.due : task.start).value_or(PublishedDate{}).instant();
    };
    std::sort(calendar.tasks.begin(), calendar.tasks.end(),
              [&](const PublishedTask& left, const PublishedTask& right) {
                  return std::tuple(dateOf(left), std::string_view(left.uid)) <
                         std::tuple(dateOf(right), std::string_view(right.uid));
              });
}

}  // namespace

std::vector<PublishedCalendarReader::Entry> PublishedCalendarReader::entries()
{
    std::vector<Entry> entries;
    if (_session.sharings() == nullptr)
        return entries;
    for (Sharing& sharing : _session.sharings()->all()) {
        if (sharing.id.conduit != kConduitCalendar)
            continue;
        for (const ServerRecord& stored : _session.records({&sharing.id, 1})) {
            if (stored.isTombstone)
                continue;
            const auto record =
                guardedOr([&] { return std::optional(decodedRecord(stored.content)); },
                          [](const Exception&) { return std::optional<Dictionary>(); });
            if (record && !isGroup(*record))
                entries.push_back({headOf(sharing, *record), sharing});
        }
    }
    return entries;
}

std::optional<PublishedCalendarReader::Entry> PublishedCalendarReader::entry(const std::string& key)
{
    for (Entry& entry : entries()) {
        if (entry.head.key == key)
            return std::move(entry);
    }
    return std::nullopt;
}

std::vector<PublishedHead> PublishedCalendarReader::heads()
{
    std::vector<PublishedHead> heads;
    for (Entry& entry : entries())
        heads.push_back(std::move(entry.head));
    std::sort(heads.begin(), heads.end(), [](const auto& left, const auto& right) {
        return std::tie(left.order, left.title, left.key) <
               std::tie(right.order, right.title, right.key);
    });
    return heads;
}

std::optional<PublishedCalendar> PublishedCalendarReader::calendar(const std::string& key)
{
    auto found = entry(key);
    if (!found)
        return std::nullopt;
    PublishedCalendar calendar{std::move(found->head), {}, {}};
    const PublishingOptions& options = calendar.head.options;
    const PublishedItems items(options, found->sharing.secret, found->sharing.since);
    auto records = decodedRecords(_session.recordsOfParent(key));
    if (options.events)
        calendar.events = eventsOf(records[std::string(kConduitEvent)], items);
    if (options.tasks)
        calendar.tasks = tasksOf(records[std::string(kConduitTask)], items);
    if (options.anonymous)
        mixUp(calendar);
    return calendar;
}

std::optional<std::string> PublishedCalendarReader::state(const std::string& key)
{
    const auto found = entry(key);
    if (!found)
        return std::nullopt;
    return _session.serverIdentity() + ' ' + std::to_string(_session.headRevision()) + ' ' +
           found->sharing.since + ' ' + found->sharing.secret + ' ' + found->sharing.options;
}

}  // namespace kt
