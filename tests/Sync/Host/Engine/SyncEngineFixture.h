#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Sync/Host/Server/SyncServer.h"
#include "tests/Sync/Host/Engine/FailingSqlite.h"
#include "tests/Sync/Host/Engine/MemoryHome.h"
#include "tests/support/HostClassesScope.h"
#include "tests/support/PlatformScope.h"
#include "tests/support/TemporaryFolder.h"

namespace kt::test {

/// Homes that share one server, and what can be said of all of them.
class SyncEngineFixture : public testing::Test {
protected:
    SyncEngineFixture();

    /// The home of that name, made when it is first asked for.
    MemoryHome& home(const std::string& name, Layout layout = Layout::leopard);

    /// Every home once, in the order in which they were made.
    void syncAll();
    /// Until no home sends or receives anything; fails when they do not come to rest.
    void syncUntilRest();
    /// Two more runs of every home rewrite no store and change no record on the server.
    void expectRest();
    /// All homes show the same calendars and items.
    void expectEqualHomes();

    /// What a home shows: calendar title, conduit and the fields that mean something, one line
    /// each, sorted.
    static std::vector<std::string> contents(MemoryHome& home);
    /// Removes the item of that title from the home's store.
    static void removeItem(MemoryHome& home, const std::string& calendar, const std::string& title);
    static void removeCalendar(MemoryHome& home, const std::string& title);

    std::string serverUrl() const { return "sqlite:" + folder.path("server.db"); }
    /// Live records on the server, and everything on it.
    std::vector<ServerDigest> serverDigests();
    std::vector<RecordId> liveOnServer();

    FailingSqlite sqlite;
    PlatformScope platform;
    HostClassesScope classes;
    TemporaryFolder folder;
    std::vector<std::unique_ptr<MemoryHome>> homes;
    std::map<std::string, MemoryHome*> homesByName;
};

}  // namespace kt::test
