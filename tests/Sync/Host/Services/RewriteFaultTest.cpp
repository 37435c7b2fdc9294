#include <algorithm>
#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/Digest.h"
#include "Sync/Host/Services/PluginLoader.h"
#include "Sync/Host/Services/PluginPreferences.h"
#include "Sync/Host/Services/StoreBackups.h"
#include "Sync/Host/Services/SyncRun.h"
#include "Sync/HostInterface/KTCarefulWriting.h"
#include "tests/support/FailingFileManager.h"
#include "tests/support/HostKit.h"
#include "tests/support/SyncKit.h"

namespace kt::test {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr int kTiger = 4;
constexpr int kLeopard = 5;

enum class Rewriting { careful, plain };

struct Device {
    int systemVersion;
    Rewriting rewriting;
};

std::string propertyList(const std::string& dictionary)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>" +
           dictionary + "</dict>\n</plist>\n";
}

std::string entry(const std::string& key, const std::string& text)
{
    return "<key>" + key + "</key><string>" + text + "</string>";
}

// A device with a store of the real plug-in: "Privat" with three events, "Verein" with one.
class RealHome {
public:
    explicit RealHome(const Device& device)
        : _systemVersion(device.systemVersion),
          _host(kit.services({}, device.systemVersion), _engine)
    {
        KTClassTable classes = _classes.table();
        if (device.rewriting == Rewriting::plain)
            classes.setClass(KTCarefulWriting::className, nullptr);
        _plugin = PluginLoader::load(KT_BUNDLE_PATH, classes, _host);
        (*_plugin)->enable();
        if (_systemVersion == kTiger)
            kit.home.write(kOldStore + "/nodes.plist",
                           propertyList("<key>Version</key><integer>2</integer><key>List</key>"
                                        "<array>" +
                                        node("PRIVAT") + node("VEREIN") + "</array>"));
        addCalendar("PRIVAT", "Privat", {"Zahnarzt", "Kino", "Probe"});
        addCalendar("VEREIN", "Verein", {"Sitzung"});
    }

    SyncRunResult run()
    {
        return SyncRun(_host, **_plugin, _engine, _backups, kit.home.path(), _stop).run({});
    }
    bool isMarked() { return _engine.markedBackup().has_value(); }

    // What another device has: a calendar of its own, with one task.
    void otherDeviceSends(const std::string& title)
    {
        LocalState state(kit.home.path("other.sqlite"));
        HostReports reports;
        SyncEngine other(state, *_server, reports, {});
        const std::string calendar = "kalender-" + title;
        SyncRecordList records{
            std::make_shared<HostSyncRecord>(0,
                                             Dictionary{{"Order", 5},
                                                        {"Type", "CalendarNode"},
                                                        {"Color", "#0E61B9FF"},
                                                        {"Title", title},
                                                        {"Notes", ""},
                                                        {"SourceKey", calendar}},
                                             calendar, std::nullopt, std::string(kConduitCalendar)),
            std::make_shared<HostSyncRecord>(0,
                                             Dictionary{{"Title", "Aufgabe " + title},
                                                        {"Sequence", "1"},
                                                        {"ParentRecordKey", calendar}},
                                             "aufgabe-" + title, calendar,
                                             std::string(kConduitTask))};
        other.beginRun({});
        other.startSync(5);
        const auto result = other.diffLocalStateWithLocalUpdates(records, other.pullRecords(), 7);
        ASSERT_TRUE(result && other.pushSyncResult(*result) && other.finishSync());
        other.endRun(true);
    }

    void switchCalendar(const std::string& title, bool isOn)
    {
        Dictionary switches =
            kit.preferences.objectForKey(kSyncedCalendarsPreference, Dictionary{}).dictionary();
        switches.set(sha1DigestHex(title + "CalendarNode"), isOn ? 1 : 0);
        kit.preferences.set(kFullSyncPreference, true);
        kit.preferences.set(kSyncedCalendarsPreference, switches);
    }

