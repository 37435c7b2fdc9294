#pragma once

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tests/histories/Damages.h"
#include "tests/histories/Device.h"
#include "tests/histories/Operation.h"
#include "tests/support/TemporaryFolder.h"

namespace kt::test {

/// Several devices, their server and the people who use them: does what a history says, and keeps
/// the ledger of what was made and deleted. The same history always ends in the same world.
class World {
public:
    explicit World(int devices);

    void perform(const Operation& operation);
    /// Lets everything be mended and switched on, and everybody sync until nothing moves. False
    /// when something still moves after many rounds.
    bool comeToRest();
    /// One run of everybody, without faults.
    void syncAll();

    const std::vector<std::unique_ptr<Device>>& devices() const { return _devices; }
    /// Of each item that somebody made, whether it may be gone: somebody deleted it, or what it
    /// stood in.
    const std::map<int, bool>& ledger() const { return _mayBeGone; }
    /// What happened, a line each.
    const std::string& story() const { return _story; }
    std::string runsThatFailed() const { return _failedRuns; }
    /// Whether any text could not be read at any time.
    bool hasHadDamages() const { return _hasHadDamages; }
    /// What the server holds, a line each.
    std::string recordsOnServer() const;
    /// The server's revision.
    std::int64_t head() const;

private:
    using Calendars = std::vector<StoreHand::Calendar>;

    /// What is known of a device beside itself.
    struct Account {
        Damages damages;
        std::set<std::string> brokenTitles{};  // of calendars, until all is mended
        bool hasBase = false;                  // a run of it was completed
        bool isDirty = false;                  // somebody worked in the store since
        bool knowsServer = true;               // ... since the server was put back
        bool isOlder = false;                  // the store was put back since
        std::set<int> synced{};  // tokens that were in the store at its end and known by then
        std::map<int, std::string> places{};    // folders of the calendars that they stood in
        std::set<std::string> syncedFolders{};  // of calendars, likewise
        struct Store {
            Device::StoreCopy copy;
            std::set<int> tokens;
            Damages damages;
        };
        std::optional<Store> store{};  // an older copy
        bool hasState = false;         // an older copy of its state stands beside it
        bool stateHasBase = false;
        std::set<int> stateSynced{};
    };

    void tell(const std::string& line) { _story += line + "\n"; }
    Date now() const { return _now; }
    std::string stamp() const;
    std::string serverURL() const { return "sqlite:" + serverPath(); }

    bool canTakeItem(Device& device, const StoreHand::Calendar& calendar);
    void addItem(Device& device, int which, int what);
    void edit(Device& device, int which, int what);
    /// Those that the program lets people change.
    static std::vector<StoreHand::Place> ownItems(Device& device);
    bool isSecondCopy(Device& device, const StoreHand::Place& place);
    bool isAnyBroken(Device& device, const std::vector<StoreHand::Place>& places);
    void move(Device& device, int which, int where);
    void remove(Device& device, int which);
    void detach(Device& device, int which, int what);
    void addCalendar(Device& device, int what);
    void subscribe(Device& device);
    void removeCalendar(Device& device, const Operation& operation);
    void changeCalendar(Device& device, const Operation& operation);
    void toggle(Device& device, int which);
    void addGroup(Device& device, int what);
    void putIntoGroup(Device& device, const Operation& operation);
    void changeGroup(Device& device, const Operation& operation);
    void damage(Device& device, const Operation& operation);
    bool wasMovedInto(Device& device, const std::string& key);
    void mendAll(Device& device);
    void copy(Device& device, Do what);
    void putBack(Device& device, const Operation& operation);
    void putStoreBack(Device& device);
    void restoreBackup(Device& device, int which);
    void putStateBack(Device& device);
    void putServerBack();
    bool isServerOlder() const;  // than what some device knows of it
    void mayBeGone(const std::set<int>& tokens);
    std::set<int> tokensIn(Device& device);
    std::set<int> tokensWrittenOver(Device& device);
    Account& accountOf(Device& device) { return _accounts.at(&device); }
    std::string serverPath() const { return _folder.path("server.sqlite"); }
    void sync(Device& device, const Operation& operation);
    void run(Device& device, const std::string& url, const SyncRunWishes& wishes,
             const Fault& fault);
    void note(Device& device, const Device::Run& run);
    void noteSynced(Device& device);
    bool switchAllOn(Device& device);

    TemporaryFolder _folder;
    Date _now;
    std::vector<std::unique_ptr<Device>> _devices;
    std::map<const Device*, Account> _accounts;
    std::map<int, bool> _mayBeGone;
    bool _hasHadDamages = false;
    int _lastToken = 0;
    int _lastTitle = 0;
    std::string _story;
    std::string _failedRuns;  // of the last round
};

}  // namespace kt::test
