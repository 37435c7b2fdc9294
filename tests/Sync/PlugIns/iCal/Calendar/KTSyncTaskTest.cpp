#include "Sync/Foundation/Digest.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncTask.h"
#include "tests/Sync/PlugIns/iCal/Calendar/ModelFixture.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class KTSyncTaskTest : public ModelFixture {
protected:
    static Dictionary record()
    {
        return Dictionary{{"Title", "Einkaufen"}, {"ParentRecordKey", kParentKey}};
    }
};

const std::string_view kFullTask =
    "SUMMARY:Einkaufen\n"
    "STATUS:COMPLETED\n"
    "PRIORITY:5\n"
    "DUE;VALUE=DATE:20071224\n"
    "COMPLETED:20071223T120000Z";

TEST_F(KTSyncTaskTest, ReadsItsOwnProperties)
{
    const auto read = task(kFullTask);
    EXPECT_TRUE(read->isCompleted());
    EXPECT_EQ(read->priority(), Value("5"));
    EXPECT_EQ(read->dueDate()->iCalDate(), "20071224");
    EXPECT_EQ(read->completedDate()->iCalDate(), "20071223T120000Z");
    EXPECT_FALSE(read->uniquenessKey());
}

TEST_F(KTSyncTaskTest, RecordHoldsItsOwnKeysInTheirOrderBehindTheSharedOnes)
{
    const Dictionary given = task(kFullTask)->syncRecord();
    EXPECT_THAT(keysOf(given), ElementsAre("Title", "Sequence", "ParentRecordKey", "Timezone",
                                           "DueDate", "CompletedDate", "Priority", "Completed"));
    EXPECT_EQ(given["DueDate"], Value(date("20071224")));
    EXPECT_EQ(given["CompletedDate"], Value(date("20071223T120000Z")));
    EXPECT_EQ(given["Priority"], Value("5"));
    EXPECT_EQ(given["Completed"].kind(), Value::Kind::boolean);
    EXPECT_TRUE(given["Completed"].boolValue());
}

TEST_F(KTSyncTaskTest, CompletedIsInEveryRecordAndTheOthersWherePresent)
{
    const Dictionary given = task("SUMMARY:Einkaufen")->syncRecord();
    EXPECT_THAT(keysOf(given),
                ElementsAre("Title", "Sequence", "ParentRecordKey", "Timezone", "Completed"));
    EXPECT_FALSE(given["Completed"].boolValue());
}

TEST_F(KTSyncTaskTest, LinesStandInOneFixedOrder)
{
    EXPECT_EQ(task(kFullTask)->iCalLines(),
              "BEGIN:VTODO\r\n"
              "STATUS:COMPLETED\r\n"
              "PRIORITY:5\r\n"
              "DUE;VALUE=DATE:20071224\r\n"
              "COMPLETED:20071223T120000Z\r\n"
              "SUMMARY:Einkaufen\r\n"
              "SEQUENCE:1\r\n"
              "UID:" +
                  sha1DigestHex("Einkaufenparent") +
                  "\r\n"
                  "END:VTODO\r\n");
}

struct StatusRow {
    std::string_view lines;
    bool isCompleted;
};
class KTSyncTaskStatus : public KTSyncTaskTest, public testing::WithParamInterface<StatusRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, KTSyncTaskStatus,
                         testing::Values(StatusRow{"SUMMARY:a", false},
                                         StatusRow{"STATUS:COMPLETED", true},
                                         StatusRow{"STATUS:NEEDS-ACTION", false},
                                         StatusRow{"STATUS:completed", false},
                                         StatusRow{"STATUS:COMPLETED\nSTATUS:COMPLETED", false},
                                         StatusRow{"COMPLETED:20071223T120000Z", false}));
TEST_P(KTSyncTaskStatus, AloneSaysWhetherATaskFromLinesIsCompleted)
{
    EXPECT_EQ(task(GetParam().lines)->isCompleted(), GetParam().isCompleted);
}

TEST_F(KTSyncTaskTest, AnOpenTaskWithACompletionDateKeepsTheDateAndLosesTheStatus)
{
    const auto read = task("SUMMARY:a\nSTATUS:NEEDS-ACTION\nCOMPLETED:20071223T120000Z");
    EXPECT_FALSE(read->isCompleted());
    EXPECT_THAT(read->iCalLines(), Not(HasSubstr("STATUS")));
    EXPECT_THAT(read->iCalLines(), HasSubstr("\r\nCOMPLETED:20071223T120000Z\r\n"));
}

