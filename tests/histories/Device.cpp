#include "tests/histories/Device.h"

#include <utility>

#include "Sync/Additions/KTFileManagerAdditions.h"
#include "Sync/Foundation/Digest.h"
#include "Sync/Foundation/Exception.h"
#include "Sync/Host/Engine/LocalState.h"
#include "Sync/Host/Services/HostClasses.h"
#include "Sync/Host/Services/PluginPreferences.h"
#include "Sync/Host/Services/StopWish.h"
#include "Sync/Host/Services/SuiteFolder.h"
#include "Sync/PlugIns/iCal/ICalSyncPlugin.h"
#include "tests/histories/SteppedHost.h"
#include "tests/histories/SteppedServer.h"
#include "tests/support/ClassesInForce.h"
#include "tests/support/PlatformScope.h"
#include "tests/support/QuietServices.h"

namespace kt::test {

namespace {

constexpr const char* kZone = "Europe/Berlin";

/// The process-wide settings of one machine, for the length of a scope.
class OnDevice {
public:
    OnDevice(const std::string& home, std::shared_ptr<MemoryFileManager> disk, Device::Clock clock)
        : _platform(home, kZone)
    {
        Platform::shared().setFileManager(std::move(disk));
        Platform::shared().setClock(std::move(clock));
    }

private:
    PlatformScope _platform;
};

std::string keyOf(const StoreHand::Calendar& calendar)
{
    const bool isOwn = calendar.kind == StoreHand::Kind::own;
    return sha1DigestHex(calendar.title + (isOwn ? "CalendarNode" : "CalendarSubscriber"));
}

}  // namespace

/// All that a process has while it runs.
class Device::Session {
public:
    Session(Device& device, const std::string& serverURL, const Fault& fault)
        : _device(device),
          _steps(fault, [this] { _stop.wish(); }),
          _state(device._statePath),
          _server(syncServerWithURL(serverURL), _steps)
    {
        _device.disk().setFault([this](const std::string& step) { return _steps.onDisk(step); });
    }
    ~Session() { _device.disk().setFault({}); }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    void run(const SyncRunWishes& wishes, Run& run)
    {
        try {
            if (!_plugin.isEnabled())
                _plugin.enable();
            run.result = SyncRun(_host, _plugin, _engine, _device._backups, _device._home, _stop)
                             .run(wishes);
            _device._records = _host.loaded();
        } catch (const Killed&) {
            run.isKilled = true;
        }
        run.steps = _steps.count();
        run.log = _host.log();
    }

private:
    Device& _device;
    StopWish _stop;
    Steps _steps;
    LocalState _state;
    SteppedServer _server;
    HostClasses _classes;
    ClassesInForce _classesInForce{_classes.table()};
    QuietServices _services{_device._home, _device._systemVersion, Preferences::Storage::file};
    SyncEngine _engine{_state, _server, _classes.reports(),
                       [this](std::string_view line) { _host.logMsg(line); }};
    SteppedHost _host{_services.services(), _engine, _steps};
    ICalSyncPlugin _plugin{&_host};
};

Device::Device(std::string name, int systemVersion, std::string statePath, Clock clock)
    : _name(std::move(name)),
      _systemVersion(systemVersion),
      _statePath(std::move(statePath)),
      _clock(std::move(clock)),
      _home("/simulated/" + _name),
      _disk(std::make_shared<MemoryFileManager>([this] { return _clock().instant; })),
      _hand(StoreHand::forLayout(systemVersion, *_disk, _home)),
      _backups(*_disk)
{
    const OnDevice platform(_home, _disk, _clock);
    SuiteFolder(_home).create();
    _hand->begin();
}

Device::Run Device::sync(const std::string& serverURL, const SyncRunWishes& wishes,
                         const Fault& fault)
{
    const OnDevice platform(_home, _disk, _clock);
    Run run;
    try {
        Session(*this, serverURL, fault).run(wishes, run);
    } catch (const Exception& exception) {
        run.refusal = exception.reason();
    }
    return run;
}

bool Device::isOn(const StoreHand::Calendar& calendar)
{
    const OnDevice platform(_home, _disk, _clock);
    const Preferences preferences(SuiteFolder(_home).preferencesPath(),
                                  Preferences::Storage::memory);
    const Value switches = preferences.objectForKey(kSyncedCalendarsPreference, Dictionary{});
    const Value* isOn = switches.dictionary().find(keyOf(calendar));
    return isOn == nullptr || isOn->intValue() != 0;
}

void Device::setOn(const StoreHand::Calendar& calendar, bool isOn)
{
    const OnDevice platform(_home, _disk, _clock);
    Preferences preferences(SuiteFolder(_home).preferencesPath(), Preferences::Storage::file);
    Dictionary switches =
        preferences.objectForKey(kSyncedCalendarsPreference, Dictionary{}).dictionary();
    switches.set(keyOf(calendar), isOn ? 1 : 0);
    preferences.set(kFullSyncPreference, true);
    preferences.set(kSyncedCalendarsPreference, switches);
}

void Device::askForFullSync()
{
    const OnDevice platform(_home, _disk, _clock);
    Preferences(SuiteFolder(_home).preferencesPath(), Preferences::Storage::file)
        .set(kFullSyncPreference, true);
}

bool Device::isMarked() const { return LocalState(_statePath).facts().mark.has_value(); }

Device::StoreCopy Device::copyOfStore() const
{
    StoreCopy copy;
    for (const std::string& root : _hand->roots())
        copy.roots.push_back(_disk->snapshot(root));
    return copy;
}

void Device::putStoreBack(const StoreCopy& copy)
{
    const std::vector<std::string> roots = _hand->roots();
    for (std::size_t index = 0; index < roots.size(); ++index)
        _disk->restore(copy.roots[index], roots[index]);
}

void Device::restoreBackup(const std::string& name)
{
    const OnDevice platform(_home, _disk, _clock);
    _backups.restore(name);
    LocalState state(_statePath);
    StateFacts facts = state.facts();
    if (!facts.mark)
        facts.mark = name;
    facts.isPutBack = true;
    if (state.begin()) {
        state.setFacts(facts);
        state.commit();
    }
}

}  // namespace kt::test
