#include "Sync/Host/Engine/UnreadTexts.h"

#include <algorithm>
#include <map>
#include <set>

#include "Sync/Foundation/FileManager.h"
#include "Sync/Host/Engine/HostLossReport.h"

namespace kt {

namespace {

using Extent = KTLoss::Extent;

std::string folderOf(const std::string& file)
{
    const std::size_t slash = file.rfind('/');
    return slash == std::string::npos ? std::string() : file.substr(0, slash);
}

// Folders are named after the key, with the ending of their kind.
bool isInFolder(const std::string& file, const std::string& sourceKey)
{
    const std::string path = '/' + file + '/';
    return !sourceKey.empty() && (path.find('/' + sourceKey + '/') != std::string::npos ||
                                  path.find('/' + sourceKey + '.') != std::string::npos);
}

bool isBelow(const std::string& path, const std::string& folder)
{
    return path.size() > folder.size() && path.starts_with(folder) && path[folder.size()] == '/';
}

// The same text in the same place. Without a digest it is the place that counts.
std::string nameOf(const KTLoss& loss, const std::string& file)
{
    std::string name = std::to_string(static_cast<int>(loss.extent));
    for (const std::string* part : {&file, &loss.uid, &loss.digest})
        name += '\n' + *part;
    if (loss.extent == Extent::calendar)
        name += '\n' + loss.calendar;
    return name;
}

std::string calendarOf(const SeenRow& row)
{
    return row.local.conduit == kConduitCalendar ? row.local.key : row.localParentKey.value_or("");
}

std::string calendarOf(const KeptRow& row)
{
    return row.id.conduit == kConduitCalendar ? row.id.key : row.parentKey.value_or("");
}

}  // namespace

// Where the state knows records to have stood.
struct UnreadTexts::KnownPlaces {
    KnownPlaces(const Knowledge& knowledge, const StorePlaces& loaded) : places(loaded)
    {
        for (const SeenRow& row : knowledge.seen())
            add(row.local.conduit == kConduitCalendar, calendarOf(row), row.place);
        for (const KeptRow& row : knowledge.kept())
            add(row.id.conduit == kConduitCalendar, calendarOf(row), row.place);
    }

    void add(bool isCalendar, const std::string& calendar, const StorePlace& place)
    {
        calendars.insert(calendar);
        if (isCalendar) {
            if (!place.file.empty())
                folders.emplace(calendar, place.file);
            return;
        }
        if (!place.uid.empty())
            byUid.emplace(place.uid, KnownRecord{false, calendar, place, 0});
        if (place.file.empty())
            return;
        files.insert(place.file);
        // Of an item that is switched off there may be two rows.
        const auto [entry, isNew] = filesByName.emplace(lastPathComponent(place.file), place);
        if (!isNew && entry->second != place)
            entry->second = {};
    }

    // Where one item stood, in a file that is named after it; it may be in another calendar now.
    std::string fileOfName(const std::string& file) const
    {
        const auto found = filesByName.find(lastPathComponent(file));
        return found == filesByName.end() ? "" : found->second.file;
    }

    bool hasFileBelow(const std::string& folder) const
    {
        const auto next = files.lower_bound(folder + '/');
        return next != files.end() && isBelow(*next, folder);
    }

