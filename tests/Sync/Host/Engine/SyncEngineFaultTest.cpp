#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/Exception.h"
#include "tests/Sync/Host/Engine/FailingSqlite.h"
#include "tests/Sync/Host/Engine/SyncEngineFixture.h"

namespace kt::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::Optional;

class SyncEngineFaults : public SyncEngineFixture {
protected:
    // Files and homes at one moment, to start from again and again.
    struct Moment {
        explicit Moment(const std::string& databases) : files(databases + ".before")
        {
            std::filesystem::copy(databases, files, std::filesystem::copy_options::recursive);
        }
        ~Moment() { std::filesystem::remove_all(files); }
        Moment(const Moment&) = delete;
        Moment& operator=(const Moment&) = delete;

        std::string files;
        std::vector<HomeStore::Moment> stores{};
    };

    std::unique_ptr<Moment> remembered()
    {
        auto moment = std::make_unique<Moment>(folder.path());
        for (const auto& each : homes)
            moment->stores.push_back(each->store.moment());
        return moment;
    }

    void goBackTo(const Moment& moment)
    {
        namespace fs = std::filesystem;
        for (const auto& each : fs::directory_iterator(folder.path()))
            fs::remove_all(each.path());
        fs::copy(moment.files, folder.path(), fs::copy_options::recursive);
        for (std::size_t index = 0; index < homes.size(); ++index)
            homes[index]->store.goBackTo(moment.stores[index]);
    }

    // Both homes changed something that the other one does not know of yet.
    void givenChangesOnBothSides()
    {
        auto& a = home("a");
        auto& b = home("b");
        a.store.calendars = {calendar("Privat", {event("Zahnarzt", "20071224T100000"),
                                                 task("Einkaufen"), task("Blumen")})};
        syncUntilRest();
        a.store.item("Privat", "Zahnarzt")->fields.set("Notes", "Karte");
        removeItem(a, "Privat", "Blumen");
        a.store.calendar("Privat")->items.push_back(task("neu bei a"));
        b.store.item("Privat", "Zahnarzt")->fields.set("Location", "Praxis");
        b.store.calendar("Privat")->items.push_back(task("neu bei b"));
        b.sync();
    }

    void expectBothSidesChanges()
    {
        syncUntilRest();
        expectEqualHomes();
        for (const auto& each : homes) {
            EXPECT_EQ(each->store.count("neu bei a"), 1);
            EXPECT_EQ(each->store.count("neu bei b"), 1);
            EXPECT_EQ(each->store.count("Blumen"), 0);
            ASSERT_EQ(each->store.count("Zahnarzt"), 1);
            const Dictionary& fields = each->store.item("Privat", "Zahnarzt")->fields;
            EXPECT_EQ(fields["Notes"], Value("Karte"));
            EXPECT_EQ(fields["Location"], Value("Praxis"));
        }
    }
};

TEST_F(SyncEngineFaults, AfterAnyFailedAccessTheNextRunsConverge)
{
    givenChangesOnBothSides();
    const auto before = remembered();
    int access = 0;
    for (bool hasFailed = true; hasFailed; ++access) {
        goBackTo(*before);
        FailingSqlite::failAt(access);
        try {
            home("a").sync();
        } catch (const Exception& exception) {
            // The state file could not even be opened, which the host says.
            EXPECT_THAT(exception.reason(), HasSubstr("Der lokale Sync-Stand"));
        }
        hasFailed = FailingSqlite::hasFailed();
        FailingSqlite::failAt(-1);
        expectBothSidesChanges();
        if (HasFailure()) {
            ADD_FAILURE() << "after failed access " << access;
            return;
        }
    }
    EXPECT_GT(access, 50);
}

