#include "tests/Sync/Host/Engine/HomeStoreWriter.h"

#include <algorithm>
#include <utility>

#include <gtest/gtest.h>

#include "Sync/Additions/KTFileManagerAdditions.h"
#include "Sync/Foundation/Digest.h"
#include "Sync/Foundation/PropertyList.h"
#include "Sync/Host/Services/HostClasses.h"
#include "Sync/PlugIns/iCal/Calendar/ItemFile.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"
#include "Sync/PlugIns/iCal/Calendar/NodeTree104.h"

namespace kt::test {

namespace {

constexpr std::string_view kNoCalendar = "kaputt";
constexpr const char* kNoName = "ohne";

FileManager& disk() { return FileManager::defaultManager(); }

std::string emptyFile() { return std::string(kItemFileHeader) + std::string(kItemFileFooter); }

bool holdsItems(const std::string& text)
{
    return text.find("BEGIN:VEVENT\r\n") != std::string::npos ||
           text.find("BEGIN:VTODO\r\n") != std::string::npos;
}

/// Whether nothing else stands in the item's file.
bool isAlone(const StoredText& stored)
{
    const std::string text = disk().contentsAtPath(stored.path).value_or("");
    const std::size_t at = text.find(stored.text);
    return at != std::string::npos && !holdsItems(text.substr(0, at)) &&
           !holdsItems(text.substr(at + stored.text.size()));
}

bool isComponent(const StoredText& stored) { return stored.text.starts_with("BEGIN:"); }

/// One that the fold does not concern.
std::string withoutLine(std::string text, const std::string& name)
{
    const std::size_t at = text.find("\r\n" + name + ":");
    if (at != std::string::npos)
        text.erase(at, text.find("\r\n", at + 2) - at);
    return text;
}

std::string uidOf(const std::string& text)
{
    const std::string begin = "\r\nUID:";
    const std::size_t at = text.find(begin);
    if (at == std::string::npos)
        return "";
    return text.substr(at + begin.size(), text.find("\r\n", at + 2) - at - begin.size());
}

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
      _damage(damage),
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
        const std::string text = disk().contentsAtPath(items).value_or(emptyFile());
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
        // Moved or copied from elsewhere: the same text, at a place of its own.
        std::string text;
        if (item.stored && !item.stored->whole && item.fields == item.stored->fields)
            text = item.stored->text;
        const auto made = std::make_shared<StoredText>(
            StoredText{pathFor(calendar, item), text.empty() ? textOf(item) : text, item.fields});
        put(*made);
        item.stored = made;
    }
    for (std::size_t index = 0; known != nullptr && index < known->items.size(); ++index) {
        const auto& old = known->items[index].stored;
        if (old && taken.count(old.get()) == 0)
            take(*old);
    }
    for (HomeItem& item : calendar.items)
        writeItem(item);
}

void HomeStoreWriter::writeItem(HomeItem& item)
{
    if (item.stored->whole && !item.isBroken) {
        take(*item.stored);
        item.stored = item.stored->whole;
        put(*item.stored);
    }
    const auto& whole = item.stored->whole ? item.stored->whole : item.stored;
    const bool isUidAnother = uidOf(whole->text) != item.uid;
    if (!item.stored->whole && (item.fields != item.stored->fields || isUidAnother)) {
        auto changed =
            std::make_shared<StoredText>(StoredText{item.stored->path, textOf(item), item.fields});
        if (isAlone(*item.stored)) {
            disk().writeAtomically(std::string(kItemFileHeader) + changed->text +
                                       std::string(kItemFileFooter),
                                   changed->path);
        } else {
            take(*item.stored);
            put(*changed);
        }
        item.stored = std::move(changed);
    }
    if (item.isBroken && !item.stored->whole)
        item.stored = damaged(item.stored);
}

std::shared_ptr<const StoredText> HomeStoreWriter::damaged(
    const std::shared_ptr<const StoredText>& whole)
{
    auto broken = std::make_shared<StoredText>(*whole);
    broken->whole = whole;
    if (_layout == Layout::leopard && isAlone(*whole)) {
        broken->text = std::string(kNoCalendar) + " " + sha1DigestHex(whole->text);
        if (_damage == Damage::elsewhere)
            broken->path = stringByDeletingLastPathComponent(whole->path) + "/neu.ics";
        disk().removeFileAtPath(whole->path);
        disk().writeAtomically(broken->text, broken->path);
        return broken;
    }
    // No property that there can be two of.
    const bool isTask = whole->text.starts_with("BEGIN:VTODO");
    const std::string end = isTask ? "END:VTODO\r\n" : "END:VEVENT\r\n";
    const std::string lines =
        isTask ? "PRIORITY:1\r\nPRIORITY:2\r\n" : "RRULE:FREQ=DAILY\r\nRRULE:FREQ=WEEKLY\r\n";
    broken->text.insert(broken->text.size() - end.size(), lines);
    if (_damage == Damage::elsewhere)
        broken->text = withoutLine(broken->text, "UID");
    take(*whole);
    put(*broken);
    return broken;
}

std::string HomeStoreWriter::pathFor(const HomeCalendar& calendar, const HomeItem& item) const
{
    const std::string folder = calendar.stored->folder;
    if (_layout == Layout::tiger)
        return StorePaths::itemsFile104(folder);
    const std::string events = StorePaths::eventsFolder(folder);
    const std::string name = item.uid.empty() ? kNoName : item.uid;
    std::string path = StorePaths::itemFile105(events, name);
    for (int number = 2; disk().fileExistsAtPath(path); ++number)
        path = StorePaths::itemFile105(events, name + "-" + std::to_string(number));
    return path;
}

std::string HomeStoreWriter::textOf(const HomeItem& item)
{
    HostClasses classes;
    const auto write = [&](KTSyncCalendarItem& written) {
        written.setUID(item.uid.empty() ? std::string(kNoName) : item.uid);
        const std::string text = written.iCalLines();
        return item.uid.empty() ? withoutLine(text, "UID") : text;
    };
    if (item.conduit == kConduitEvent) {
        KTSyncEvent event(&_helper, item.uid, item.fields);
        return write(event);
    }
    KTSyncTask task(&_helper, item.uid, item.fields);
    return write(task);
}

void HomeStoreWriter::put(const StoredText& stored) const
{
    createPath(stringByDeletingLastPathComponent(stored.path));
    std::string file = disk().contentsAtPath(stored.path).value_or(emptyFile());
    const std::size_t end = file.rfind(kItemFileFooter);
    ASSERT_NE(end, std::string::npos) << stored.path;
    disk().writeAtomically(file.insert(end, stored.text), stored.path);
}

void HomeStoreWriter::take(const StoredText& stored) const
{
    if (!isComponent(stored)) {
        disk().removeFileAtPath(stored.path);
        return;
    }
    std::string file = disk().contentsAtPath(stored.path).value_or("");
    const std::size_t at = file.find(stored.text);
    ASSERT_NE(at, std::string::npos) << "not in " << stored.path << ":\n" << stored.text;
    file.erase(at, stored.text.size());
    if (removesEmptyFiles() && !holdsItems(file))
        disk().removeFileAtPath(stored.path);
    else
        disk().writeAtomically(file, stored.path);
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
