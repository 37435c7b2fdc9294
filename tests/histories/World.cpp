#include "tests/histories/World.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "Sync/Foundation/CalendarDate.h"
#include "Sync/Host/Server/SyncServer.h"
#include "tests/histories/ItemMaker.h"

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
    case Do::detach:
        return detach(device, operation.first, operation.second);
    case Do::addCalendar:
        return addCalendar(device, operation.second);
    case Do::subscribe:
        return subscribe(device);
    case Do::removeCalendar:
    case Do::removeAnyCalendar:
        return removeCalendar(device, operation);
    case Do::rename:
    case Do::recolor:
    case Do::reorder:
        return changeCalendar(device, operation);
    case Do::toggle:
        return toggle(device, operation.first);
    case Do::addGroup:
        return addGroup(device, operation.second);
    case Do::putIntoGroup:
        return putIntoGroup(device, operation);
    case Do::renameGroup:
    case Do::removeGroup:
        return changeGroup(device, operation);
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
    account.places.clear();
    for (const auto& place : device.hand().items())
        for (const int token : tokensOf(place.item))
            account.places[token] = place.calendar;
    for (const auto& calendar : device.hand().calendars())
        if (!account.damages.isBelow(calendar.folder))
            account.syncedFolders.insert(calendar.folder);
}

void World::note(Device& device, const Device::Run& run)
{
    if (run.result.isCompleted) {
        accountOf(device).hasBase = true;
        accountOf(device).isDirty = false;
        accountOf(device).knowsServer = true;
        accountOf(device).isOlder = false;
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
        if (device.isOn(calendar))
            continue;
        device.setOn(calendar, true);
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