    // Whether the store holds a text of that title.
    bool holds(const std::string& title) const
    {
        const auto tree = kit.home.tree();
        return std::any_of(tree.begin(), tree.end(), [&](const auto& file) {
            return file.first.starts_with(calendarsName()) && file.first.ends_with(".ics") &&
                   file.second.find("SUMMARY:" + title + "\r\n") != std::string::npos;
        });
    }
    std::vector<std::string> missing() const
    {
        std::vector<std::string> missing;
        for (const char* title : {"Zahnarzt", "Kino", "Probe", "Sitzung", "Aufgabe Arbeit"}) {
            if (!holds(title))
                missing.emplace_back(title);
        }
        return missing;
    }
    std::size_t deletionsOnServer()
    {
        const auto opened = _server->openSession("default", "test", ServerAccess::readOnly);
        const auto digests = opened.session->digests();
        return static_cast<std::size_t>(
            std::count_if(digests.begin(), digests.end(),
                          [](const auto& each) { return each.isTombstone; }));
    }
    std::string calendarsPath() const { return kit.home.path(calendarsName()); }
    std::string folderOf(const std::string& key) const
    {
        return kit.home.path(calendarsName() + key + ".calendar");
    }

    HostKit kit;

private:
    static inline const std::string kOldStore = "Library/Application Support/iCal";

    std::string calendarsName() const
    {
        return _systemVersion == kTiger ? kOldStore + "/Sources/" : "Library/Calendars/";
    }
    static std::string node(const std::string& key)
    {
        return "<dict>" + entry("SourceKey", key) + entry("ThemeColor", "#0E61B9FF") +
               entry("Type", "CALSourceNode") + "</dict>";
    }
    void addCalendar(const std::string& key, const std::string& title,
                     const std::vector<std::string>& events) const
    {
        const std::string folder = calendarsName() + key + ".calendar";
        const bool isTiger = _systemVersion == kTiger;
        kit.home.write(folder + "/Info.plist",
                       propertyList(entry("Title", title) + entry("Key", key) +
                                    (isTiger
                                         ? entry("Type", "com.apple.ical.sources.naivereadwrite")
                                         : entry("Type", "Local") + entry("Notes", "") +
                                               entry("Color", "#0E61B9FF"))));
        std::string all;
        for (const std::string& event : events) {
            const std::string text = textForEvent({.title = event});
            if (!isTiger)
                kit.home.write(folder + "/Events/" + event + ".ics", text);
            const std::size_t begin = text.find("BEGIN:VEVENT");
            all += text.substr(begin, text.find("END:VCALENDAR") - begin);
        }
        if (isTiger)
            kit.home.write(folder + "/corestorage.ics",
                           "BEGIN:VCALENDAR\r\nVERSION:2.0\r\n" + all + "END:VCALENDAR\r\n");
    }

    int _systemVersion;
    HostClasses _classes;
    LocalState _state{kit.suite.localStatePath()};
    std::unique_ptr<SyncServer> _server =
        syncServerWithURL("sqlite:" + kit.home.path("server.sqlite"));
    SyncEngine _engine{_state, *_server, _classes.reports(), {}};
    ReferenceHost _host;
    std::unique_ptr<LoadedPlugin> _plugin;
    StoreBackups _backups{kit.suite.backupsPath()};
    StopWish _stop;
};

void everythingWorks() { Platform::shared().setFileManager(makePosixFileManager()); }

class RewriteFault : public testing::TestWithParam<Device> {
protected:
    // A plain rewrite touches every calendar, a careful one what differs: the new calendar.
    bool isPlain() const { return GetParam().rewriting == Rewriting::plain; }
    // A folder that the rewrite writes into, so that a fault is met.
    std::string written(const RealHome& home, const std::string& key) const
    {
        return isPlain() ? home.folderOf(key) : home.calendarsPath();
    }
};

INSTANTIATE_TEST_SUITE_P(Layouts, RewriteFault,
                         testing::Values(Device{kTiger, Rewriting::careful},
                                         Device{kTiger, Rewriting::plain},
                                         Device{kLeopard, Rewriting::careful},
                                         Device{kLeopard, Rewriting::plain}),
                         [](const auto& row) {
                             const bool isPlain = row.param.rewriting == Rewriting::plain;
                             return std::string(isPlain ? "Plain" : "Careful") +
                                    (row.param.systemVersion == kTiger ? "104" : "105");
                         });

