#pragma once

#include <QAbstractButton>
#include <QLabel>
#include <QPlainTextEdit>
#include <QStackedWidget>
#include <QTest>
#include <QTreeView>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/PropertyList.h"
#include "Sync/Host/Qt/SettingsWindow.h"
#include "Sync/Host/Qt/SettingsWorkplace.h"
#include "Sync/Host/Services/HomeLock.h"
#include "tests/Sync/Host/Qt/Application.h"
#include "tests/support/PlatformScope.h"
#include "tests/support/RecordingConnection.h"
#include "tests/support/SyncKit.h"

namespace kt::test {

/// The settings window as its program makes it, over a home with three calendars, a group and the
/// real bundle, and used with mouse and keyboard. The publishing service alone is a recorder,
/// unless a test wants it otherwise.
class WindowFixture : public ::testing::Test {
protected:
    // The rows of the list: the store's folders in order, without the group.
    enum Row { arbeit, privat, geburtstage };

    WindowFixture()
    {
        writeCalendar("1", "Arbeit", "#0252D4", "Local");
        writeCalendar("2", "Privat", "#2CA10B", "Local");
        writeCalendar("3", "Geburtstage", "#B90E28", "Birthday");
        home.folder().write(
            "Library/Calendars/4.group/Info.plist",
            xmlPropertyList(Dictionary{{"Key", "4"}, {"Title", "Familie"}, {"Color", "#FF0000"}}));
        home.addEvent("1", "a.ics", {.title = "Besprechung"});
        place.home = home.path();
        place.serverURL = server.url();
        place.device = "Test";
        place.pluginPath = KT_BUNDLE_PATH;
    }

    void writeCalendar(const std::string& key, const std::string& title, const std::string& color,
                       const std::string& type) const
    {
        home.folder().write("Library/Calendars/" + key + ".calendar/Info.plist",
                            xmlPropertyList(Dictionary{{"Key", key},
                                                       {"Title", title},
                                                       {"Color", color},
                                                       {"Notes", ""},
                                                       {"Order", 1},
                                                       {"Checked", true},
                                                       {"Type", type}}));
    }

    /// Opens the window and waits until all is shown.
    void open()
    {
        workplace.emplace(place);
        if (recordsService) {
            KTClassTable table = hostClassTable();
            table.setClass(KTSyncConnectionClass::className, &service);
            setHostClassTable(table);
        }
        window = std::make_unique<SettingsWindow>(
            *workplace, SettingsWindow::SyncCommand{QString::fromStdString(program),
                                                    {QStringLiteral("--home"),
                                                     QString::fromStdString(place.home),
                                                     QStringLiteral("--server"),
                                                     QString::fromStdString(place.serverURL)}});
        window->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
        settle();
    }
    void close()
    {
        window.reset();
        workplace.reset();
    }

    template <class Widget>
    Widget* find(const char* name)
    {
        auto* widget = window->findChild<Widget*>(QString::fromUtf8(name));
        EXPECT_NE(widget, nullptr) << name;
        return widget;
    }
    void click(const char* name)
    {
        auto* button = find<QAbstractButton>(name);
        // A check box is clicked where its box is: what lies beside its text is not its own.
        QTest::mouseClick(button, Qt::LeftButton, Qt::NoModifier, QPoint(10, button->height() / 2));
        settle();
    }
    QString text(const char* name) { return find<QLabel>(name)->text(); }
    QString title(const char* name) { return find<QAbstractButton>(name)->text(); }
    bool isEnabled(const char* name) { return find<QWidget>(name)->isEnabled(); }
    bool isTicked(const char* name) { return find<QAbstractButton>(name)->isChecked(); }

    QTreeView* list() { return find<QTreeView>("syncedCalendarsList"); }
    QModelIndex cell(int row, int column) { return list()->model()->index(row, column); }
    std::string rowTitle(int row) { return cell(row, 1).data().toString().toStdString(); }
    bool isRowTicked(int row) { return cell(row, 0).data(Qt::CheckStateRole) == Qt::Checked; }
    void select(int row)
    {
        QTest::mouseClick(list()->viewport(), Qt::LeftButton, Qt::NoModifier,
                          list()->visualRect(cell(row, 1)).center());
        settle();
    }
    void tick(int row)
    {
        const QRect area = list()->visualRect(cell(row, 0));
        QTest::mouseClick(list()->viewport(), Qt::LeftButton, Qt::NoModifier,
                          QPoint(area.left() + 10, area.center().y()));
        settle();
    }
    /// The title of the selected row, empty for none.
    std::string selectedTitle()
    {
        const auto rows = list()->selectionModel()->selectedRows(1);
        return rows.isEmpty() ? "" : rows.front().data().toString().toStdString();
    }
    bool isSharingShown() { return find<QTabWidget>("sharingTabView")->isVisible(); }

    Value preference(std::string_view key) const
    {
        return Preferences(SuiteFolder(place.home).preferencesPath(), Preferences::Storage::memory)
            .objectForKey(key, {});
    }
    /// What is stored of the publishing of a row's calendar.
    Value storedOptions(const std::string& title) const
    {
        return preference("ICAL_SYNC_PLUGIN_PUBLISHED_CALENDARS")
            .dictionary()[home.calendarKey(title)];
    }
    static Value options(int isPublic, int events, int tasks, int anonymize)
    {
        return Dictionary{{"Public", isPublic},
                          {"PublishEvents", events},
                          {"PublishTasks", tasks},
                          {"Anonymize", anonymize}};
    }
    std::string logPane() { return find<QPlainTextEdit>("log")->toPlainText().toStdString(); }
    void pressF5()
    {
        QTest::keyClick(window.get(), Qt::Key_F5);
        settle();
    }
    std::unique_ptr<HomeLock> lockHome() const
    {
        const SuiteFolder suite(place.home);
        suite.create();
        return HomeLock::exclusive(suite.lockPath());
    }
    /// A script that is run in the place of icalsync.
    void writeProgram(const std::string& script)
    {
        programs.write("icalsync", "#!/bin/sh\n" + script);
        program = programs.path("icalsync");
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    }
    bool waitForSync()
    {
        constexpr int kPatience = 60000;  // ms
        return QTest::qWaitFor([this] { return !window->isSyncing(); }, kPatience);
    }

    StoryServer server;
    StoryHome home{server};
    TemporaryFolder programs;
    PlatformScope platform{home.path()};
    Place place;
    std::string program = std::string(KT_PROGRAM_DIR) + "/icalsync";
    bool recordsService = true;  // false leaves the real one in place
    std::vector<std::string> serviceCalls;
    RecordingConnectionClass service{serviceCalls};
    std::optional<SettingsWorkplace> workplace;
    std::unique_ptr<SettingsWindow> window;
};

}  // namespace kt::test
