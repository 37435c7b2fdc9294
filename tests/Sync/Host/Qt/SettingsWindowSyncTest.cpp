#include <QProgressBar>

#include "tests/Sync/Host/Qt/WindowFixture.h"

namespace kt::test {
namespace {

using ::testing::HasSubstr;

using WindowOfASync = WindowFixture;

TEST_F(WindowOfASync, SyncsAndShowsHowItEnded)
{
    open();
    tick(privat);
    click("syncButton");
    EXPECT_TRUE(window->isSyncing());
    EXPECT_FALSE(isEnabled("syncButton"));
    EXPECT_FALSE(isEnabled("syncedCalendarsList"));
    EXPECT_FALSE(isEnabled("isOn"));
    EXPECT_TRUE(isEnabled("cancelButton"));
    EXPECT_TRUE(find<QProgressBar>("progress")->isVisible());
    ASSERT_TRUE(waitForSync());
    settle();
    EXPECT_EQ(text("status"), QStringLiteral("Die iCal-Kalender wurden synchronisiert\n"
                                             "3 Kalender (1 deaktiviert)\n"
                                             "1 Ereignis, 0 Aufgaben"));
    EXPECT_THAT(find<QPlainTextEdit>("log")->toPlainText().toStdString(),
                HasSubstr("Synchronisierung beenden..."));
    EXPECT_TRUE(isEnabled("syncButton"));
    EXPECT_TRUE(isEnabled("syncedCalendarsList"));
    EXPECT_FALSE(isEnabled("cancelButton"));
    EXPECT_FALSE(find<QProgressBar>("progress")->isVisible());
    // What the run changed of the settings shows.
    EXPECT_TRUE(isTicked("isOn"));
    EXPECT_EQ(text("syncCalendarsStatusLabel"), QString());
    EXPECT_FALSE(isRowTicked(privat));
}

TEST_F(WindowOfASync, StaysAliveWhileASyncRuns)
{
    open();
    click("syncButton");
    int rounds = 0;
    while (window->isSyncing() && rounds < 100000) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        ++rounds;
    }
    EXPECT_GT(rounds, 3);
}

TEST_F(WindowOfASync, SaysWhyASyncCouldNotBegin)
{
    open();
    const auto other = lockHome();
    click("syncButton");
    ASSERT_TRUE(waitForSync());
    settle();
    EXPECT_EQ(text("status"),
              QStringLiteral("Für diesen Heimordner läuft gerade eine andere Synchronisierung."));
    EXPECT_TRUE(isEnabled("syncButton"));
}

TEST_F(WindowOfASync, SaysThatTheProgramOfTheSyncIsMissing)
{
    program = "/nonexistent/icalsync";
    open();
    click("syncButton");
    ASSERT_TRUE(waitForSync());
    settle();
    EXPECT_EQ(text("status"), QStringLiteral("\"/nonexistent/icalsync\" kann nicht gestartet "
                                             "werden: Das Programm gibt es nicht."));
    EXPECT_TRUE(isEnabled("syncButton"));
}

/// A program in the place of icalsync that ends only when it is cancelled.
class WindowOfALongSync : public WindowFixture {
protected:
    /// Does what `whenCancelled` says and ends then, unless that goes on.
    explicit WindowOfALongSync(
        const std::string& whenCancelled = "echo \"{\\\"status\\\":\\\"abgebrochen\\\"}\"; exit 1")
    {
        writeProgram("trap '" + whenCancelled +
                     "' INT\n"
                     "echo '{\"step\":{\"title\":\"Arbeit %p\",\"current\":1,\"total\":4}}' >&2\n"
                     "while [ ! -e " +
                     programs.path("genug") + " ]; do sleep 0.05; done");
    }
    void start()
    {
        open();
        click("syncButton");
        ASSERT_TRUE(
            QTest::qWaitFor([this] { return find<QProgressBar>("progress")->maximum() == 4; },
                            20000));
    }
};

TEST_F(WindowOfALongSync, ShowsHowFarItIs)
{
    start();
    EXPECT_EQ(find<QProgressBar>("progress")->value(), 1);
    EXPECT_EQ(find<QProgressBar>("progress")->text(), QStringLiteral("Arbeit %p"));
}

TEST_F(WindowOfALongSync, CanCancelIt)
{
    start();
    click("cancelButton");
    ASSERT_TRUE(waitForSync());
    settle();
    EXPECT_EQ(text("status"), QStringLiteral("abgebrochen"));
}

TEST_F(WindowOfALongSync, CancelsItWithEscape)
{
    start();
    QTest::keyClick(window.get(), Qt::Key_Escape);
    ASSERT_TRUE(waitForSync());
}

TEST_F(WindowOfALongSync, ClosesWhenItHasEnded)
{
    start();
    window->close();
    EXPECT_TRUE(window->isVisible());
    ASSERT_TRUE(waitForSync());
    settle();
    EXPECT_FALSE(window->isVisible());
}

/// One that takes its time after it was cancelled, and would be ended by a second signal.
class WindowOfACancelledSync : public WindowOfALongSync {
protected:
    WindowOfACancelledSync() : WindowOfALongSync("echo INT >> \"$(dirname \"$0\")/signale\"") {}
    void cancelAndWait()
    {
        click("cancelButton");
        ASSERT_TRUE(QTest::qWaitFor([this] { return programs.exists("signale"); }, 20000));
    }
};

TEST_F(WindowOfACancelledSync, IsAskedOnceOnly)
{
    start();
    cancelAndWait();
    EXPECT_FALSE(isEnabled("cancelButton"));
    EXPECT_EQ(text("status"), QStringLiteral("Die Synchronisierung wird abgebrochen..."));
    QTest::keyClick(window.get(), Qt::Key_Escape);
    window->close();
    settle();
    EXPECT_TRUE(window->isVisible());
    // Time for a second signal to be caught between two steps of the loop.
    QTest::qWait(300);
    EXPECT_EQ(programs.read("signale"), "INT\n");
    programs.write("genug", "");
    ASSERT_TRUE(waitForSync());
    settle();
    EXPECT_FALSE(window->isVisible());
}

TEST_F(WindowOfACancelledSync, LeavesTheNextOneToBeCancelledAgain)
{
    start();
    cancelAndWait();
    programs.write("genug", "");
    ASSERT_TRUE(waitForSync());
    settle();
    programs.remove("genug");
    programs.remove("signale");
    click("syncButton");
    EXPECT_TRUE(isEnabled("cancelButton"));
    ASSERT_TRUE(
        QTest::qWaitFor([this] { return find<QProgressBar>("progress")->maximum() == 4; }, 20000));
    cancelAndWait();
    programs.write("genug", "");
    ASSERT_TRUE(waitForSync());
}

TEST_F(WindowOfALongSync, StartsNoSecondOne)
{
    start();
    QTest::keyClick(window.get(), Qt::Key_R, Qt::ControlModifier);
    settle();
    EXPECT_EQ(find<QProgressBar>("progress")->maximum(), 4);
}

}  // namespace
}  // namespace kt::test
