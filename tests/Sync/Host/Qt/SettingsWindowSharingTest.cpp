#include "Sync/Host/Publishing/HostSyncConnection.h"
#include "tests/Sync/Host/Qt/WindowFixture.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// The site.

class WindowAndSite : public WindowFixture {
protected:
    void showSiteOf(const std::string& address)
    {
        place.site.address = address;
        open();
        select(arbeit);
        click("activatePublicSharingButton");
        click("showPublicCalendarsInBrowserButton");
    }
};

TEST_F(WindowAndSite, AreJoinedByTheBrowser)
{
    showSiteOf("https://kalender.example/");
    EXPECT_THAT(platform.launches(),
                ElementsAre(
                    PlatformScope::Launch{"xdg-open", {"https://kalender.example/vl/calendar"}}));
}

TEST_F(WindowAndSite, AreNotJoinedWithoutAnAddress)
{
    showSiteOf("");
    EXPECT_TRUE(isEnabled("showPublicCalendarsInBrowserButton"));
    EXPECT_THAT(platform.launches(), IsEmpty());
}

// The service that the program itself uses.

class WindowAndService : public WindowFixture {
protected:
    WindowAndService() { recordsService = false; }
    std::vector<Dictionary> listed(const std::string& key) const
    {
        std::vector<Dictionary> sharings;
        KTSyncError error;
        EXPECT_TRUE(HostSyncConnectionClass(server.url())
                        .initForPlugin(nullptr, "Test", nullptr)
                        ->listPublicSharings(sharings, "ical-calendar", std::nullopt, key, error))
            << error.localizedDescription;
        return sharings;
    }
};

TEST_F(WindowAndService, AgreeOnWhatIsPublic)
{
    open();
    const std::string key = home.calendarKey("Arbeit");
    select(arbeit);
    click("publishTasksCheckbox");
    click("anonymizeAllCheckbox");
    click("activatePublicSharingButton");
    EXPECT_THAT(listed(key),
                ElementsAre(Dictionary{{"public", "YES"}, {"publicOptions", "EVENTS TASKS ANON"}}));
    EXPECT_EQ(storedOptions("Arbeit"), options(1, 1, 1, 1));
    click("activatePublicSharingButton");
    EXPECT_THAT(listed(key), IsEmpty());
    EXPECT_EQ(storedOptions("Arbeit"), options(0, 1, 1, 1));
}

TEST_F(WindowAndService, ShowWhatAnotherProgramPublished)
{
    open();
    const std::string key = home.calendarKey("Privat");
    ASSERT_EQ(home.run({"publish", key, "--anonymize"}).exitCode, 0);
    select(privat);
    EXPECT_EQ(title("activatePublicSharingButton"), QStringLiteral("Veröffentlichung aufheben..."));
    EXPECT_TRUE(isTicked("anonymizeAllCheckbox"));
    EXPECT_EQ(rowTitle(privat), "Privat (Öffentlich)");
    EXPECT_EQ(storedOptions("Privat"), options(1, 1, 0, 1));
}

}  // namespace
}  // namespace kt::test