// Above all where the server took what the state was never told of.
TEST_F(SyncEngineFaults, Rule22_AfterAnyFailedAccessLaterEditsAreEditsOfWhatWasPushed)
{
    givenChangesOnBothSides();
    const auto before = remembered();
    int access = 0;
    for (bool hasFailed = true; hasFailed; access += 3) {
        goBackTo(*before);
        auto& a = home("a");
        FailingSqlite::failAt(access);
        try {
            a.sync();
        } catch (const Exception& exception) {
            EXPECT_THAT(exception.reason(), HasSubstr("Der lokale Sync-Stand"));
        }
        hasFailed = FailingSqlite::hasFailed();
        FailingSqlite::failAt(-1);
        a.store.item("Privat", "neu bei a")->fields.set("Title", "neu bei a, später");
        a.store.item("Privat", "Zahnarzt")->fields.set("Notes", "Karte und Brille");
        syncUntilRest();
        expectEqualHomes();
        for (const auto& each : homes) {
            EXPECT_EQ(each->store.count("neu bei a"), 0);
            EXPECT_EQ(each->store.count("neu bei a, später"), 1);
            ASSERT_EQ(each->store.count("Zahnarzt"), 1);
            const Dictionary& fields = each->store.item("Privat", "Zahnarzt")->fields;
            EXPECT_EQ(fields["Notes"], Value("Karte und Brille"));
            EXPECT_EQ(fields["Location"], Value("Praxis"));
        }
        if (HasFailure()) {
            ADD_FAILURE() << "after failed access " << access;
            return;
        }
    }
    EXPECT_GT(access, 50);
}

TEST_F(SyncEngineFaults, AFailureIsSaidAndNeverThrown)
{
    givenChangesOnBothSides();
    LocalState state(home("a").statePath());
    const auto server = syncServerWithURL(serverUrl());
    HostReports reports;
    std::vector<std::string> log;
    SyncEngine engine(state, *server, reports,
                      [&](std::string_view line) { log.emplace_back(line); });
    engine.beginRun({});
    FailingSqlite::failAt(0);
    EXPECT_EQ(engine.startSync(5), 0);
    FailingSqlite::failAt(-1);
    const SyncRunSummary summary = engine.endRun(false);
    EXPECT_EQ(summary.startResult, 0);
    EXPECT_THAT(summary.reasons, Not(IsEmpty()));
    EXPECT_EQ(log, summary.reasons);
}

TEST_F(SyncEngineFaults, AStateThatCannotBeReadLeavesTheStoreAlone)
{
    givenChangesOnBothSides();
    auto& a = home("a");
    const auto before = contents(a);
    const int rewrites = a.store.rewrites();
    a.beforeRewrite = [] { FailingSqlite::failAt(0); };
    EXPECT_TRUE(a.sync().finished);
    EXPECT_TRUE(FailingSqlite::hasFailed());
    FailingSqlite::failAt(-1);
    a.beforeRewrite = nullptr;
    EXPECT_FALSE(a.doSyncResult);
    EXPECT_EQ(a.store.rewrites(), rewrites);
    EXPECT_EQ(contents(a), before);
    expectBothSidesChanges();
}

TEST_F(SyncEngineFaults, AskedForAStateThatCannotBeReadTheEngineGivesNoneAndSaysWhy)
{
    givenChangesOnBothSides();
    LocalState state(home("a").statePath());
    const auto server = syncServerWithURL(serverUrl());
    HostReports reports;
    SyncEngine engine(state, *server, reports, {});
    engine.beginRun({});
    EXPECT_THAT(engine.getLocalState(), Optional(Not(IsEmpty())));
    FailingSqlite::failAt(0);
    EXPECT_EQ(engine.getLocalState(), std::nullopt);
    FailingSqlite::failAt(-1);
    EXPECT_THAT(engine.endRun(false).reasons, Not(IsEmpty()));
}

TEST_F(SyncEngineFaults, ALogThatThrowsStopsNobody)
{
    auto& a = home("a");
    LocalState state(a.statePath());
    const auto server = syncServerWithURL("sqlite:" + folder.path("missing/server.db"));
    HostReports reports;
    SyncEngine engine(state, *server, reports,
                      [](std::string_view) { throw std::runtime_error("full disk"); });
    engine.beginRun({});
    EXPECT_EQ(engine.startSync(5), 0);
    EXPECT_THAT(engine.endRun(false).reasons, Not(IsEmpty()));
}

}  // namespace
}  // namespace kt::test
