#include "tests/histories/World.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "Sync/Foundation/CalendarDate.h"
#include "Sync/Host/Server/SyncServer.h"
#include "tests/histories/ItemMaker.h"
#include "tests/histories/Pick.h"

namespace kt::test {

namespace {

constexpr int kMostRounds = 8;

Date startOfTime()
{
    using namespace std::chrono;
    return Date{sys_days{year{2008} / January / 10} + hours(8)};
}

/// Databases wait for their disk with each commit; thousands of histories need not.
std::filesystem::path folderForDatabases()
{
    const std::filesystem::path inMemory = "/dev/shm";
    return std::filesystem::is_directory(inMemory) ? inMemory
                                                   : std::filesystem::temp_directory_path();
}

}  // namespace

World::World(int devices) : _folder(folderForDatabases()), _now(startOfTime())
{
    for (int number = 0; number < devices; ++number) {
        const std::string name = "device-" + std::to_string(number);
        _devices.push_back(std::make_unique<Device>(name, number % 2 == 0 ? 5 : 4,
                                                    _folder.path(name + ".sqlite"),
                                                    [this] { return _now; }));
        Device& device = *_devices.back();
        Account account{Damages(device.hand(), device.disk())};
        _accounts.emplace(&device, std::move(account));
    }
    addCalendar(*_devices.front(), 0);
}

std::string World::stamp() const
{
    using namespace std::chrono;
    const auto day = floor<days>(_now.instant);
    const year_month_day date(day);
    const hh_mm_ss time(floor<seconds>(_now.instant - day));
    char text[32];
    std::snprintf(text, sizeof text, "%04d%02u%02uT%02d%02d%02dZ", int(date.year()),
                  unsigned(date.month()), unsigned(date.day()),
                  static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()));
    return text;
}

std::string World::recordsOnServer() const
{
    const auto server = syncServerWithURL(serverURL());
    const auto opened = server->openSession("default", "looking", ServerAccess::readOnly);
    std::string text;
    for (const ServerDigest& digest : opened.session->digests())
        text += "server: " + digest.id.conduit + " " + digest.id.key + " in " +
                digest.parentKey.value_or("nothing") + (digest.isTombstone ? " deleted\n" : "\n");
    return text;
}

std::int64_t World::head() const
{
    const auto server = syncServerWithURL(serverURL());
    const auto opened = server->openSession("default", "looking", ServerAccess::readOnly);
    return opened.session ? opened.session->headRevision() : -1;
}

void World::perform(const Operation& operation)
{
    _now.instant += std::chrono::minutes(1);
    Device& device = *_devices[static_cast<std::size_t>(operation.device) % _devices.size()];
    tell(stamp() + " " + device.name() + " " + description(operation));
    accountOf(device).isDirty = accountOf(device).isDirty || operation.what < Do::mend;
    switch (operation.what) {
    case Do::addItem:
        return addItem(device, operation.first, operation.second);
    case Do::edit:
        return edit(device, operation.first, operation.second);
    case Do::move:
        return move(device, operation.first, operation.second);
    case Do::remove:
        return remove(device, operation.first);
    case Do::addCalendar:
        return addCalendar(device, operation.second);
    case Do::removeCalendar:
    case Do::removeAnyCalendar:
        return removeCalendar(device, operation);
    case Do::rename:
    case Do::recolor:
    case Do::reorder:
        return changeCalendar(device, operation);
    case Do::toggle:
        return toggle(device, operation.first);
    case Do::breakItem:
    case Do::breakFile:
    case Do::breakCalendar:
        return damage(device, operation);
    case Do::mend:
        return mendAll(device);
    case Do::copyStore:
    case Do::copyState:
    case Do::copyServer:
        return copy(device, operation.what);
    case Do::putStoreBack:
    case Do::restoreBackup:
    case Do::putStateBack:
    case Do::putServerBack:
        return putBack(device, operation);
    default:
        return sync(device, operation);
    }
}

// No program adds to a file that it cannot read.
bool World::canTakeItem(Device& device, const StoreHand::Calendar& calendar)
{
    return !accountOf(device).damages.isBelow(device.hand().fileForNewItem(calendar, "new"));
}

void World::addItem(Device& device, int which, int what)
{
    Calendars calendars = device.hand().calendars();
    const auto* calendar = pick(calendars, which);
    if (calendar == nullptr)
        return addCalendar(device, what);
    if (!canTakeItem(device, *calendar))
        return;
    const int token = ++_lastToken;
    _mayBeGone[token] = false;
    const ItemText item = makeItem(token, what, stamp());
    device.hand().add(*calendar, "UID-" + std::to_string(token), item);
    tell("  #" + std::to_string(token) + " '" + item.value("SUMMARY").value_or("") + "' in " +
         calendar->title);
}

