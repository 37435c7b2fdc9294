// What a rewrite that keeps texts makes of Info.plist files.

#include <unordered_map>
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
        if (!key)
            return;
        const auto& group = calendar.parentRecordKey();
        if (group && group != calendar.recordKey())
            appendTo(_members[*group], *key);
        appendTo(_all, *key);
    }

    Array of(const std::string& groupKey) const
    {
        const auto found = _members.find(groupKey);
        return found == _members.end() ? Array() : found->second;
    }
    const Array& all() const { return _all; }

private:
    Members _members;
    Array _all;
};

bool isGroup(const KTSyncCalendar& calendar)
{
    return calendar.calendarType() == kCalendarTypeGroup;
}

/// What stands under the members' key counts as changed only when members came or went.
void setMembers(const Dictionary& stored, const Array& before, const Array& known,
                const Array& wanted, Dictionary& writtenInfo, Dictionary& wantedInfo)
{
    const Array& standing = stored[kMembersKey].isArray() ? stored[kMembersKey].array() : before;
    const Array merged = mergedMembers(standing, known, wanted);
    writtenInfo.set(kMembersKey, standing);
    wantedInfo.set(kMembersKey, merged);
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
    MembersByGroup after;
    for (const CarefulCalendar& calendar : store.calendars)
        after.add(*calendar.calendar);

    for (const CarefulCalendar& calendar : store.calendars) {
        const KTSyncCalendar& model = *calendar.calendar;
        const std::string title = model.title().value_or("");
        Dictionary wanted = model.iCalNode();
        const Array members = after.of(model.recordKey().value_or(""));
        if (calendar.stored == nullptr) {
            if (isGroup(model))
                wanted.set(kMembersKey, members);
            const std::string folder = folderForNew(model);
            if (!folder.empty())
                edits.write(StorePaths::infoFile(folder), xmlPropertyList(wanted), title);
            continue;
        }
        const LoadedCalendar& loaded = *calendar.stored;
        const std::string path = StorePaths::infoFile(loaded.calendar->storedFolder().value_or(""));
        const Dictionary stored = dictionaryWithContentsOfFile(path).value_or(Dictionary());
        Dictionary written = calendarAsStored(pluginHelper, loaded)->iCalNode();
        if (isGroup(model))
            setMembers(stored, before.of(loaded.recordKey), before.all(), members, written, wanted);
        const Dictionary merged = mergedSettings(stored, written, wanted);
        if (merged != stored)
            edits.write(path, xmlPropertyList(merged), title);
    }
}

/// What iCal keeps of its calendars beside them is made anew from the files.
void Layout105::planIndex(KTSyncPluginHelper*, const CarefulStore&, StoreEdits& edits) const
{
    const std::string cache = paths().calendarCache();
    if (!edits.empty() && FileManager::defaultManager().linkStatusAtPath(cache))
        edits.remove(cache, "");
}

}  // namespace kt
