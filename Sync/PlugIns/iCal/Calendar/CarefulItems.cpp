#include "Sync/PlugIns/iCal/Calendar/CarefulItems.h"

#include <algorithm>
#include <utility>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/HostInterface/StorePaths.h"
#include "Sync/PlugIns/iCal/Calendar/ChangedItemText.h"
#include "Sync/PlugIns/iCal/Calendar/ItemFile.h"
#include "Sync/PlugIns/iCal/Calendar/ItemText.h"

namespace kt {

namespace {

/// The key of the series that an event belongs to; its own key where it is none's occurrence.
std::string seriesKey(const KTSyncRecord& record)
{
    const Value& series = record.record()["RecurrenceParentRecordKey"];
    return series.isString() ? std::string(series.string()) : record.recordKey();
}

/// What somebody wrote since the file was loaded would be lost. Throws Exception.
void checkUnchanged(const ItemFileEdit& file, const std::string& path, std::size_t hashWhenLoaded)
{
    if (hashWhenLoaded != 0 && file.hash() != hashWhenLoaded)
        throw Exception(NSGenericException,
                        stringWithFormat("'%@' hat sich seit dem Laden geändert", path));
}

std::string fileText(const std::string& components)
{
    return std::string(kItemFileHeader) + components + std::string(kItemFileFooter);
}

}  // namespace

CarefulItems::CarefulItems(KTSyncPluginHelper* pluginHelper, const LoadedCalendar* stored,
                           const CarefulRewriting& rewriting, ItemFiling filing, std::string title)
    : _pluginHelper(pluginHelper),
      _stored(stored),
      _rewriting(rewriting),
      _filing(std::move(filing)),
      _title(std::move(title))
{
    if (_stored == nullptr)
        return;
    _stays.resize(_stored->items.size());
    _isWanted.resize(_stored->items.size());
}

void CarefulItems::plan(const std::vector<SyncRecord>& wanted, StoreEdits& edits)
{
    giveUp();
    static const std::vector<LoadedItem> none;
    const auto& stored = _stored == nullptr ? none : _stored->items;
    const bool areKnown = std::any_of(wanted.begin(), wanted.end(), [](const SyncRecord& record) {
        return StoredItems::isKnown(*record);
    });
    const std::vector<ItemPair> pairs = pairItems(stored, wanted, knownItems(wanted),
                                                  areKnown ? Unknown::isNew : Unknown::isSearched);
    const bool isAnyNew =
        std::any_of(pairs.begin(), pairs.end(), [](const ItemPair& pair) { return !pair.stored; });
    for (std::size_t index = 0; isAnyNew && index < wanted.size(); ++index) {
        if (pairs[index].stored)
            findHome(wanted[index], stored[*pairs[index].stored]);
    }
    for (std::size_t index = 0; index < wanted.size(); ++index) {
        if (pairs[index].stored)
            keepOrChange(wanted[index], pairs[index]);
    }
    for (std::size_t index = 0; index < wanted.size(); ++index) {
        if (!pairs[index].stored)
            add(wanted[index]);
    }
    removeUnwanted();
    finish(edits);
}

std::vector<std::optional<std::size_t>> CarefulItems::knownItems(
    const std::vector<SyncRecord>& wanted) const
{
    std::vector<std::optional<std::size_t>> known(wanted.size());
    for (std::size_t index = 0; index < wanted.size(); ++index) {
        const auto item = _rewriting.items.itemOf(*wanted[index]);
        if (item && item->calendar == _stored)
            known[index] = item->number;
    }
    return known;
}

std::optional<StoredItems::Item> CarefulItems::movedItem(const SyncRecord& wanted) const
{
    const auto item = _rewriting.items.itemOf(*wanted);
    return item && item->calendar != _stored ? item : std::nullopt;
}

/// The UID as it stands; an item without one keeps none, so any does for comparing.
std::string CarefulItems::uidOf(const LoadedItem& stored, const SyncRecord& wanted) const
{
    return stored.uid.isString() ? std::string(stored.uid.string()) : wanted->recordKey();
}

const std::string& CarefulItems::pathOf(const TextPlace& place) const
{
    return _stored->files[place.file].path;
}

/// The series itself decides where there are several.
void CarefulItems::findHome(const SyncRecord& wanted, const LoadedItem& stored)
{
    const std::string key = seriesKey(*wanted);
    const Home home{uidOf(stored, wanted), pathOf(stored.place)};
    if (key == wanted->recordKey())
        _homes.insert_or_assign(key, home);
    else
        _homes.try_emplace(key, home);
}

void CarefulItems::keepOrChange(const SyncRecord& wanted, const ItemPair& pair)
{
    const std::size_t number = *pair.stored;
    const LoadedItem& stored = _stored->items[number];
    _isWanted[number] = true;
    _stays[number] = pair.hasEqualRecord;
    if (pair.hasEqualRecord)
        return;

    _rewriting.saveStore();
    const std::string uid = uidOf(stored, wanted);
    {
        const LossSilence silence;
        _stays[number] = fullItemText(_pluginHelper, *stored.record, uid) ==
                         fullItemText(_pluginHelper, *wanted, uid);
    }
    if (_stays[number])
        return;
    const LossScope scope(_title, pathOf(stored.place));
    const std::string_view storedText = open(pathOf(stored.place)).edit.textAt(stored.place);
    replace(stored.place, changedText(storedText, stored.record, wanted, uid));
}

/// What the record changes in a text that gave another one.
std::string CarefulItems::changedText(std::string_view storedText, const SyncRecord& stored,
                                      const SyncRecord& wanted, const std::string& uid) const
{
    const std::string wantedText = fullItemText(_pluginHelper, *wanted, uid);
    const LossSilence silence;
    const std::string writtenText = fullItemText(_pluginHelper, *stored, uid);
    const std::string aim = fullItemText(_pluginHelper, *wanted, std::string(kAnyUID));
    return changedItemText({storedText, writtenText, wantedText, aim}, [&](std::string_view text) {
        return itemTextAsRead(_pluginHelper, text);
    });
}

void CarefulItems::add(const SyncRecord& wanted)
{
    const std::string series = seriesKey(*wanted);
    Home& home = _homes.try_emplace(series, Home{"", ""}).first->second;
    const auto moved = movedItem(wanted);
    if (home.uid.empty())
        home.uid = freeUID(moved ? uidOf(moved->item(), wanted) : series);
    if (home.path.empty())
        home.path = pathForNew(series);
    if (home.path.empty())
        return refuse(wanted);
    _rewriting.saveStore();
    const LossScope scope(_title, home.path);
    append(home.path, textOfNew(wanted, home.uid));
}

/// One that was in another calendar takes along what no record holds of it.
std::string CarefulItems::textOfNew(const SyncRecord& wanted, const std::string& uid)
{
    const auto moved = movedItem(wanted);
    if (!moved)
        return itemText(_pluginHelper, *wanted, uid);
    const ItemFileEdit file(
        FileManager::defaultManager().contentsAtPath(moved->path()).value_or(""));
    checkUnchanged(file, moved->path(), moved->calendar->files[moved->item().place.file].hash);
    const LossSilence silence;
    const std::string ownUID = uidOf(moved->item(), wanted);
    const std::string text =
        changedText(file.textAt(moved->item().place), moved->item().record, wanted, ownUID);
    return ownUID == uid ? text : itemText(_pluginHelper, *wanted, uid);
}

/// An item that was edited keeps the UID that its first key has become.
std::string CarefulItems::freeUID(const std::string& key)
{
    if (!_uids) {
        _uids.emplace();
        for (std::size_t number = 0; _stored != nullptr && number < _stored->items.size();
             ++number) {
            const Value& stored = _stored->items[number].uid;
            _uids->insert(stored.isString() ? std::string(stored.string()) : std::string());
        }
    }
    std::string uid = key;
    for (int number = 2; !_uids->insert(uid).second; ++number)
        uid = key + '-' + std::to_string(number);
    return uid;
}

/// Record keys come from other machines; one with a slash would lead out of the folder.
void CarefulItems::refuse(const SyncRecord& wanted) const
{
    logMsg(_pluginHelper,
           "Kalender '%@': '%@' wird nicht geschrieben, '%@' ist als Dateiname nicht erlaubt",
           _title, wanted->record()["Title"], wanted->recordKey());
    const LossScope scope(_title, _filing.folder);
    reportLoss(KTLoss::Kind::curtailed,
               "Eintrag wird nicht geschrieben: sein Schlüssel ist kein Dateiname");
}

/// Empty for a key that no file can be named after.
std::string CarefulItems::pathForNew(const std::string& key)
{
    if (!_filing.commonFile)
        return StorePaths::isItemKey(key) ? freePath(key) : "";
    // A common file that cannot be read stays as it is, and new items stand beside it.
    const std::string& common = *_filing.commonFile;
    if (loadedFile(common) == nullptr || open(common).edit.isWhole())
        return common;
    const std::string name = lastPathComponent(common);
    return freePath(name.substr(0, name.size() - pathExtension(name).size() - 1));
}

/// The name of another file is never taken, be that one readable or not.
std::string CarefulItems::freePath(const std::string& stem) const
{
    std::string path = StorePaths::itemFile105(_filing.folder, stem);
    for (int number = 2; _newFiles.contains(path) ||
                         FileManager::defaultManager().linkStatusAtPath(path).has_value();
         ++number)
        path = StorePaths::itemFile105(_filing.folder, stem + '-' + std::to_string(number));
    return path;
}

/// Null for a file that was not there. They were loaded in the order of their names.
const ItemSources::File* CarefulItems::loadedFile(const std::string& path) const
{
    if (_stored == nullptr)
        return nullptr;
    const auto& files = _stored->files;
    const auto found =
        std::lower_bound(files.begin(), files.end(), path,
                         [](const ItemSources::File& file, const std::string& wanted) {
                             return file.path < wanted;
                         });
    return found != files.end() && found->path == path ? &*found : nullptr;
}

CarefulItems::OpenFile& CarefulItems::open(const std::string& path)
{
    const auto known = _open.find(path);
    if (known != _open.end())
        return known->second;
    auto bytes = FileManager::defaultManager().contentsAtPath(path);
    OpenFile file{ItemFileEdit(std::move(bytes).value_or(""))};
    if (const ItemSources::File* loaded = loadedFile(path))
        checkUnchanged(file.edit, path, loaded->hash);
    return _open.emplace(path, std::move(file)).first->second;
}

void CarefulItems::replace(const TextPlace& place, std::string component)
{
    OpenFile& file = open(pathOf(place));
    file.edit.replace(place, std::move(component));
    file.isChanged = true;
}

void CarefulItems::append(const std::string& path, const std::string& component)
{
    if (loadedFile(path) == nullptr) {
        _newFiles[path] += component;
        return;
    }
    OpenFile& file = open(path);
    file.edit.append(component);
    file.isChanged = true;
}

/// Copies of an event that does not stay as it is would come up in its place.
void CarefulItems::removeUnwanted()
{
    if (_stored == nullptr)
        return;
    for (std::size_t number = 0; number < _stored->items.size(); ++number) {
        if (!_isWanted[number])
            replace(_stored->items[number].place, "");
    }
    for (const ItemSources::Copy& copy : _stored->copies) {
        if (!_stays[copy.of])
            replace(copy.place, "");
    }
}

bool CarefulItems::isOfThisCalendar(const KTLoss& unread) const
{
    if (loadedFile(unread.file) != nullptr)
        return true;
    return unread.extent == KTLoss::Extent::calendar && _stored != nullptr &&
           unread.calendarKey == _stored->recordKey;
}

void CarefulItems::giveUp()
{
    const auto* const careful = hostClass<KTCarefulWriting>();
    if (careful == nullptr || _stored == nullptr)
        return;
    for (const KTLoss& unread : _rewriting.unread) {
        if (isOfThisCalendar(unread) && careful->isGivenUp(unread))
            giveUp(unread);
    }
}

void CarefulItems::giveUp(const KTLoss& unread)
{
    for (const ItemSources::Unread& component : _stored->unread) {
        if (unread.extent == KTLoss::Extent::component && component.digest == unread.digest &&
            pathOf(component.place) == unread.file)
            return replace(component.place, "");
    }
    for (const ItemSources::File& file : _stored->files) {
        if (unread.extent == KTLoss::Extent::calendar || file.path == unread.file)
            giveUpUnreadIn(file.path);
    }
}

/// What was read stays, and what of the rest has a place of its own is asked for by itself.
void CarefulItems::giveUpUnreadIn(const std::string& path)
{
    std::vector<TextPlace> known;
    const auto addFrom = [&](const auto& list) {
        for (const auto& each : list) {
            if (pathOf(each.place) == path)
                known.push_back(each.place);
        }
    };
    addFrom(_stored->items);
    addFrom(_stored->copies);
    addFrom(_stored->unread);
    OpenFile& file = open(path);
    file.edit.giveUpUnread(known);
    file.isChanged = true;
}

void CarefulItems::finish(StoreEdits& edits)
{
    for (const auto& [path, file] : _open) {
        if (!file.isChanged)
            continue;
        std::string text = file.edit.result();
        if (_filing.commonFile != path && !holdsMoreThanFrame(text)) {
            edits.remove(path, _title);
            continue;
        }
        if (!file.edit.takesOut()) {
            edits.write(path, std::move(text), _title);
            continue;
        }
        if (file.edit.puts())
            edits.write(path, file.edit.resultBeforeTakingOut(), _title);
        edits.takeOut(path, std::move(text), _title);
    }
    // iCal looks for the common file of every calendar.
    if (_stored == nullptr && _filing.commonFile && _newFiles.empty())
        _newFiles.emplace(*_filing.commonFile, "");
    for (const auto& [path, components] : _newFiles)
        edits.write(path, fileText(components), _title);
}

}  // namespace kt
