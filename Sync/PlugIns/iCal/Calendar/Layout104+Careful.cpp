// What a rewrite that keeps texts makes of the descriptions of calendars and of the node file.

#include <map>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/PropertyList.h"
#include "Sync/PlugIns/iCal/Calendar/CarefulItems.h"
#include "Sync/PlugIns/iCal/Calendar/CarefulStore.h"
#include "Sync/PlugIns/iCal/Calendar/FolderMirror.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"
#include "Sync/PlugIns/iCal/Calendar/Layout104.h"
#include "Sync/PlugIns/iCal/Calendar/NodeTree104.h"
#include "Sync/PlugIns/iCal/Calendar/NodeTreeMerge104.h"
#include "Sync/PlugIns/iCal/Calendar/SettingsMerge.h"
#include "Sync/PlugIns/iCal/Calendar/StoreEdits.h"

namespace kt {

namespace {

bool isGroup(const KTSyncCalendar& calendar)
{
    return calendar.calendarType() == kCalendarTypeGroup;
}

bool isMember(const KTSyncCalendar& calendar)
{
    const auto& parent = calendar.parentRecordKey();
    return parent && parent != calendar.recordKey();
}

/// Of all nodes, whatever else is wrong with them.
void collectSourceKeys(const Value& nodes, std::unordered_set<std::string>& keys)
{
    if (!nodes.isArray())
        return;
    for (const Value& node : nodes.array()) {
        if (!node.isDictionary())
            continue;
        for (const char* name : {"SourceKey", "Key"}) {
            const Value& key = node.dictionary()[name];
            if (key.isString())
                keys.emplace(key.string());
        }
        collectSourceKeys(node.dictionary()["Subnodes"], keys);
    }
}

}  // namespace

ItemFiling Layout104::filing(const std::string& calendarFolder) const
{
    return {itemsFolder(calendarFolder), StorePaths::itemsFile104(calendarFolder)};
}

bool Layout104::saveStore() const
{
    const bool areSourcesSaved = mirrorPath(paths().sources(), paths().sourcesBackup());
    return mirrorPath(paths().nodeFile(), paths().nodeFileBackup()) && areSourcesSaved;
}

std::vector<std::string> Layout104::unlistedFolders() const
{
    std::unordered_set<std::string> listed;
    collectSourceKeys(settingsThatWereRead(paths().nodeFile())["List"], listed);
    std::vector<std::string> unlisted;
    for (const std::string& name :
         FileManager::defaultManager().directoryContentsAtPath(paths().sources())) {
        const std::string path = stringByAppendingPathComponent(paths().sources(), name);
        const std::string key = name.substr(0, name.rfind('.'));
        if (paths().calendarFolder104(key) == path && !listed.contains(key))
            unlisted.push_back(path);
    }
    return unlisted;
}

void Layout104::planDescriptions(KTSyncPluginHelper* pluginHelper, const CarefulStore& store,
                                 StoreEdits& edits) const
{
    for (const CarefulCalendar& calendar : store.calendars) {
        const KTSyncCalendar& model = *calendar.calendar;
        const auto folder = model.corestoragePath();
        if (isGroup(model) || !folder)
            continue;
        const auto before =
            calendar.stored == nullptr ? nullptr : calendarAsStored(pluginHelper, *calendar.stored);
        planDescription(before.get(), model, *folder, edits);
    }
}

void Layout104::planDescription(const KTSyncCalendar* before, const KTSyncCalendar& calendar,
                                const std::string& folder, StoreEdits& edits)
{
    const std::string title = calendar.title().value_or("");
    const std::string path = StorePaths::infoFile(folder);
    const Dictionary wanted = description(calendar);
    const auto stored =
        before == nullptr ? dictionaryWithContentsOfFile(path) : settingsThatWereRead(path);
    const Dictionary merged =
        before == nullptr ? wanted : mergedSettings(*stored, description(*before), wanted);
    if (merged != stored)
        edits.write(path, xmlPropertyList(merged), title);
    if (calendar.calendarType() != kCalendarTypeSubscriber)
        return;
    std::string bytes = subscription(calendar);
    if (before == nullptr || subscription(*before) != bytes)
        edits.write(StorePaths::subscriptionFile104(folder), std::move(bytes), title);
}

void Layout104::planIndex(KTSyncPluginHelper* pluginHelper, const CarefulStore& store,
                          StoreEdits& edits) const
{
    NodeTree104 tree(pluginHelper);
    NodeTreeMerge104 merge;
    for (const CarefulCalendar& calendar : store.calendars) {
        const KTSyncCalendar& model = *calendar.calendar;
        const auto recordKey = model.recordKey();
        if (!recordKey || (!isGroup(model) && !model.corestoragePath()))
            continue;
        tree.add(model.iCalNode(), isGroup(model) ? recordKey : std::nullopt,
                 isMember(model) ? model.parentRecordKey() : std::nullopt,
                 model.title().value_or(""));
        if (calendar.stored != nullptr)
            merge.addWanted(*recordKey, calendar.stored);
    }
    std::unordered_set<const LoadedCalendar*> wanted;
    for (const CarefulCalendar& calendar : store.calendars)
        wanted.insert(calendar.stored);
    for (const LoadedCalendar& loaded : store.loaded.calendars) {
        // Where the folder stays for its unread text the node stays, as that of any unread
        // calendar.
        const auto folder = loaded.calendar->storedFolder();
        if (wanted.contains(&loaded) || !folder || edits.removes(*folder))
            merge.addLoaded(loaded, calendarAsStored(pluginHelper, loaded)->iCalNode());
    }

    const Dictionary stored = settingsThatWereRead(paths().nodeFile());
    const Dictionary merged = merge.merged(stored, tree.nodeFile());
    if (merged != stored)
        edits.write(paths().nodeFile(), xmlPropertyList(merged), "");
    for (const CarefulCalendar& calendar : store.calendars) {
        if (merge.hasStayed(calendar.stored))
            tellThatGroupStays(store, calendar);
    }
}

}  // namespace kt
