#pragma once

#include <memory>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "Sync/Host/Server/SyncServer.h"
#include "Sync/Host/Services/StoreBackups.h"
#include "Sync/Host/Services/SyncRun.h"
#include "tests/support/HostKit.h"

namespace kt::test {

/// A device on a server: its store is what a test lets the plug-in load and rewrite.
class SyncRunFixture : public testing::Test {
protected:
    explicit SyncRunFixture(int systemVersion = 5) : host(kit.services({}, systemVersion), engine)
    {}

    static SyncRecord calendar(const std::string& key)
    {
        return std::make_shared<HostSyncRecord>(0,
                                                Dictionary{{"Order", 0},
                                                           {"Type", "CalendarNode"},
                                                           {"Color", "#000000FF"},
                                                           {"Title", key},
                                                           {"Notes", ""},
                                                           {"SourceKey", key}},
                                                key, std::nullopt, std::string(kConduitCalendar));
    }
    SyncRunResult run(const SyncRunWishes& wishes = {})
    {
        return SyncRun(host, plugin, engine, backups, kit.home.path(), stop).run(wishes);
    }
    /// What another device sends up; it has nothing else.
    void otherDeviceSends(const std::string& key)
    {
        LocalState otherState(kit.home.path("other.sqlite"));
        SyncEngine other(otherState, *server, reports, {});
        other.beginRun({});
        other.startSync(5);
        const auto result =
            other.diffLocalStateWithLocalUpdates({calendar(key)}, other.pullRecords(), 7);
        ASSERT_TRUE(result && other.pushSyncResult(*result) && other.finishSync());
        other.endRun(true);
    }

    HostKit kit;
    LocalState state{kit.suite.localStatePath()};
    std::unique_ptr<SyncServer> server =
        syncServerWithURL("sqlite:" + kit.home.path("server.sqlite"));
    HostReports reports;
    SyncEngine engine{state, *server, reports, {}};
    ReferenceHost host;
    ScriptedPlugin plugin{host};
    StoreBackups backups{kit.suite.backupsPath()};
    StopWish stop;
};

}  // namespace kt::test
