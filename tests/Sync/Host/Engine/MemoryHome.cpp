#include "tests/Sync/Host/Engine/MemoryHome.h"

#include <utility>

#include "Sync/Foundation/Exception.h"
#include "Sync/Host/Services/HostClasses.h"
#include "Sync/Host/Services/PluginPreferences.h"
#include "Sync/PlugIns/iCal/ICalSyncPlugin.h"
#include "tests/Sync/Host/Engine/HookedHost.h"
#include "tests/support/ClassesInForce.h"
#include "tests/support/OnDisk.h"
#include "tests/support/QuietServices.h"

namespace kt::test {

namespace {

/// Thrown where a process ends. No Exception, so that nothing in the product catches it.
struct Killed {};

Preferences::Storage storageOf(const MemoryHome::Wishes& wishes)
{
    return wishes.dryRun ? Preferences::Storage::memory : Preferences::Storage::file;
}

}  // namespace

/// All that a process has while it runs.
class MemoryHome::Session {
public:
    Session(MemoryHome& home, const Wishes& wishes)
        : _home(home),
          _wishes(wishes),
          _services(home.store.home(), home.store.systemVersion(), storageOf(wishes)),
          _state(home._statePath, wishes.dryRun ? StateAccess::readOnly : StateAccess::readWrite)
    {
        _home.store.disk()->setFault([this](const std::string& step) { return onDisk(step); });
        _home.store.disk()->unreadable = _home.unreadablePaths();
        if (!_plugin.isEnabled())
            _plugin.enable();
    }
    ~Session()
    {
        _home.store.disk()->setFault({});
        _home.store.disk()->unreadable.clear();
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    SyncRunResult run()
    {
        if (_wishes.isFull)
            _host.updatePreferenceWithBool(kFullSyncPreference, true);
        SyncRunWishes wishes;
        wishes.fromServer = _wishes.fromServer;
        wishes.acceptLosses = _wishes.acceptLosses;
        wishes.allowMassDelete = _wishes.allowMassDelete;
        wishes.dryRun = _wishes.dryRun;
        return SyncRun(_host, _plugin, _engine, _home._backup, _home.store.home(), _stop)
            .run(wishes);
    }
    bool reset() { return _plugin.resetSync(); }

private:
    bool isSettling() const { return _sessions > 1; }
    bool isTheEnd(Break at) const { return _wishes.breakAt == at && !isSettling(); }
    bool writesStore() const { return _host.startResult() > 2; }

    [[noreturn]] void die()
    {
        _isDead = true;
        throw Killed();
    }
    KTClassTable table();
    HookedHost::Hooks hooks();
    void onLoading();
    void onFinished();
    void onState();
    void onPluginIsDone();
    bool onDisk(const std::string& step);
    void loseWhatDoesNotArrive();
    void inStore(const std::function<void()>& work);

    MemoryHome& _home;
    const Wishes& _wishes;
    QuietServices _services;
    StopWish _stop;
    LocalState _state;
    std::unique_ptr<SyncServer> _server = syncServerWithURL(_home.serverUrl);
    HostClasses _classes;
    ClassesInForce _classesInForce{table()};
    SyncEngine _engine{_state, *_server, _classes.reports(),
                       [this](std::string_view line) { _home.log.emplace_back(line); }};
    HookedHost _host{_services.services(), _engine, hooks()};
    ICalSyncPlugin _plugin{&_host};
    int _sessions = 0;
    int _stepsOfRewrite = -1;  // on the store's disk; none unless a rewrite is to be killed
    bool _isDead = false;
};

/// A plug-in that says nothing of places is one that does not find the class for it.
KTClassTable MemoryHome::Session::table()
{
    KTClassTable table = _classes.table();
    if (_home.telling == Telling::noPlaces)
        table.setClass(KTIdentityReport::className, nullptr);
    return table;
}

HookedHost::Hooks MemoryHome::Session::hooks()
{
    HookedHost::Hooks hooks;
    hooks.onLoading = [this] { onLoading(); };
    hooks.onCompared = [this] {
        if (!isSettling())
            _home.pulled = _host.pulled();
        if (isTheEnd(Break::cancelBeforePush))
            _plugin.cancelSync();
    };
    hooks.beforeFinish = [this] {
        if (isTheEnd(Break::killBeforeFinish))
            die();
    };
    hooks.onFinished = [this] { onFinished(); };
    hooks.beforeState = [this] {
        if (_home.beforeRewrite)
            _home.beforeRewrite();
    };
    hooks.onState = [this] { onState(); };
    hooks.onPluginIsDone = [this] { onPluginIsDone(); };
    return hooks;
}

void MemoryHome::Session::onLoading()
{
    ++_sessions;
    if (isSettling()) {
        if (_wishes.breakAt == Break::killBeforeSettling)
            die();
        if (_home.beforeSettling)
            inStore([this] { _home.beforeSettling(); });
    }
    for (const KTLoss& loss : _home.furtherLosses)
        _classes.lossReport().reportLoss(loss);
    for (const HomeCalendar& calendar : _home.store.calendars) {
        if (_home.unsafe.count(calendar.title) != 0)
            _classes.lossReport().reportLoss({calendar.title, calendar.stored->folder,
                                              "Der Ordner heißt nicht wie der Schlüssel",
                                              KTLoss::Kind::unsafe});
    }
    if (isTheEnd(Break::cancelBeforeSession))
        _plugin.cancelSync();
}

void MemoryHome::Session::onFinished()
{
    if (writesStore() && isTheEnd(Break::killAfterFinish))
        die();
    if (writesStore() && isTheEnd(Break::cancelBeforeRewrite))
        _plugin.cancelSync();
}

void MemoryHome::Session::onState()
{
    _home.store.noteRewrite();
    if (isTheEnd(Break::killInRewrite))
        _stepsOfRewrite = 0;
}

void MemoryHome::Session::onPluginIsDone()
{
    if (_isDead || isSettling() || !_host.course().hasTakenState)
        return;
    if (isTheEnd(Break::killInRewrite))
        die();
    loseWhatDoesNotArrive();
    for (const KTLoss& loss : _home.lossesOfRewrite)
        _classes.lossReport().reportLoss(loss);
}

/// In a rewrite that is to be killed one file or two folders of the store are made, and no more.
bool MemoryHome::Session::onDisk(const std::string& step)
{
    // What a destructor does while the stack unwinds would not have happened.
    if (_isDead)
        return false;
    const std::string changed = step.substr(step.rfind(" /") + 1);
    const bool isChange =
        changed.starts_with(_home.store.root()) && !step.starts_with("synchronize");
    if (_stepsOfRewrite >= 0 && isChange && ++_stepsOfRewrite > 2)
        die();
    return true;
}

void MemoryHome::Session::loseWhatDoesNotArrive()
{
    if (_home.full.empty())
        return;
    inStore([this] {
        const auto isLost = [this](const std::string& title) {
            return _home.full.count(title) != 0;
        };
        std::erase_if(_home.store.calendars,
                      [&](const HomeCalendar& each) { return isLost(each.title); });
        for (HomeCalendar& calendar : _home.store.calendars)
            std::erase_if(calendar.items, [&](const HomeItem& item) {
                return isLost(item.fields["Title"].description());
            });
    });
}

/// Somebody works in the store while the run goes on.
void MemoryHome::Session::inStore(const std::function<void()>& work)
{
    _home.store.disk()->unreadable.clear();
    _home.store.read();
    work();
    _home.writeStore();
    _home.store.disk()->unreadable = _home.unreadablePaths();
}

MemoryHome::MemoryHome(const std::string& name, std::string statePath, std::string url,
                       Layout layout)
    : store(layout, "/simulated/" + name),
      serverUrl(std::move(url)),
      _statePath(std::move(statePath))
{}

SyncRunSummary MemoryHome::sync(const Wishes& wishes)
{
    writeStore();
    const OnDisk work(store.home(), store.disk());
    SyncRunResult result;
    doSyncResult = false;
    pulled.clear();
    try {
        result = Session(*this, wishes).run();
    } catch (const Killed&) {}
    doSyncResult = result.isCompleted;
    store.read();
    return result.summary;
}

bool MemoryHome::resetSync()
{
    const OnDisk work(store.home(), store.disk());
    return Session(*this, {}).reset();
}

std::set<std::string> MemoryHome::unreadablePaths() const
{
    std::set<std::string> paths;
    for (const HomeCalendar& calendar : store.calendars) {
        if (unreadable.count(calendar.title) != 0)
            paths.insert(StorePaths::infoFile(calendar.stored->folder));
        for (const HomeItem& item : calendar.items) {
            if (unreadable.count(item.fields["Title"].description()) != 0)
                paths.insert(item.stored->path);
        }
    }
    return paths;
}

void MemoryHome::writeStore()
{
    store.write(telling == Telling::all ? Damage::inPlace : Damage::elsewhere);
}

std::vector<HomeCalendar> MemoryHome::calendarsAsRead()
{
    writeStore();
    return store.calendarsAsRead();
}

bool MemoryHome::isOn(const std::string& calendarTitle)
{
    const OnDisk work(store.home(), store.disk());
    const Preferences preferences(SuiteFolder(store.home()).preferencesPath(),
                                  Preferences::Storage::memory);
    const Value switches = preferences.objectForKey(kSyncedCalendarsPreference, Dictionary{});
    const HomeCalendar* calendar = store.calendar(calendarTitle);
    const Value* isOn =
        calendar == nullptr ? nullptr : switches.dictionary().find(calendar->recordKey());
    return isOn == nullptr || isOn->intValue() != 0;
}

void MemoryHome::setOn(const std::string& calendarTitle, bool isOn)
{
    const OnDisk work(store.home(), store.disk());
    Preferences preferences(SuiteFolder(store.home()).preferencesPath(),
                            Preferences::Storage::file);
    Dictionary switches =
        preferences.objectForKey(kSyncedCalendarsPreference, Dictionary{}).dictionary();
    if (const HomeCalendar* calendar = store.calendar(calendarTitle))
        switches.set(calendar->recordKey(), isOn ? 1 : 0);
    preferences.set(kFullSyncPreference, true);
    preferences.set(kSyncedCalendarsPreference, switches);
}

}  // namespace kt::test
