#include <QTest>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "Sync/Host/Qt/SyncProcess.h"
#include "tests/Sync/Host/Qt/Application.h"
#include "tests/support/TemporaryFolder.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// A script in the place of icalsync, and what is told of it.
class SyncProgram : public ::testing::Test {
protected:
    void start(const std::string& script, const QStringList& options = {})
    {
        folder.write("icalsync", "#!/bin/sh\n" + script);
        ::chmod(folder.path("icalsync").c_str(), 0700);
        process->start(QString::fromStdString(folder.path("icalsync")),
                       {QStringLiteral("--home"), QStringLiteral("/h")}, options);
    }
    void run(const std::string& script, const QStringList& options = {})
    {
        start(script, options);
        EXPECT_TRUE(QTest::qWaitFor([this] { return !outcomes.empty(); }, 20000));
    }

    TemporaryFolder folder;
    std::vector<std::string> told;
    std::vector<SyncOutcome> outcomes;
    std::unique_ptr<SyncProcess> process = std::make_unique<SyncProcess>(SyncProcess::Listener{
        [this](const QString& line) { told.push_back("log " + line.toStdString()); },
        [this](const QString& status) { told.push_back("status " + status.toStdString()); },
        [this](const QString& title, int current, int total) {
            told.push_back("step " + title.toStdString() + " " + std::to_string(current) + "/" +
                           std::to_string(total));
        },
        [this](const SyncOutcome& outcome) { outcomes.push_back(outcome); }});
};

TEST_F(SyncProgram, IsToldWhereAndWhat)
{
    run("echo \"$*\" >&2", {QStringLiteral("--full")});
    EXPECT_THAT(told, ElementsAre("log --home /h --json --events sync --full"));
}

TEST_F(SyncProgram, TellsItsEventsInOrder)
{
    run("echo '{\"log\":\"Eins\"}' >&2\n"
        "printf '%s\\n' '{\"status\":\"iCal-Kalender laden...\\nzwei\"}' >&2\n"
        "echo '{\"step\":{\"title\":\"Arbeit\",\"current\":2,\"total\":3}}' >&2\n"
        "echo 'kein Ereignis' >&2\n"
        "printf '{\"log\":\"ohne Ende\"}' >&2");
    EXPECT_THAT(told, ElementsAre("log Eins", "status iCal-Kalender laden...\nzwei",
                                  "step Arbeit 2/3", "log kein Ereignis", "log ohne Ende"));
}

TEST_F(SyncProgram, EndsWithItsReport)
{
    run("echo '{\"completed\":true,\"status\":\"fertig\",\"pluginStatus\":\"1 Kalender\"}'");
    ASSERT_EQ(outcomes.size(), 1u);
    EXPECT_TRUE(outcomes[0].isCompleted);
    EXPECT_EQ(outcomes[0].status, QStringLiteral("fertig"));
    EXPECT_EQ(outcomes[0].counts, QStringLiteral("1 Kalender"));
    EXPECT_FALSE(process->isRunning());
}

TEST_F(SyncProgram, ThatDiesIsToldAsAFailure)
{
    run("kill -9 $$");
    ASSERT_EQ(outcomes.size(), 1u);
    EXPECT_FALSE(outcomes[0].isCompleted);
    EXPECT_EQ(outcomes[0].status,
              QStringLiteral("Die Synchronisierung ist unerwartet zu Ende gegangen."));
}

TEST_F(SyncProgram, ThatIsMissingIsNamed)
{
    process->start(QStringLiteral("/nonexistent/icalsync"), {}, {});
    EXPECT_TRUE(QTest::qWaitFor([this] { return !outcomes.empty(); }, 20000));
    ASSERT_EQ(outcomes.size(), 1u);
    EXPECT_FALSE(outcomes[0].isCompleted);
    EXPECT_THAT(outcomes[0].status.toStdString(),
                HasSubstr("\"/nonexistent/icalsync\" kann nicht gestartet werden: "
                          "Das Programm gibt es nicht."));
}

TEST_F(SyncProgram, ThatIsNoneIsNamed)
{
    folder.write("icalsync", "kein Programm");
    process->start(QString::fromStdString(folder.path("icalsync")), {}, {});
    EXPECT_TRUE(QTest::qWaitFor([this] { return !outcomes.empty(); }, 20000));
    ASSERT_EQ(outcomes.size(), 1u);
    EXPECT_THAT(outcomes[0].status.toStdString(),
                HasSubstr("Das ist kein Programm, das gestartet werden darf."));
}

