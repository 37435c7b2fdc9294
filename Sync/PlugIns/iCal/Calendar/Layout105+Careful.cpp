// What a rewrite that keeps texts makes of Info.plist files.

#include <algorithm>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "Sync/Additions/KTFileManagerAdditions.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/PropertyList.h"
#include "Sync/PlugIns/iCal/Calendar/CarefulItems.h"
#include "Sync/PlugIns/iCal/Calendar/CarefulStore.h"
#include "Sync/PlugIns/iCal/Calendar/FolderMirror.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"
#include "Sync/PlugIns/iCal/Calendar/Layout105.h"
#include "Sync/PlugIns/iCal/Calendar/SettingsMerge.h"
#include "Sync/PlugIns/iCal/Calendar/StoreEdits.h"

namespace kt {

namespace {

constexpr std::string_view kMembersKey = "Calendars";

using Members = std::unordered_map<std::string, Array>;  // group's record key to source keys

/// The source keys of the calendars in each group.
class MembersByGroup {
public:
    void add(const KTSyncCalendar& calendar)
    {
        const auto key = calendar.sourceKey();
        const auto& group = calendar.parentRecordKey();
        if (key && group && group != calendar.recordKey())
            appendTo(_members[*group], *key);
    }

    const Array& of(const std::string& groupKey) const
    {
        static const Array none;
        const auto found = _members.find(groupKey);
        return found == _members.end() ? none : found->second;
    }

private:
    Members _members;
};

bool isGroup(const KTSyncCalendar& calendar)
{
    return calendar.calendarType() == kCalendarTypeGroup;
}

Dictionary infoOf(const LoadedCalendar& loaded)
{
    return settingsThatWereRead(StorePaths::infoFile(loaded.calendar->storedFolder().value_or("")));
}

/// What stands under the members' key counts as changed only when members came or went.
void setMembers(const Dictionary& stored, const Array& before, const Array& after,
                Dictionary& writtenInfo, Dictionary& wantedInfo)
{
    const Array& standing = stored[kMembersKey].isArray() ? stored[kMembersKey].array() : before;
    writtenInfo.set(kMembersKey, standing);
    wantedInfo.set(kMembersKey, mergedMembers(standing, before, after));
}

/// The source keys of calendars whose group does not list them: of two groups of one title only one
/// is read, and stands for both. They stay in the other one.
std::unordered_set<std::string> membersOfUnreadGroups(const LoadedStore& loaded,
                                                      const MembersByGroup& members)
{
    std::unordered_set<std::string> keys;
    for (const LoadedCalendar& group : loaded.calendars) {
        if (!isGroup(*group.calendar))
            continue;
        const Value listed = infoOf(group)[kMembersKey];
        for (const Value& member : members.of(group.recordKey)) {
            if (listed.isArray() && std::find(listed.array().begin(), listed.array().end(),
                                              member) == listed.array().end())
                keys.emplace(member.string());
        }
    }
    return keys;
}

}  // namespace

ItemFiling Layout105::filing(const std::string& calendarFolder) const
{
    return {itemsFolder(calendarFolder), std::nullopt};
}

bool Layout105::saveStore() const
{
    return mirrorPath(paths().calendarsFolder(), paths().calendarsBackup());
}

/// A new group's folder; nothing that stands in the store loses its place to it.
std::string Layout105::folderForNew(const KTSyncCalendar& calendar) const
{
    if (const auto folder = calendar.corestoragePath())
        return *folder;
    const std::string key = calendar.recordKey().value_or("");
    if (!isGroup(calendar) || !StorePaths::isFolderKey(key))
        return "";
    const auto folderOf = [&](const std::string& name) {
        return stringByAppendingPathComponent(paths().calendarsFolder(),
                                              StorePaths::groupFolderName105(name));
    };
    std::string folder = folderOf(key);
    for (int number = 2; FileManager::defaultManager().linkStatusAtPath(folder); ++number)
        folder = folderOf(key + '-' + std::to_string(number));
    return folder;
}

void Layout105::planDescriptions(KTSyncPluginHelper* pluginHelper, const CarefulStore& store,
                                 StoreEdits& edits) const
{
    MembersByGroup before;
    for (const LoadedCalendar& loaded : store.loaded.calendars)
        before.add(*loaded.calendar);
    const auto elsewhere = membersOfUnreadGroups(store.loaded, before);
    MembersByGroup after;
    for (const CarefulCalendar& calendar : store.calendars) {
        if (calendar.stored != nullptr &&
            elsewhere.contains(calendar.stored->calendar->sourceKey().value_or("")))
            tellThatGroupStays(store, calendar);
        else
            after.add(*calendar.calendar);
    }
    for (const CarefulCalendar& calendar : store.calendars) {
        const std::string key = calendar.calendar->recordKey().value_or("");
        if (calendar.stored == nullptr)
            planNew(*calendar.calendar, after.of(key), edits);
        else
            planChanged(pluginHelper, calendar, before.of(calendar.stored->recordKey),
                        after.of(key), edits);
    }
}

void Layout105::planNew(const KTSyncCalendar& calendar, const Array& members,
                        StoreEdits& edits) const
{
    Dictionary info = calendar.iCalNode();
    if (isGroup(calendar))
        info.set(kMembersKey, members);
    const std::string folder = folderForNew(calendar);
    if (!folder.empty())
        edits.write(StorePaths::infoFile(folder), xmlPropertyList(info),
                    calendar.title().value_or(""));
}

void Layout105::planChanged(KTSyncPluginHelper* pluginHelper, const CarefulCalendar& calendar,
                            const Array& membersBefore, const Array& membersAfter,
                            StoreEdits& edits)
{
    const LoadedCalendar& loaded = *calendar.stored;
    const Dictionary stored = infoOf(loaded);
    Dictionary written = calendarAsStored(pluginHelper, loaded)->iCalNode();
    Dictionary wanted = calendar.calendar->iCalNode();
    if (isGroup(*calendar.calendar))
        setMembers(stored, membersBefore, membersAfter, written, wanted);
    const Dictionary merged = mergedSettings(stored, written, wanted);
    if (merged != stored)
        edits.write(StorePaths::infoFile(loaded.calendar->storedFolder().value_or("")),
                    xmlPropertyList(merged), calendar.calendar->title().value_or(""));
}

/// What iCal keeps of its calendars beside them is made anew from the files.
void Layout105::planIndex(KTSyncPluginHelper*, const CarefulStore&, StoreEdits& edits) const
{
    const std::string cache = paths().calendarCache();
    if (!edits.empty() && FileManager::defaultManager().linkStatusAtPath(cache))
        edits.remove(cache, "");
}

}  // namespace kt