    const StorePlaces& places;
    std::unordered_multimap<std::string, KnownRecord> byUid;
    std::set<std::string> files;                              // of items
    std::unordered_map<std::string, StorePlace> filesByName;  // empty: of several items
    std::unordered_set<std::string> calendars;
    std::multimap<std::string, std::string> folders;  // of calendars, by local key
};

UnreadTexts::UnreadTexts(const std::vector<KTLoss>& losses, const StorePlaces& places,
                         const Knowledge& knowledge)
    : _now(knowledge.facts().unreadTextsChanged + 1)
{
    const std::vector<KTLoss> unread = lossesOfKind(losses, KTLoss::Kind::unread);
    if (unread.empty())
        return;
    std::unordered_map<std::string, std::int64_t> before;
    for (const UnreadTextRow& row : knowledge.unreadTexts())
        before.emplace(row.name, row.since);
    const KnownPlaces known(knowledge, places);
    for (const KTLoss& loss : unread) {
        Text& text = _texts.emplace_back();
        text.loss = loss;
        text.file = places.relative(loss.file);
        text.name = nameOf(loss, text.file);
        const auto earlier = before.find(text.name);
        text.isNew = earlier == before.end();
        if (!loss.digest.empty() || loss.extent == Extent::calendar)
            text.since = text.isNew ? _now : earlier->second;
        tell(text, known);
    }
    indexTexts();
}

void UnreadTexts::tell(Text& text, const KnownPlaces& known) const
{
    switch (text.loss.extent) {
    case Extent::component: {
        if (text.loss.uid.empty())
            return;
        const auto [first, last] = known.byUid.equal_range(text.loss.uid);
        const bool isHere = std::any_of(first, last, [&](const auto& entry) {
            return isSameCalendar(text, entry.second);
        });
        if (first != last)
            text.toldBy = isHere ? ToldBy::uidInCalendar : ToldBy::uid;
        return;
    }
    case Extent::file:
        text.knownFile =
            known.files.count(text.file) != 0 ? text.file : known.fileOfName(text.file);
        if (!text.knownFile.empty())
            text.toldBy = ToldBy::file;
        return;
    case Extent::calendar:
        tellCalendar(text, known);
        return;
    }
}

// A calendar of a known key that was read after all, from its own folder, is not what stands in
// another one: of two calendars of one key only one is read.
void UnreadTexts::tellCalendar(Text& text, const KnownPlaces& known) const
{
    const std::string& key = text.loss.calendarKey;
    bool isAnothers = false;
    for (const auto& [calendar, folder] : known.folders) {
        const bool isItsFolder =
            !text.file.empty() && (text.file == folder || isBelow(text.file, folder));
        if (isItsFolder)
            text.calendars.insert(calendar);
        else if (calendar == key && !text.file.empty() && known.places.report().hasCalendar(key))
            isAnothers = true;
    }
    if (!key.empty() && !isAnothers && known.calendars.count(key) != 0)
        text.calendars.insert(key);
    if (!text.calendars.empty() || (!text.file.empty() && known.hasFileBelow(text.file)))
        text.toldBy = ToldBy::calendar;
    else if (isAnothers)
        text.toldBy = ToldBy::others;
}

UnreadTexts::Group UnreadTexts::groupOf(const Text& text)
{
    return {text.loss.calendarKey + (text.loss.extent == Extent::calendar ? "\n" : ""),
            folderOf(text.file), text.since};
}

void UnreadTexts::indexTexts()
{
    std::set<Group> groups;
    for (std::size_t index = 0; index < _texts.size(); ++index) {
        const Text& text = _texts[index];
        if (text.loss.extent == Extent::calendar)
            _wholeCalendars.push_back(index);
        switch (text.toldBy) {
        case ToldBy::uidInCalendar:
        case ToldBy::uid:
            _byUid.emplace(text.loss.uid, index);
            break;
        case ToldBy::file:
            _byFile.emplace(text.knownFile, index);
            break;
        case ToldBy::nothing:
            if (groups.insert(groupOf(text)).second)
                _untold.push_back(index);
            break;
        case ToldBy::calendar:
        case ToldBy::others:
            break;
        }
    }
}

// Where key or place of either is not known it cannot be told, so it may be.
bool UnreadTexts::isSameCalendar(const Text& text, const KnownRecord& record) const
{
    const std::string& key = text.loss.calendarKey;
    if (!key.empty() && key == record.calendar)
        return true;
    if (!text.file.empty() && !record.place.file.empty())
        return text.file == record.place.file || folderOf(text.file) == folderOf(record.place.file);
    return key.empty() || record.calendar.empty();
}

bool UnreadTexts::isCertain(const Text& text, const KnownRecord& record) const
{
    if (text.loss.extent == Extent::calendar && isInFolder(text.file, record.sourceKey))
        return true;
    switch (text.toldBy) {
    case ToldBy::uidInCalendar:
        return !record.isCalendar && record.place.uid == text.loss.uid &&
               isSameCalendar(text, record);
    case ToldBy::uid:
        return !record.isCalendar && record.place.uid == text.loss.uid;
    case ToldBy::file:
        return !record.isCalendar && record.place.file == text.knownFile;
    case ToldBy::calendar:
        return text.calendars.count(record.calendar) != 0 ||
               (!text.file.empty() && isBelow(record.place.file, text.file));
    case ToldBy::nothing:
    case ToldBy::others:
        return false;
    }
    return false;
}

bool UnreadTexts::isPossible(const Text& text, const KnownRecord& record) const
{
    if (text.toldBy != ToldBy::nothing || text.since < record.since)
        return false;
    if (text.loss.extent == Extent::calendar)
        return true;
    return !record.isCalendar && isSameCalendar(text, record);
}

UnreadClaim UnreadTexts::claimOn(const KnownRecord& record) const
{
    const auto claims = [&](std::size_t text) { return isCertain(_texts[text], record); };
    const auto [firstUid, lastUid] = _byUid.equal_range(record.place.uid);
    const auto [firstFile, lastFile] = _byFile.equal_range(record.place.file);
    const auto claimsIndexed = [&](const auto& entry) { return claims(entry.second); };
    if (std::any_of(firstUid, lastUid, claimsIndexed) ||
        std::any_of(firstFile, lastFile, claimsIndexed) ||
        std::any_of(_wholeCalendars.begin(), _wholeCalendars.end(), claims))
        return UnreadClaim::certain;
    const auto mayClaim = [&](std::size_t text) { return isPossible(_texts[text], record); };
    return std::any_of(_untold.begin(), _untold.end(), mayClaim) ? UnreadClaim::possible
                                                                 : UnreadClaim::none;
}

bool UnreadTexts::isInFolderOf(const std::string& sourceKey) const
{
    return std::any_of(_wholeCalendars.begin(), _wholeCalendars.end(),
                       [&](std::size_t text) { return isInFolder(_texts[text].file, sourceKey); });
}

UnreadClaim UnreadTexts::claim(std::size_t text, const KnownRecord& record) const
{
    if (isCertain(_texts[text], record))
        return UnreadClaim::certain;
    return isPossible(_texts[text], record) ? UnreadClaim::possible : UnreadClaim::none;
}

}  // namespace kt