TEST_F(KTSyncTaskTest, TheCompletionDateAloneSaysWhetherATaskFromARecordIsCompleted)
{
    Dictionary given = record();
    given.set("Completed", true);
    EXPECT_FALSE(taskOf(given)->isCompleted());
    EXPECT_FALSE(taskOf(given)->syncRecord()["Completed"].boolValue());
    given.set("Completed", false);
    given.set("CompletedDate", date("20071223T120000Z"));
    EXPECT_TRUE(taskOf(given)->isCompleted());
    EXPECT_THAT(taskOf(given)->iCalLines(), HasSubstr("\r\nSTATUS:COMPLETED\r\n"));
}

TEST_F(KTSyncTaskTest, ATitleIsSuppliedAndItsLackToldToTheSystemLogOnly)
{
    const auto read = task("PRIORITY:1");
    EXPECT_EQ(read->title(), Value(""));
    EXPECT_EQ(read->recordKey(), sha1DigestHex("parent"));
    EXPECT_THAT(platform.consoleLines(), ElementsAre("Aufgabe ohne Beschreibung"));
    EXPECT_THAT(helper.calls(), IsEmpty());
}

TEST_F(KTSyncTaskTest, TasksOfOneTitleShareTheirKeyWhateverTheirDates)
{
    EXPECT_EQ(task("SUMMARY:a\nDUE;VALUE=DATE:20071224\nUID:1\nSEQUENCE:4")->recordKey(),
              task("SUMMARY:a\nDTSTART;VALUE=DATE:20071220\nUID:2")->recordKey());
    EXPECT_EQ(task("SUMMARY:a")->recordKey(), sha1DigestHex("aparent"));
}

TEST_F(KTSyncTaskTest, ThePriorityIsNotFolded)
{
    const std::string priority(100, '1');
    EXPECT_THAT(task("SUMMARY:a\nPRIORITY:" + priority)->iCalLines(),
                HasSubstr("\r\nPRIORITY:" + priority + "\r\n"));
}

TEST_F(KTSyncTaskTest, TheRecordComesBack)
{
    Dictionary given = record();
    given.set("DueDate", date("20071224"));
    given.set("CompletedDate", date("20071223T120000Z"));
    given.set("Priority", "5");
    const auto made = taskOf(given);
    EXPECT_EQ(made->recordKey(), "task-key");
    Dictionary expected = given;
    expected.set("Timezone", "Europe/Berlin");
    expected.set("Completed", true);
    EXPECT_EQ(made->syncRecord(), expected);
}

TEST_F(KTSyncTaskTest, ARecordOfTheWrongKindPassesStraightThrough)
{
    Dictionary given = record();
    given.set("DueDate", "morgen");
    EXPECT_THROW(taskOf(given), Exception);
    EXPECT_THAT(helper.fileLog(), IsEmpty());
}

TEST_F(KTSyncTaskTest, LinesThatCannotBeTakenAreLoggedAndThrownOn)
{
    Platform::shared().setConsoleLog(
        [](std::string_view) { throw Exception(NSGenericException, "Protokoll voll"); });
    EXPECT_EQ(reasonOfException([&] { task("PRIORITY:1"); }), "Protokoll voll");
    EXPECT_THAT(helper.fileLog(), ElementsAre("[KTSyncTask init]:\n(\n)\nProtokoll voll"));
}

TEST_F(KTSyncTaskTest, AFailureWhileWritingIsLoggedByTheSharedPartAlone)
{
    Dictionary given = record();
    given.set("Alarms", Array{Dictionary{{"Action", "DISPLAY"}, {"AbsoluteTrigger", "morgen"}}});
    const auto made = taskOf(given);
    EXPECT_THROW(made->iCalLines(), Exception);
    ASSERT_EQ(helper.fileLog().size(), 1u);
    EXPECT_THAT(helper.fileLog().front(), testing::StartsWith("[KTSyncCalendarItem iCalLines]:"));
}

TEST_F(KTSyncTaskTest, ThereIsNoneWithoutAHost)
{
    LineList lines{"SUMMARY:a"};
    EXPECT_EQ(KTSyncTask::syncTaskWithPluginHelper(nullptr, kParentKey, lines), nullptr);
    EXPECT_EQ(KTSyncTask::syncTaskWithPluginHelper(nullptr, "key", record()), nullptr);
}

}  // namespace
}  // namespace kt::test