// Not promised: a rewrite that was cut may leave an item in both calendars that it moves it
// between, and edits of both copies are two items.
bool World::isSecondCopy(Device& device, const StoreHand::Place& place)
{
    const auto items = device.hand().items();
    const auto first = std::find_if(items.begin(), items.end(), [&](const auto& each) {
        return each.item.value("UID") == place.item.value("UID");
    });
    return device.isMarked() && (first->file != place.file || first->index != place.index);
}

void World::edit(Device& device, int which, int what)
{
    auto items = device.hand().items();
    const auto* place = pick(items, which);
    if (place == nullptr || accountOf(device).damages.isBroken(place->item) ||
        isSecondCopy(device, *place))
        return;
    ItemText item = place->item;
    const std::string told = editItem(item, what, stamp());
    device.hand().replace(*place, item);
    tell("  " + told + " of " + toldTokens(item));
}

void World::move(Device& device, int which, int where)
{
    auto items = device.hand().items();
    Calendars calendars = device.hand().calendars();
    const auto* place = pick(items, which);
    const auto* target = pick(calendars, where);
    if (place == nullptr || target->key == place->calendar ||
        accountOf(device).damages.isBroken(place->item) || !canTakeItem(device, *target))
        return;
    const std::string name = place->item.value("UID").value_or("UID-" + stamp());
    device.hand().remove(*place);
    device.hand().add(*target, name, place->item);
    tell("  " + toldTokens(place->item) + " to " + target->title);
}

void World::remove(Device& device, int which)
{
    auto items = device.hand().items();
    const auto* place = pick(items, which);
    if (place == nullptr || accountOf(device).damages.isBroken(place->item))
        return;
    mayBeGone(tokensOf(place->item));
    device.hand().remove(*place);
    tell("  " + toldTokens(place->item));
}

void World::addCalendar(Device& device, int what)
{
    const Calendars calendars = device.hand().calendars();
    std::string title = "Kalender " + std::to_string(what % 6);
    // One that cannot be read is not shown, but comes back.
    const bool isTaken = accountOf(device).brokenTitles.count(title) != 0 ||
                         std::any_of(calendars.begin(), calendars.end(),
                                     [&](const auto& each) { return each.title == title; });
    const std::string number = std::to_string(++_lastTitle);
    if (isTaken)
        title = "Neuer " + number;
    device.hand().addCalendar("KEY-" + number, title);
    tell("  calendar " + title);
}

void World::removeCalendar(Device& device, const Operation& operation)
{
    Calendars calendars = device.hand().calendars();
    const auto* calendar = pick(calendars, operation.first);
    if (calendar == nullptr || accountOf(device).damages.isBelow(calendar->folder))
        return;
    if (operation.what == Do::removeCalendar && !device.isOn(calendar->title))
        return;
    tell("  calendar " + calendar->title);
    for (const auto& place : device.hand().items()) {
        if (place.calendar != calendar->key)
            continue;
        mayBeGone(tokensOf(place.item));
        tell("  " + toldTokens(place.item));
    }
    device.hand().removeCalendar(*calendar);
}

void World::changeCalendar(Device& device, const Operation& operation)
{
    Calendars calendars = device.hand().calendars();
    const auto* calendar = pick(calendars, operation.first);
    if (calendar == nullptr)
        return;
    // Of two calendars of one title a store gives only one.
    const std::string title = "Umbenannt " + std::to_string(++_lastTitle);
    tell("  calendar " + calendar->title + (operation.what == Do::rename ? " to " + title : ""));
    if (operation.what == Do::rename)
        device.hand().rename(*calendar, title);
    else if (operation.what == Do::recolor)
        device.hand().setColor(*calendar, "#0000" + std::to_string(10 + operation.second) + "FF");
    else
        device.hand().putFirst(static_cast<std::size_t>(calendar - calendars.data()));
}

void World::toggle(Device& device, int which)
{
    Calendars calendars = device.hand().calendars();
    const auto* calendar = pick(calendars, which);
    if (calendar == nullptr)
        return;
    const bool isOn = device.isOn(calendar->title);
    device.setOn(calendar->title, !isOn);
    tell("  calendar " + calendar->title + (isOn ? " off" : " on"));
}