const char* const kWaits =
    "trap 'echo \"{\\\"status\\\":\\\"abgebrochen\\\"}\"; exit 1' INT\n"
    "echo '{\"log\":\"bereit\"}' >&2\nwhile :; do sleep 0.05; done";

TEST_F(SyncProgram, IsAskedToStopWhenItIsCancelled)
{
    start(kWaits);
    ASSERT_TRUE(QTest::qWaitFor([this] { return !told.empty(); }, 20000));
    EXPECT_TRUE(process->isRunning());
    EXPECT_THAT(outcomes, IsEmpty());
    process->cancel();
    ASSERT_TRUE(QTest::qWaitFor([this] { return !outcomes.empty(); }, 20000));
    EXPECT_EQ(outcomes[0].status, QStringLiteral("abgebrochen"));
}

TEST_F(SyncProgram, IsAskedToStopOnceOnly)
{
    start("trap 'echo INT >> " + folder.path("signale") +
          "' INT\necho '{\"log\":\"bereit\"}' >&2\nwhile [ ! -e " + folder.path("genug") +
          " ]; do sleep 0.05; done");
    ASSERT_TRUE(QTest::qWaitFor([this] { return !told.empty(); }, 20000));
    for (int i = 0; i < 3; ++i) {
        process->cancel();
        EXPECT_TRUE(process->isCancelled());
        QTest::qWait(150);
    }
    EXPECT_EQ(folder.read("signale"), "INT\n");
    folder.write("genug", "");
    ASSERT_TRUE(QTest::qWaitFor([this] { return !outcomes.empty(); }, 20000));
}

TEST_F(SyncProgram, ThatIsCancelledBeforeItListensEndsAsCancelled)
{
    start("echo '{\"log\":\"bereit\"}' >&2\nwhile :; do sleep 0.05; done");
    ASSERT_TRUE(QTest::qWaitFor([this] { return !told.empty(); }, 20000));
    process->cancel();
    ASSERT_TRUE(QTest::qWaitFor([this] { return !outcomes.empty(); }, 20000));
    EXPECT_FALSE(outcomes[0].isCompleted);
    EXPECT_EQ(outcomes[0].status, QStringLiteral("Die Synchronisierung wurde abgebrochen."));
}

TEST_F(SyncProgram, IsStoppedWithItsOwner)
{
    start("trap 'echo fort > " + folder.path("ende") +
          "; exit 1' INT\necho '{\"log\":\"bereit\"}' >&2\nwhile :; do sleep 0.05; done");
    ASSERT_TRUE(QTest::qWaitFor([this] { return !told.empty(); }, 20000));
    process.reset();
    EXPECT_TRUE(folder.exists("ende"));
    EXPECT_THAT(outcomes, IsEmpty());
}

// Reports.

TEST(SyncReportOfTheProgram, NamesWhatCouldNotBeReadAndWhatElseThereIsToKnow)
{
    const SyncOutcome outcome = outcomeFromReport(
        R"({"completed":false,"status":"angehalten","reasons":["angehalten","Grund"],
            "losses":[{"kind":"unread","calendar":"Arbeit","file":"/a/1.ics","reason":"kein Datum"},
                      {"kind":"thinned","calendar":"Arbeit","file":"/a/2.ics","reason":"gekürzt"},
                      {"kind":"unsafe","calendar":"","file":"/b","reason":"unlesbar"}]})");
    EXPECT_FALSE(outcome.isCompleted);
    EXPECT_EQ(outcome.status, QStringLiteral("angehalten"));
    EXPECT_THAT(outcome.log,
                ElementsAre(QStringLiteral(
                                "Bleibt unverändert liegen: Arbeit: /a/1.ics: kein Datum"),
                            QStringLiteral("Hält die Synchronisierung an: /b: unlesbar"),
                            QStringLiteral("Grund")));
}

TEST(SyncReportOfTheProgram, GivesTheErrorOfACommandThatCouldNotBegin)
{
    EXPECT_EQ(outcomeFromReport(R"({"error":"Den Heimordner gibt es nicht."})").status,
              QStringLiteral("Den Heimordner gibt es nicht."));
}

TEST(SyncReportOfTheProgram, IsAFailureWhenItIsNone)
{
    for (const char* text : {"", "[]", "{}", "{\"completed\":"}) {
        const SyncOutcome outcome = outcomeFromReport(text);
        EXPECT_FALSE(outcome.isCompleted) << text;
        EXPECT_FALSE(outcome.status.isEmpty()) << text;
    }
}

}  // namespace
}  // namespace kt::test
