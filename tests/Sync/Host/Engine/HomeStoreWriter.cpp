#include "tests/Sync/Host/Engine/HomeStoreWriter.h"

#include <algorithm>
#include <set>
#include <utility>

#include <gtest/gtest.h>

#include "Sync/Additions/KTFileManagerAdditions.h"
#include "Sync/Foundation/PropertyList.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"
#include "Sync/PlugIns/iCal/Calendar/NodeTree104.h"

namespace kt::test {

namespace {

constexpr const char* kNoCalendar = "kaputt";

FileManager& disk() { return FileManager::defaultManager(); }

template <class Items>
bool holds(const Items& items, const void* stored)
{
    return std::any_of(items.begin(), items.end(),
                       [&](const auto& each) { return each.stored.get() == stored; });
}

}  // namespace

HomeStoreWriter::HomeStoreWriter(Layout layout, const std::string& home, Damage damage)
    : _layout(layout),
      _paths(home),
      _texts(layout, damage),
      _store(StoreLayout::forSystemVersion(layout == Layout::tiger ? 4 : 5, _paths))
{
    _helper.script.macOSVersion = layout == Layout::tiger ? 4 : 5;
}

void HomeStoreWriter::begin()
{
    createPath(_layout == Layout::tiger ? _paths.sources() : _paths.calendarsFolder());
    if (_layout == Layout::tiger)
        disk().writeAtomically(indexOf({}), _paths.nodeFile());
}

void HomeStoreWriter::write(std::vector<HomeCalendar>& calendars,
                            const std::vector<HomeCalendar>& known)
{
    dropForeign(calendars, known);
    removeCalendars(calendars, known);
    for (HomeCalendar& calendar : calendars) {
        const auto before = std::find_if(known.begin(), known.end(), [&](const auto& each) {
            return calendar.stored && each.stored == calendar.stored;
        });
        describe(calendar, calendars);
        writeItems(calendar, before == known.end() ? nullptr : &*before);
    }
    if (indexOf(calendars) != indexOf(known))
        disk().writeAtomically(indexOf(calendars), _paths.nodeFile());
}

/// A copy is another calendar, or item, than what it was copied from.
void HomeStoreWriter::dropForeign(std::vector<HomeCalendar>& calendars,
                                  const std::vector<HomeCalendar>& known) const
{
    std::set<const void*> taken;
    for (HomeCalendar& calendar : calendars) {
        if (!holds(known, calendar.stored.get()) || !taken.insert(calendar.stored.get()).second)
            calendar.stored = nullptr;
    }
}

void HomeStoreWriter::removeCalendars(const std::vector<HomeCalendar>& calendars,
                                      const std::vector<HomeCalendar>& known) const
{
    for (const HomeCalendar& old : known) {
        if (old.stored && !holds(calendars, old.stored.get()) && !old.stored->folder.empty())
            disk().removeFileAtPath(old.stored->folder);
    }
}

Dictionary HomeStoreWriter::recordOf(const HomeCalendar& calendar,
                                     const std::vector<HomeCalendar>& calendars)
{
    Dictionary record{{"Order", calendar.order},
                      {"Type", calendar.type},
                      {"Color", calendar.color},
                      {"Title", calendar.title},
                      {"Notes", calendar.notes}};
    if (!calendar.sourceKey.empty())
        record.set("SourceKey", calendar.sourceKey);
    record.merge(calendar.extra);
    if (!calendar.isGroup())
        return record;
    Array members;
    for (const HomeCalendar& each : calendars) {
        if (each.group == calendar.title)
            members.push_back(each.sourceKey);
    }
    record.set("Members", members);
    return record;
}

std::string HomeStoreWriter::folderFor(const HomeCalendar& calendar) const
{
    if (_layout == Layout::tiger)
        return calendar.isGroup() ? "" : _paths.calendarFolder104(calendar.sourceKey);
    if (!calendar.isGroup())
        return _paths.calendarFolder105(calendar.sourceKey);
    return _paths.calendarsFolder() + "/" +
           StorePaths::groupFolderName105(calendar.sourceKey.empty() ? calendar.recordKey()
                                                                     : calendar.sourceKey);
}

void HomeStoreWriter::describe(HomeCalendar& calendar, const std::vector<HomeCalendar>& calendars)
{
    const bool isNew = !calendar.stored;
    auto stored = std::make_shared<StoredCalendar>(isNew ? StoredCalendar{folderFor(calendar)}
                                                         : *calendar.stored);
    const Dictionary record = recordOf(calendar, calendars);
    const bool hasFolder = !stored->folder.empty();
    EXPECT_FALSE(isNew && hasFolder && disk().fileExistsAtPath(stored->folder))
        << stored->folder << " is taken";
    const std::string path = StorePaths::infoFile(stored->folder);
    if (stored->isBroken && !calendar.isBroken) {
        if (stored->whole.empty())
            stored->record = {};
        else
            disk().writeAtomically(stored->whole, path);
        stored->isBroken = false;
    }
    if (hasFolder && !stored->isBroken && record != stored->record)
        writeDescription(calendar, record, stored->folder);
    if (!stored->isBroken)
        stored->record = record;
    if (hasFolder && !stored->isBroken && calendar.isBroken) {
        stored->whole = disk().contentsAtPath(path).value_or("");
        disk().writeAtomically(kNoCalendar, path);
        stored->isBroken = true;
    }
    calendar.stored = std::move(stored);
}

void HomeStoreWriter::writeDescription(const HomeCalendar& calendar, const Dictionary& record,
                                       const std::string& folder)
{
    const KTSyncCalendar described(&_helper, calendar.recordKey(), record);
    createPath(folder);
    if (_layout == Layout::tiger) {
        const std::string items = StorePaths::itemsFile104(folder);
        const std::string text = disk().contentsAtPath(items).value_or(HomeItemTexts::emptyFile());
        _store->storeItems(described, folder);
        disk().writeAtomically(text, items);
        return;
    }
    Dictionary info =
        dictionaryWithContentsOfFile(StorePaths::infoFile(folder)).value_or(Dictionary{});
    info.merge(_store->node(described));
    if (calendar.isGroup())
        info.set("Calendars", record["Members"]);
    disk().writeAtomically(xmlPropertyList(info), StorePaths::infoFile(folder));
}

void HomeStoreWriter::writeItems(HomeCalendar& calendar, const HomeCalendar* known)
{
    std::set<const void*> taken;
    for (HomeItem& item : calendar.items) {
        const void* stored = item.stored.get();
        const bool isHere = known != nullptr && stored != nullptr && holds(known->items, stored);
        if (isHere && taken.insert(stored).second)
            continue;
        item.stored = _texts.add(item, pathFor(calendar, item));
    }
    for (std::size_t index = 0; known != nullptr && index < known->items.size(); ++index) {
        const auto& old = known->items[index].stored;
        if (old && taken.count(old.get()) == 0)
            _texts.remove(*old);
    }
    for (HomeItem& item : calendar.items)
        _texts.update(item);
}

std::string HomeStoreWriter::pathFor(const HomeCalendar& calendar, const HomeItem& item) const
{
    const std::string& folder = calendar.stored->folder;
    if (_layout == Layout::tiger)
        return StorePaths::itemsFile104(folder);
    return StorePaths::itemFile105(StorePaths::eventsFolder(folder), HomeItemTexts::fileName(item));
}

/// The node file of the older layout; nothing for the other one.
std::string HomeStoreWriter::indexOf(const std::vector<HomeCalendar>& calendars)
{
    if (_layout != Layout::tiger)
        return "";
    std::vector<const HomeCalendar*> ordered;
    for (const HomeCalendar& calendar : calendars)
        ordered.push_back(&calendar);
    std::stable_sort(ordered.begin(), ordered.end(), [](const auto* left, const auto* right) {
        return left->order < right->order;
    });
    NodeTree104 tree(&_helper);
    for (const HomeCalendar* calendar : ordered) {
        const KTSyncCalendar described(&_helper, calendar->recordKey(),
                                       recordOf(*calendar, calendars));
        const auto isItsGroup = [&](const HomeCalendar& each) {
            return each.isGroup() && !calendar->group.empty() && each.title == calendar->group;
        };
        const auto group = std::find_if(calendars.begin(), calendars.end(), isItsGroup);
        tree.add(_store->node(described),
                 calendar->isGroup() ? std::optional(calendar->recordKey()) : std::nullopt,
                 group == calendars.end() ? std::nullopt : std::optional(group->recordKey()),
                 calendar->title);
    }
    return xmlPropertyList(tree.nodeFile());
}

}  // namespace kt::test
