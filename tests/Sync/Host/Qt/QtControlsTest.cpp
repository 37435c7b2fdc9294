#include <QCheckBox>
#include <QGuiApplication>
#include <QPushButton>
#include <QStackedWidget>
#include <QTest>
#include <memory>

#include <gtest/gtest.h>

#include "Sync/Host/Qt/QtControls.h"
#include "tests/Sync/Host/Qt/Application.h"

namespace kt::test {
namespace {

class QtControls : public ::testing::Test {
protected:
};

TEST_F(QtControls, HideAndDisableTheirWidget)
{
    QPushButton widget;
    widget.show();
    QtButton button(&widget);
    button.setHidden(true);
    button.setEnabled(false);
    EXPECT_FALSE(widget.isVisible());
    EXPECT_FALSE(widget.isEnabled());
    button.setHidden(false);
    button.setEnabled(true);
    button.display();
    EXPECT_TRUE(widget.isVisible());
    EXPECT_TRUE(widget.isEnabled());
}

TEST_F(QtControls, TakeTitlesAndTextsInUtf8)
{
    QPushButton buttonWidget;
    QLabel labelWidget;
    QtButton(&buttonWidget).setTitle("Veröffentlichen...");
    QtLabel(&labelWidget).setStringValue("Überschrift");
    EXPECT_EQ(buttonWidget.text(), QStringLiteral("Veröffentlichen..."));
    EXPECT_EQ(labelWidget.text(), QStringLiteral("Überschrift"));
}

TEST_F(QtControls, TickABoxWithoutSendingItsAction)
{
    QCheckBox widget;
    int clicks = 0;
    QObject::connect(&widget, &QCheckBox::clicked, [&] { ++clicks; });
    QtButton box(&widget);
    for (const int value : {1, 0, 7}) {
        box.setIntValue(value);
        EXPECT_EQ(widget.isChecked(), value != 0);
        EXPECT_EQ(box.intValue(), value != 0 ? 1 : 0);
    }
    EXPECT_EQ(clicks, 0);
}

TEST_F(QtControls, ShowProgressWhileItRunsAndKeepItsPlaceAfterwards)
{
    QWidget window;
    QProgressBar bar(&window);
    QtProgressIndicator progress(&bar);
    window.show();
    progress.setUsesThreadedAnimation(true);
    EXPECT_TRUE(bar.isVisible());
    progress.setDisplayedWhenStopped(false);
    EXPECT_FALSE(bar.isVisible());
    EXPECT_TRUE(bar.sizePolicy().retainSizeWhenHidden());
    progress.startAnimation();
    EXPECT_TRUE(bar.isVisible());
    EXPECT_EQ(bar.maximum(), 0);  // without an end
    progress.stopAnimation();
    EXPECT_FALSE(bar.isVisible());
    EXPECT_NE(bar.maximum(), 0);
}

class CountingBar : public QProgressBar {
public:
    using QProgressBar::QProgressBar;
    int paints = 0;

protected:
    void paintEvent(QPaintEvent* event) override
    {
        ++paints;
        QProgressBar::paintEvent(event);
    }
};

TEST_F(QtControls, ShowProgressBeforeACallThatKeepsTheThreadBusy)
{
    QWidget window;
    CountingBar bar(&window);
    QtProgressIndicator progress(&bar);
    progress.setDisplayedWhenStopped(false);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    bar.paints = 0;
    progress.startAnimation();
    EXPECT_GT(bar.paints, 0);
    ASSERT_NE(QGuiApplication::overrideCursor(), nullptr);
    EXPECT_EQ(QGuiApplication::overrideCursor()->shape(), Qt::WaitCursor);
    progress.startAnimation();
    progress.stopAnimation();
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
    {
        QtProgressIndicator goesWhileItRuns(&bar);
        goesWhileItRuns.startAnimation();
    }
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
}

TEST_F(QtControls, LeaveTheFirstPageOfAStackInPlaceOfHiddenTabs)
{
    QStackedWidget stack;
    stack.addWidget(std::make_unique<QWidget>().release());
    auto* tabs = std::make_unique<QTabWidget>().release();
    stack.addWidget(tabs);
    stack.show();
    QtTabView view(tabs);
    view.setHidden(false);
    EXPECT_TRUE(tabs->isVisible());
    view.setHidden(true);
    EXPECT_FALSE(tabs->isVisible());
    EXPECT_EQ(stack.currentIndex(), 0);
}

TEST_F(QtControls, HideTabsThatLieInNoStack)
{
    QTabWidget tabs;
    tabs.show();
    QtTabView(&tabs).setHidden(true);
    EXPECT_FALSE(tabs.isVisible());
}

TEST_F(QtControls, DoNothingOnceTheirWidgetIsGone)
{
    auto buttonWidget = std::make_unique<QCheckBox>();
    auto labelWidget = std::make_unique<QLabel>();
    auto barWidget = std::make_unique<QProgressBar>();
    auto tabsWidget = std::make_unique<QTabWidget>();
    QtButton button(buttonWidget.get());
    QtLabel label(labelWidget.get());
    QtProgressIndicator progress(barWidget.get());
    QtTabView tabs(tabsWidget.get());
    button.setIntValue(1);
    buttonWidget.reset();
    labelWidget.reset();
    barWidget.reset();
    tabsWidget.reset();
    button.setTitle("a");
    button.setIntValue(1);
    button.setEnabled(true);
    button.setHidden(true);
    button.display();
    label.setStringValue("a");
    progress.startAnimation();
    progress.stopAnimation();
    tabs.setHidden(false);
    EXPECT_EQ(button.intValue(), 0);
    EXPECT_EQ(widgetOfView(&button), nullptr);
}

TEST_F(QtControls, GiveTheirWidgetToTheHostAlone)
{
    QLabel widget;
    QtLabel label(&widget);
    EXPECT_EQ(widgetOfView(&label), &widget);
    EXPECT_EQ(widgetOfView(nullptr), nullptr);
}

}  // namespace
}  // namespace kt::test
