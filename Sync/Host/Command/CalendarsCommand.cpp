#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <unordered_map>
#include <utility>

#include <nlohmann/json.hpp>

#include "Sync/Host/Command/Commands.h"
#include "Sync/Host/Command/Look.h"
#include "Sync/Host/Command/Output.h"
#include "Sync/Host/Services/PluginPreferences.h"
#include "Sync/HostInterface/PublishingOptions.h"

namespace kt {

namespace {

struct CalendarRow {
    std::string key;
    std::string type;
    std::string title;
    std::optional<std::string> groupKey;
    int order = 0;
    std::size_t events = 0;
    std::size_t tasks = 0;
    bool isOn = false;
    bool isPublished = false;
};

std::string text(const Value& value)
{
    return value.isString() ? std::string(value.string()) : std::string();
}

CalendarRow rowForCalendar(const KTSyncRecord& record, const Dictionary& published)
{
    CalendarRow row;
    row.key = record.recordKey();
    row.type = text(record.record()["Type"]);
    row.title = text(record.record()["Title"]);
    if (const Value& order = record.record()["Order"]; order.isNumber())
        row.order = order.intValue();
    // A calendar of its own is its own parent in one of the layouts.
    if (record.recordParentKey() != record.recordKey())
        row.groupKey = record.recordParentKey();
    if (const Value& options = published[row.key]; options.isDictionary()) {
        const Value& isPublic = options.dictionary()[kPublicOption];
        row.isPublished = isPublic.isNumber() && isPublic.boolValue();
    }
    return row;
}

using RowsByGroup = std::map<std::string, std::vector<CalendarRow>>;

/// What stands in `group`, each group followed by its own members, moved over to `shown`.
void moveMembers(RowsByGroup& members, const std::string& group, std::vector<CalendarRow>& shown)
{
    // A stack of its own: groups may be nested deeper than the program's.
    std::vector<CalendarRow> pending;
    const auto await = [&](const std::string& key) {
        auto found = members.extract(key);
        if (!found.empty())
            std::move(found.mapped().rbegin(), found.mapped().rend(), std::back_inserter(pending));
    };
    await(group);
    while (!pending.empty()) {
        shown.push_back(std::move(pending.back()));
        pending.pop_back();
        await(shown.back().key);
    }
}

/// In the order in which the calendar program shows them. Numbers say only what comes before what
/// in one group; groups that hold one another stand at the end.
std::vector<CalendarRow> inTheOrderShown(std::vector<CalendarRow> rows)
{
    std::stable_sort(rows.begin(), rows.end(),
                     [](const auto& a, const auto& b) { return a.order < b.order; });
    std::set<std::string> keys;
    for (const CalendarRow& row : rows)
        keys.insert(row.key);
    RowsByGroup members;  // the empty key stands for the top
    for (CalendarRow& row : rows) {
        const std::string group =
            row.groupKey && keys.contains(*row.groupKey) ? *row.groupKey : std::string();
        members[group].push_back(std::move(row));
    }
    std::vector<CalendarRow> shown;
    moveMembers(members, "", shown);
    while (!members.empty())
        moveMembers(members, std::string(members.begin()->first), shown);
    return shown;
}

std::vector<CalendarRow> calendarRows(const StoreContents& contents, const Dictionary& published)
{
    std::vector<CalendarRow> rows;
    const auto addCalendars = [&](const SyncRecordList& records, bool areOn) {
        for (const SyncRecord& record : records) {
            if (record->conduit() != kConduitCalendar)
                continue;
            rows.push_back(rowForCalendar(*record, published));
            rows.back().isOn = areOn;
        }
    };
    addCalendars(contents.active, true);
    addCalendars(contents.switchedOff, false);
    rows = inTheOrderShown(std::move(rows));

    std::unordered_map<std::string, CalendarRow*> rowByKey;
    for (CalendarRow& row : rows)
        rowByKey.emplace(row.key, &row);
    const auto countItems = [&](const SyncRecordList& records) {
        for (const SyncRecord& record : records) {
            const auto calendar = rowByKey.find(record->recordParentKey().value_or(""));
            if (calendar == rowByKey.end())
                continue;
            if (record->conduit() == kConduitEvent)
                ++calendar->second->events;
            if (record->conduit() == kConduitTask)
                ++calendar->second->tasks;
        }
    };
    countItems(contents.active);
    countItems(contents.switchedOff);
    return rows;
}

/// A group that is not there has no title, and then none is shown.
std::map<std::string, std::string> titlesByKey(const std::vector<CalendarRow>& rows)
{
    std::map<std::string, std::string> titles;
    for (const CalendarRow& row : rows)
        titles.emplace(row.key, row.title);
    return titles;
}

std::string jsonForRows(const std::vector<CalendarRow>& rows)
{
    const auto titles = titlesByKey(rows);
    Json all = Json::array();
    for (const CalendarRow& row : rows) {
        Json group;
        Json groupKey;
        if (row.groupKey) {
            groupKey = *row.groupKey;
            if (const auto title = titles.find(*row.groupKey); title != titles.end())
                group = title->second;
        }
        all.push_back({{"key", row.key},
                       {"type", row.type},
                       {"title", row.title},
                       {"group", std::move(group)},
                       {"groupKey", std::move(groupKey)},
                       {"events", row.events},
                       {"tasks", row.tasks},
                       {"on", row.isOn},
                       {"published", row.isPublished}});
    }
    return jsonText(all) + "\n";
}

std::string germanType(const std::string& type)
{
    if (type == "CalendarGroup")
        return "Gruppe";
    if (type == "CalendarSubscriber")
        return "Abonnement";
    return type == "BirthdayCalendar" ? "Geburtstage" : "Kalender";
}

std::string tableForRows(const std::vector<CalendarRow>& rows)
{
    if (rows.empty())
        return "Es gibt keine Kalender.\n";
    const auto titles = titlesByKey(rows);
    std::vector<std::vector<std::string>> cells{
        {"Schlüssel", "Art", "Titel", "Gruppe", "Ereignisse", "Aufgaben", "An", "Öffentlich"}};
    for (const CalendarRow& row : rows) {
        const auto group = titles.find(row.groupKey.value_or(""));
        cells.push_back({row.key, germanType(row.type), fittedToColumns(row.title, 40),
                         group == titles.end() ? "" : fittedToColumns(group->second, 40),
                         std::to_string(row.events), std::to_string(row.tasks),
                         row.isOn ? "ja" : "nein", row.isPublished ? "ja" : "nein"});
    }
    return tableText(cells);
}

}  // namespace

ExitCode calendarsCommand(const CommandLine& line, const Place& place)
{
    Workplace workplace(place, line, Workplace::Access::look);
    const Look look(workplace);
    const Value published = workplace.preferences().objectForKey(kPublishedCalendarsPreference, {});
    const auto rows =
        calendarRows(look.contents(),
                     published.isDictionary() ? published.dictionary() : Dictionary{});
    warnOfLosses(workplace, look);
    printResult(line.json ? jsonForRows(rows) : tableForRows(rows));
    return ExitCode::done;
}

}  // namespace kt