TEST_P(RewriteFault, OfAnyOperationIsHealedByLaterRunsAndNeverTakenForADeletion)
{
    std::string failed = "none yet";
    int number = 0;
    while (!failed.empty()) {
        RealHome home(GetParam());
        ASSERT_TRUE(home.run().isCompleted);
        home.otherDeviceSends("Arbeit");
        failed.clear();
        int operations = 0;
        ++number;
        failFileOperations([&](const std::string& operation) {
            const bool isOfStore = operation.find(home.calendarsPath()) != std::string::npos;
            if (!isOfStore || ++operations != number)
                return false;
            failed = operation;
            return true;
        });
        const SyncRunResult faulty = home.run();
        everythingWorks();
        if (faulty.isCompleted && faulty.summary.settled) {
            EXPECT_THAT(home.missing(), IsEmpty()) << failed;
        }
        for (int round = 0; round < 2; ++round)
            home.run();
        EXPECT_THAT(home.missing(), IsEmpty()) << failed;
        EXPECT_EQ(home.deletionsOnServer(), 0U) << failed;
        EXPECT_FALSE(home.isMarked()) << failed;
        if (HasFailure())
            return;
    }
    EXPECT_GT(number, isPlain() ? 8 : 3);
}

TEST_P(RewriteFault, OfAFullVolumeIsToldAndHealedOnceThereIsRoom)
{
    RealHome home(GetParam());
    ASSERT_TRUE(home.run().isCompleted);
    home.otherDeviceSends("Arbeit");
    const std::string full = written(home, "PRIVAT");
    failFileOperations([&](const std::string& operation) {
        return operation.starts_with("writeAtomically " + full);
    });
    for (int round = 0; round < 2; ++round) {
        const SyncRunResult result = home.run();
        EXPECT_FALSE(result.summary.settled);
        EXPECT_FALSE(result.summary.held);
        EXPECT_TRUE(home.isMarked());
        EXPECT_THAT(lossesOfKind(result.summary.losses, KTLoss::Kind::unwritten), Not(IsEmpty()));
        // A careful rewrite says itself that it failed; of a plain one the host finds out.
        EXPECT_EQ(result.isCompleted, isPlain());
        EXPECT_EQ(result.summary.needsSettling, isPlain());
        if (!isPlain())
            continue;
        EXPECT_EQ(result.summary.settlement, Settlement::unproved);
        EXPECT_THAT(result.reasons, Contains(HasSubstr("Nicht alles ist im Kalenderspeicher")));
    }
    everythingWorks();
    EXPECT_TRUE(home.run().summary.settled);
    EXPECT_THAT(home.missing(), IsEmpty());
    EXPECT_EQ(home.deletionsOnServer(), 0U);
}

TEST_P(RewriteFault, OfASwitchedOffCalendarIsNoDeletionWhenItIsSwitchedOn)
{
    RealHome home(GetParam());
    ASSERT_TRUE(home.run().isCompleted);
    home.switchCalendar("Verein", false);
    ASSERT_TRUE(home.run().isCompleted);
    home.otherDeviceSends("Arbeit");
    const std::string full = written(home, "VEREIN");
    failFileOperations([&](const std::string& operation) {
        return operation.starts_with("writeAtomically " + full);
    });
    const SyncRunResult result = home.run();
    EXPECT_FALSE(result.summary.settled);
    EXPECT_EQ(result.isCompleted, isPlain());
    EXPECT_NE(result.summary.unproved.empty(), isPlain());
    everythingWorks();
    home.switchCalendar("Verein", true);
    home.run();
    EXPECT_TRUE(home.run().isCompleted);
    EXPECT_THAT(home.missing(), IsEmpty());
    EXPECT_EQ(home.deletionsOnServer(), 0U);
    EXPECT_FALSE(home.isMarked());
}

}  // namespace
}  // namespace kt::test
