#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Host/Server/SyncServer.h"
#include "Sync/Host/Services/ReferenceHost.h"
#include "tests/support/HostKit.h"

namespace kt {
namespace {

using test::HostKit;
using test::ScriptedPlugin;
using testing::ElementsAre;

class ReferenceHostTest : public testing::Test {
protected:
    HostKit kit;
    LocalState state{kit.suite.localStatePath()};
    std::unique_ptr<SyncServer> server = syncServerWithURL("sqlite:" + kit.suite.serverPath());
    HostReports reports;
    SyncEngine engine{state, *server, reports, {}};
    ReferenceHost host{kit.services(), engine};
    ScriptedPlugin plugin{host};
};

TEST_F(ReferenceHostTest, HandsASessionToTheEngine)
{
    host.beginRun();
    engine.beginRun({});
    EXPECT_TRUE(plugin.doSync());
    const SyncRunSummary summary = engine.endRun(true);
    EXPECT_TRUE(summary.finished);
    EXPECT_THAT(plugin.startResults, ElementsAre(2)) << "the server holds nothing";
    EXPECT_TRUE(host.course().hasStarted);
    EXPECT_FALSE(host.course().hasTakenState);
    EXPECT_FALSE(host.course().foundProgramRunning);
}

TEST_F(ReferenceHostTest, NotesARunThatNeverStarted)
{
    host.beginRun();
    plugin.load = [] { return std::nullopt; };
    EXPECT_FALSE(plugin.doSync());
    EXPECT_FALSE(host.course().hasStarted);
    EXPECT_FALSE(host.course().foundProgramRunning);
}

TEST_F(ReferenceHostTest, NotesThatTheProgramWasRunning)
{
    kit.proc.write("7/stat", "7 (iCal) S 1");
    host.beginRun();
    EXPECT_FALSE(plugin.doSync());
    EXPECT_TRUE(host.course().foundProgramRunning);
    host.beginRun();
    EXPECT_FALSE(host.course().foundProgramRunning);
}

TEST_F(ReferenceHostTest, ForgetsTheLocalStateThroughTheEngine)
{
    EXPECT_TRUE(host.resetLocalState());
}

}  // namespace
}  // namespace kt
