#include <QPushButton>
#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/Exception.h"
#include "Sync/Host/Qt/QtControls.h"
#include "Sync/Host/Qt/QtNibLoader.h"
#include "Sync/HostInterface/TableView.h"
#include "tests/Sync/Host/Qt/Application.h"
#include "tests/support/PlatformScope.h"
#include "tests/support/TemporaryFolder.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// Takes every outlet, and the actions that it is told to have.
class Owner : public NibOwner {
public:
    bool setOutlet(std::string_view name, View* view) override
    {
        outlets[std::string(name)] = view;
        return true;
    }
    std::function<void(View*)> actionNamed(std::string_view selector) override
    {
        if (selector == "unknown:")
            return {};
        return [this, name = std::string(selector)](View* from) {
            actions.push_back(name);
            sender = from;
            if (name == "fail:")
                throw Exception(NSGenericException, "mittendrin");
        };
    }

    template <class T>
    T* outlet(const std::string& name)
    {
        return dynamic_cast<T*>(outlets[name]);
    }

    std::map<std::string, View*> outlets;
    std::vector<std::string> actions;
    View* sender = nullptr;
};

class NibFile : public ::testing::Test {
protected:
    void write(const std::string& content) const
    {
        bundle.write("Contents/Info.plist",
                     "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict/></plist>");
        bundle.write("Contents/Resources/View.ui", content);
    }
    /// A window with one button that sends this action.
    void writeButton(const std::string& selector) const
    {
        write(
            "<ui version=\"4.0\"><widget class=\"QWidget\" name=\"root\">"
            "<widget class=\"QPushButton\" name=\"button\">"
            "<property name=\"action\" stdset=\"0\"><string>" +
            selector + "</string></property></widget></widget></ui>");
    }
    std::unique_ptr<Nib> load() { return loader.loadNibNamed("View", owner, bundle.path()); }
    QPushButton* button()
    {
        return qobject_cast<QPushButton*>(widgetOfView(owner.outlets["button"]));
    }

    PlatformScope platform;
    TemporaryFolder bundle;
    Owner owner;
    QtNibLoader loader;
};

TEST_F(NibFile, OfThePluginHasEveryOutletInItsKind)
{
    const auto nib = loader.loadNibNamed("ICalSyncPlugin", owner, KT_BUNDLE_PATH);
    ASSERT_NE(nib, nullptr);
    EXPECT_NE(owner.outlet<View>("configView"), nullptr);
    EXPECT_NE(owner.outlet<TableView>("syncedCalendarsList"), nullptr);
    EXPECT_NE(owner.outlet<TabView>("sharingTabView"), nullptr);
    EXPECT_NE(owner.outlet<ProgressIndicator>("publicSharingProgress"), nullptr);
    for (const char* name : {"syncCalendarsStatusLabel", "publicSharingStatusLabel"})
        EXPECT_NE(owner.outlet<Label>(name), nullptr) << name;
    for (const char* name :
         {"activatePublicSharingButton", "publishEventsCheckbox", "publishTasksCheckbox",
          "anonymizeAllCheckbox", "showPublicCalendarsInBrowserButton"})
        EXPECT_NE(owner.outlet<Button>(name), nullptr) << name;
    EXPECT_THAT(platform.consoleLines(), IsEmpty());
}

struct ActionRow {
    const char* button;
    const char* selector;
};
class NibFileAction : public NibFile, public ::testing::WithParamInterface<ActionRow> {};
INSTANTIATE_TEST_SUITE_P(
    OfThePlugin, NibFileAction,
    ::testing::Values(ActionRow{"activatePublicSharingButton", "activatePublicSharing:"},
                      ActionRow{"publishEventsCheckbox", "changePublishOptionCheckbox:"},
                      ActionRow{"publishTasksCheckbox", "changePublishOptionCheckbox:"},
                      ActionRow{"anonymizeAllCheckbox", "changePublishOptionCheckbox:"},
                      ActionRow{"showPublicCalendarsInBrowserButton",
                                "showPublicCalendarsInBrowser:"}));

TEST_P(NibFileAction, IsSentByItsButton)
{
    const auto nib = loader.loadNibNamed("ICalSyncPlugin", owner, KT_BUNDLE_PATH);
    View* outlet = owner.outlets[GetParam().button];
    qobject_cast<QAbstractButton*>(widgetOfView(outlet))->click();
    EXPECT_THAT(owner.actions, ElementsAre(GetParam().selector));
    EXPECT_EQ(owner.sender, outlet);
}

TEST_F(NibFile, ThatIsMissingGivesNothing)
{
    EXPECT_EQ(load(), nullptr);
    EXPECT_EQ(loader.loadNibNamed("Other", owner, KT_BUNDLE_PATH), nullptr);
    EXPECT_THAT(owner.outlets, IsEmpty());
    EXPECT_THAT(platform.consoleLines(), IsEmpty());
}

TEST_F(NibFile, ThatIsBrokenIsNamedInTheSystemLog)
{
    write("<ui version=\"4.0\"><widget");
    EXPECT_EQ(load(), nullptr);
    EXPECT_THAT(owner.outlets, IsEmpty());
    EXPECT_THAT(platform.consoleLines(),
                ElementsAre(HasSubstr("View.ui\" beschreibt keine Ansicht.")));
}

TEST_F(NibFile, WithAnUnknownActionIsLoadedAllTheSame)
{
    writeButton("unknown:");
    const auto nib = load();
    ASSERT_NE(nib, nullptr);
    button()->click();
    EXPECT_THAT(owner.actions, IsEmpty());
    EXPECT_THAT(platform.consoleLines(), ElementsAre("Die Aktion \"unknown:\" gibt es nicht."));
}

TEST_F(NibFile, LetsNoExceptionOfAnActionThroughTheEventLoop)
{
    writeButton("fail:");
    const auto nib = load();
    button()->click();
    EXPECT_THAT(platform.consoleLines(),
                ElementsAre("Nichtabgefangener Fehler in fail: mittendrin"));
}

TEST_F(NibFile, TakesItsWidgetsAlongWhenItGoes)
{
    writeButton("act:");
    auto nib = load();
    const QPointer<QPushButton> widget = button();
    nib.reset();
    EXPECT_TRUE(widget.isNull());
}

TEST_F(NibFile, OutlivesAWindowThatItsViewWasPutInto)
{
    writeButton("act:");
    auto nib = load();
    {
        QWidget window;
        widgetOfView(owner.outlets["root"])->setParent(&window);
    }
    EXPECT_EQ(widgetOfView(owner.outlets["root"]), nullptr);
    owner.outlet<Button>("button")->setTitle("weg");
    nib.reset();
}

}  // namespace
}  // namespace kt::test