// A calendar that holds something broken is not loaded at all.
std::set<int> World::tokensWrittenOver(Device& device)
{
    const Damages& damages = accountOf(device).damages;
    std::set<int> tokens = damages.tokens();
    for (const auto& calendar : device.hand().calendars()) {
        if (!damages.isBelow(calendar.folder))
            continue;
        for (const auto& place : device.hand().itemsBelow(calendar.folder))
            tokens.merge(tokensOf(place.item));
    }
    return tokens;
}

void World::sync(Device& device, const Operation& operation)
{
    SyncRunWishes wishes;
    wishes.allowMassDelete = true;
    wishes.acceptLosses = operation.what == Do::syncAcceptingLosses;
    // What could not be read and never was on the server is given up by that.
    if (wishes.acceptLosses)
        mayBeGone(tokensWrittenOver(device));
    if (operation.what == Do::syncFully)
        device.askForFullSync();
    Fault fault{Fault::Kind::none, operation.first + 1};
    if (operation.what == Do::syncFailing)
        fault.kind = Fault::Kind::fails;
    if (operation.what == Do::syncWithoutRoom)
        fault.kind = Fault::Kind::full;
    if (operation.what == Do::syncKilled)
        fault.kind = Fault::Kind::killed;
    if (operation.what == Do::syncCancelled)
        fault.kind = Fault::Kind::cancelled;
    const std::string url =
        operation.what == Do::syncOffline ? "sqlite:" + _folder.path("away/server") : serverURL();
    run(device, url, wishes, fault);
}

void World::run(Device& device, const std::string& url, const SyncRunWishes& wishes,
                const Fault& fault)
{
    const Device::Run run = device.sync(url, wishes, fault);
    note(device, run);
}

// What could not be read is known where it could be before.
void World::noteSynced(Device& device)
{
    Account& account = accountOf(device);
    std::set<int> synced = tokensIn(device);
    for (const int token : tokensWrittenOver(device))
        if (account.synced.count(token) == 0)
            synced.erase(token);
    account.synced = std::move(synced);
}

void World::note(Device& device, const Device::Run& run)
{
    if (run.result.isCompleted) {
        accountOf(device).hasBase = true;
        accountOf(device).isDirty = false;
        noteSynced(device);
    }
    std::string line = "  " + device.name() + ": ";
    if (run.isKilled)
        line += "killed ";
    if (!run.refusal.empty())
        line += "refused: " + run.refusal + " ";
    const SyncRunSummary& summary = run.result.summary;
    line += "completed " + std::to_string(run.result.isCompleted) + " start " +
            std::to_string(summary.startResult) + " sent " + std::to_string(summary.sent) +
            " received " + std::to_string(summary.received) + " deleted here " +
            std::to_string(summary.deletedHere) + " there " +
            std::to_string(summary.deletedOnServer) + (summary.settled ? " settled" : "") + " in " +
            std::to_string(run.steps) + " steps";
    for (const std::string& reason : run.result.reasons)
        line += "\n    " + reason;
    for (const KTLoss& loss : summary.losses)
        if (loss.kind != KTLoss::Kind::thinned)
            line += "\n    loss: " + loss.file + ": " + loss.reason;
    if (run.isKilled || !run.refusal.empty() || !run.result.isCompleted ||
        (summary.needsSettling && !summary.settled))
        _failedRuns += line + "\n";
    tell(line);
}

bool World::switchAllOn(Device& device)
{
    bool hasSwitched = false;
    for (const auto& calendar : device.hand().calendars()) {
        if (device.isOn(calendar.title))
            continue;
        device.setOn(calendar.title, true);
        hasSwitched = true;
    }
    return hasSwitched;
}

void World::syncAll()
{
    _failedRuns.clear();
    SyncRunWishes wishes;
    wishes.allowMassDelete = true;
    for (const auto& device : _devices) {
        _now.instant += std::chrono::minutes(1);
        run(*device, serverURL(), wishes, {});
    }
}

bool World::comeToRest()
{
    tell("all come to rest");
    for (const auto& device : _devices)
        mendAll(*device);
    for (int round = 0; round < kMostRounds; ++round) {
        const std::int64_t before = head();
        std::vector<std::map<std::string, std::string>> disks;
        bool hasSwitched = false;
        for (const auto& device : _devices) {
            hasSwitched = switchAllOn(*device) || hasSwitched;
            disks.push_back(device->disk().description("/"));
        }
        syncAll();
        const bool isStill = std::equal(_devices.begin(), _devices.end(), disks.begin(),
                                        [](const auto& device, const auto& disk) {
                                            return device->disk().description("/") == disk;
                                        });
        if (isStill && !hasSwitched && head() == before && round > 0)
            return true;
    }
    return false;
}

}  // namespace kt::test
