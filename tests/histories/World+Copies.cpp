// What is broken and mended, and what is put back from older copies.

#include <algorithm>
#include <filesystem>

#include "tests/histories/ItemMaker.h"
#include "tests/histories/Pick.h"
#include "tests/histories/World.h"

namespace kt::test {

namespace {

constexpr const char* kCopy = ".copy";

}  // namespace

/// A text stays unread until somebody mends it. Without a common past it cannot be known that a
/// record of the server is the same, and while a rewrite is not settled a calendar that cannot be
/// read is taken for half made. A calendar that was never read has no title that would keep another
/// one of it away. Nor can it be known what was moved just before into a calendar that cannot be
/// read as a whole.
void World::damage(Device& device, const Operation& operation)
{
    Account& account = accountOf(device);
    auto items = device.hand().items();
    Calendars calendars = device.hand().calendars();
    const auto* place = pick(items, operation.first);
    const auto* calendar = pick(calendars, operation.first);
    if (place == nullptr || !account.hasBase ||
        (operation.what == Do::breakCalendar && account.syncedFolders.count(calendar->folder) == 0))
        return;
    const bool isKnownByName = operation.what == Do::breakFile && device.systemVersion() != 4;
    if (!isKnownByName &&
        wasMovedInto(device, operation.what == Do::breakCalendar ? calendar->key : place->calendar))
        return;
    std::string told;
    if (operation.what == Do::breakItem)
        told = account.damages.breakItem(*place);
    else if (!device.isMarked())
        told = account.damages.breakFile(
            operation.what == Do::breakFile ? place->file : StorePaths::infoFile(calendar->folder));
    _hasHadDamages = _hasHadDamages || !told.empty();
    if (operation.what == Do::breakCalendar && !told.empty())
        account.brokenTitles.insert(calendar->title);
    tell("  " + told);
}

bool World::wasMovedInto(Device& device, const std::string& key)
{
    const auto& places = accountOf(device).places;
    for (const auto& place : device.hand().items())
        for (const int token : tokensOf(place.item)) {
            const auto before = places.find(token);
            if (place.calendar == key && before != places.end() && before->second != key)
                return true;
        }
    return false;
}

void World::mendAll(Device& device)
{
    accountOf(device).damages.mendAll();
    accountOf(device).brokenTitles.clear();
}

std::set<int> World::tokensIn(Device& device)
{
    std::set<int> tokens = accountOf(device).damages.tokens();
    for (const auto& place : device.hand().items())
        tokens.merge(tokensOf(place.item));
    return tokens;
}

void World::mayBeGone(const std::set<int>& tokens)
{
    for (const int token : tokens)
        _mayBeGone[token] = true;
}

void World::copy(Device& device, Do what)
{
    Account& account = accountOf(device);
    if (what == Do::copyStore) {
        account.store.emplace(
            Account::Store{device.copyOfStore(), tokensIn(device), account.damages});
        return;
    }
    const std::string path = what == Do::copyServer ? serverPath() : device.statePath();
    if (!std::filesystem::exists(path))
        return;
    std::filesystem::copy_file(path, path + kCopy,
                               std::filesystem::copy_options::overwrite_existing);
    if (what == Do::copyState) {
        account.hasState = true;
        account.stateHasBase = account.hasBase;
        account.stateSynced = account.synced;
    }
}

void World::putBack(Device& device, const Operation& operation)
{
    switch (operation.what) {
    case Do::putStoreBack:
        return putStoreBack(device);
    case Do::restoreBackup:
        return restoreBackup(device, operation.first);
    case Do::putStateBack:
        return putStateBack(device);
    default:
        return putServerBack();
    }
}

/// What no run has seen yet is then in the newest backup alone.
void World::restoreBackup(Device& device, int which)
{
    std::vector<std::string> names = device.backups().names();
    const std::string* name = pick(names, which);
    if (name == nullptr || isServerOlder())
        return;
    accountOf(device).isOlder = true;
    std::set<int> gone = tokensIn(device);
    for (const int token : accountOf(device).synced)
        gone.erase(token);
    mayBeGone(gone);
    device.restoreBackup(*name);
}

/// Without what was seen, an item that is edited before the next run is known by nothing that the
/// server knows as well: it would be another one. So that run comes at once. Nor can it be known
/// then what a text is that cannot be read and was not there yet when the state was copied.
void World::putStateBack(Device& device)
{
    Account& account = accountOf(device);
    if (!account.hasState || account.isDirty)
        return;
    for (const int token : tokensWrittenOver(device))
        if (account.stateSynced.count(token) == 0)
            return;
    std::filesystem::copy_file(device.statePath() + kCopy, device.statePath(),
                               std::filesystem::copy_options::overwrite_existing);
    account.hasBase = account.stateHasBase;
    sync(device, {Do::sync, 0, 0, 0});
}

/// A server that has grown past what a device knows since it was put back is noticed only by a full
/// comparison. What an older store brings to an older server is not known to be what others had.
void World::putServerBack()
{
    const bool isAnyOlder = std::any_of(_accounts.begin(), _accounts.end(),
                                        [](const auto& each) { return each.second.isOlder; });
    if (!std::filesystem::exists(serverPath() + kCopy) || isAnyOlder)
        return;
    std::filesystem::copy_file(serverPath() + kCopy, serverPath(),
                               std::filesystem::copy_options::overwrite_existing);
    for (const auto& device : _devices) {
        device->askForFullSync();
        accountOf(*device).knowsServer = false;
    }
}

bool World::isServerOlder() const
{
    return std::any_of(_accounts.begin(), _accounts.end(),
                       [](const auto& each) { return !each.second.knowsServer; });
}

/// By hand, behind the host's back: what is newer than the copy is deleted by that.
void World::putStoreBack(Device& device)
{
    Account& account = accountOf(device);
    if (!account.store || isServerOlder())
        return;
    account.isOlder = true;
    std::set<int> gone = tokensIn(device);
    for (const int token : account.store->tokens)
        gone.erase(token);
    mayBeGone(gone);
    device.putStoreBack(account.store->copy);
    account.damages = account.store->damages;
}

}  // namespace kt::test
