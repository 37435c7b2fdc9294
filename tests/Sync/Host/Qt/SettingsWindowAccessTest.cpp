#include <QAccessible>
#include <QMenu>
#include <QMenuBar>
#include <algorithm>
#include <map>

#include "tests/Sync/Host/Qt/WindowFixture.h"

namespace kt::test {
namespace {

using ::testing::Contains;
using ::testing::IsEmpty;

/// The window for who has no mouse or does not see it.
class WindowAccess : public WindowFixture {
protected:
    /// Names of the widgets that the tab key goes through, from the list until it comes round.
    std::vector<std::string> tabOrder()
    {
        std::vector<std::string> names;
        list()->setFocus();
        for (int step = 0; step < 40; ++step) {
            QWidget* focus = QApplication::focusWidget();
            if (focus == nullptr || (step > 0 && focus == list()))
                break;
            names.push_back(focus->objectName().toStdString());
            QTest::keyClick(focus, Qt::Key_Tab);
        }
        return names;
    }
    static std::string accessibleName(QWidget* widget)
    {
        const QAccessibleInterface* interface = QAccessible::queryAccessibleInterface(widget);
        return interface == nullptr ? "" : interface->text(QAccessible::Name).toStdString();
    }
    /// The letter after the ampersand, upper case, or NUL.
    static char16_t mnemonic(const QString& text)
    {
        const qsizetype position = text.indexOf(QLatin1Char('&'));
        return position < 0 || position + 1 >= text.size() ? u'\0'
                                                           : text[position + 1].toUpper().unicode();
    }
};

TEST_F(WindowAccess, ReachesEverythingThatIsEnabledWithTheTabKey)
{
    open();
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    select(arbeit);
    const auto names = tabOrder();
    for (const char* name : {"syncedCalendarsList", "publishTasksCheckbox", "anonymizeAllCheckbox",
                             "activatePublicSharingButton", "log", "syncButton", "isOn"})
        EXPECT_THAT(names, Contains(name));
}

TEST_F(WindowAccess, GoesFromTheListToTheSharingControlsInTheirOrder)
{
    open();
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    select(arbeit);
    const auto names = tabOrder();
    const auto position = [&](const char* name) {
        return std::find(names.begin(), names.end(), name) - names.begin();
    };
    EXPECT_LT(position("syncedCalendarsList"), position("publishTasksCheckbox"));
    EXPECT_LT(position("publishTasksCheckbox"), position("anonymizeAllCheckbox"));
    EXPECT_LT(position("anonymizeAllCheckbox"), position("activatePublicSharingButton"));
    EXPECT_LT(position("activatePublicSharingButton"), position("log"));
    EXPECT_LT(position("log"), position("syncButton"));
}

TEST_F(WindowAccess, PublishesWithTheKeyboardAlone)
{
    open();
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    QTest::keyClick(window.get(), Qt::Key_K, Qt::AltModifier);
    EXPECT_EQ(QApplication::focusWidget(), list());
    QTest::keyClick(list(), Qt::Key_Down);
    settle();
    ASSERT_TRUE(isSharingShown());
    auto* button = find<QAbstractButton>("activatePublicSharingButton");
    button->setFocus();
    QTest::keyClick(button, Qt::Key_Space);
    settle();
    EXPECT_EQ(title("activatePublicSharingButton"), QStringLiteral("Veröffentlichung aufheben..."));
}

TEST_F(WindowAccess, OpensTheSharingTabOfTheOnlyCalendarWithTheKeyboard)
{
    for (const char* name : {"2.calendar", "3.calendar", "4.group"})
        home.folder().remove(std::string("Library/Calendars/") + name);
    open();
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    QTest::keyClick(window.get(), Qt::Key_K, Qt::AltModifier);
    QTest::keyClick(list(), Qt::Key_Down);
    settle();
    EXPECT_EQ(selectedTitle(), "Arbeit ");
    EXPECT_TRUE(isSharingShown());
}

TEST_F(WindowAccess, TurnsATickOverWithTheSpaceBar)
{
    open();
    list()->setCurrentIndex(cell(privat, 1));
    QTest::keyClick(list(), Qt::Key_Space);
    settle();
    EXPECT_FALSE(isRowTicked(privat));
    EXPECT_EQ(preference("ICAL_SYNC_PLUGIN_FULL_SYNC"), Value(true));
}

TEST_F(WindowAccess, HasANameForEverythingThatTakesTheFocus)
{
    open();
    select(arbeit);
    std::vector<std::string> nameless;
    for (QWidget* widget : window->findChildren<QWidget*>())
        if (widget->isVisible() && (widget->focusPolicy() & Qt::TabFocus) != 0 &&
            accessibleName(widget).empty())
            nameless.push_back(widget->metaObject()->className() +
                               (" " + widget->objectName()).toStdString());
    EXPECT_THAT(nameless, IsEmpty());
}

TEST_F(WindowAccess, UsesEachLetterForOneThingOnly)
{
    open();
    select(arbeit);
    std::map<char16_t, int> uses;
    for (auto* button : window->findChildren<QAbstractButton*>())
        ++uses[mnemonic(button->text())];
    for (auto* label : window->findChildren<QLabel*>())
        if (label->buddy() != nullptr)
            ++uses[mnemonic(label->text())];
    for (auto* action : window->menuBar()->actions())
        ++uses[mnemonic(action->text())];
    uses.erase(u'\0');
    EXPECT_GE(uses.size(), 9u);
    for (const auto& [letter, count] : uses)
        EXPECT_EQ(count, 1) << QString(QChar(letter)).toStdString();
}

TEST_F(WindowAccess, LosesNothingAtItsSmallestSize)
{
    open();
    select(arbeit);
    window->resize(window->minimumSizeHint());
    settle();
    for (const char* name :
         {"syncedCalendarsList", "publishEventsCheckbox", "publishTasksCheckbox",
          "anonymizeAllCheckbox", "activatePublicSharingButton",
          "showPublicCalendarsInBrowserButton", "syncButton", "cancelButton", "isOn", "log"}) {
        auto* widget = find<QWidget>(name);
        const QRect area(widget->mapTo(window.get(), QPoint()), widget->size());
        EXPECT_TRUE(window->rect().contains(area)) << name;
        EXPECT_GE(widget->height(), widget->minimumSizeHint().height()) << name;
        EXPECT_GE(widget->width(), widget->minimumSizeHint().width()) << name;
    }
}

TEST_F(WindowAccess, GivesTheListMostOfTheRoomThereIs)
{
    open();
    const QSize before = list()->size();
    window->resize(window->size() + QSize(400, 400));
    settle();
    EXPECT_GT(list()->width(), before.width() + 150);
    EXPECT_GT(list()->height(), before.height() + 150);
}

}  // namespace
}  // namespace kt::test
