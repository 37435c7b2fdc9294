#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/Exception.h"
#include "Sync/Host/Command/Settings.h"
#include "tests/support/TemporaryFolder.h"

namespace kt {
namespace {

using test::TemporaryFolder;
using testing::ElementsAre;
using testing::IsEmpty;

class SettingsFile : public testing::Test {
protected:
    Settings read(std::string_view text) const
    {
        folder.write("s.toml", text);
        return settingsFromFile(path);
    }
    std::string refusalOf(std::string_view text) const
    {
        try {
            read(text);
        } catch (const Exception& exception) {
            EXPECT_EQ(exception.name(), NSInvalidArgumentException);
            return exception.reason();
        }
        return "";
    }

    TemporaryFolder folder;
    std::string path = folder.path("s.toml");
};

TEST_F(SettingsFile, MaySayEverythingThereIs)
{
    const Settings settings = read(
        "home = \"/home/anna\"\n"
        "server = \"sqlite:/srv/k.sqlite\"\n"
        "device = \"Büro\"\n"
        "system-version = 4\n"
        "plugin = \"/opt/P.bundle\"\n"
        "[calendar-program]\n"
        "program = \"gnome-calendar\"\n"
        "quit = [\"gnome-calendar\", \"--quit\"]\n"
        "launch = [\"gtk-launch\", \"kalender\"]\n"
        "quit-seconds = 3\n"
        "[public-site]\n"
        "address = \"https://kalender.example\"\n"
        "listen = \"0.0.0.0\"\n"
        "port = 81\n");
    EXPECT_EQ(settings.home, "/home/anna");
    EXPECT_EQ(settings.server, "sqlite:/srv/k.sqlite");
    EXPECT_EQ(settings.device, "Büro");
    EXPECT_EQ(settings.systemVersion, 4);
    EXPECT_EQ(settings.plugin, "/opt/P.bundle");
    EXPECT_EQ(settings.calendarProgram.program, "gnome-calendar");
    EXPECT_THAT(settings.calendarProgram.quitCommand, ElementsAre("gnome-calendar", "--quit"));
    EXPECT_THAT(settings.calendarProgram.launchCommand, ElementsAre("gtk-launch", "kalender"));
    EXPECT_EQ(settings.calendarProgram.patience, std::chrono::seconds(3));
    EXPECT_EQ(settings.site.address, "https://kalender.example");
    EXPECT_EQ(settings.site.listen, "0.0.0.0");
    EXPECT_EQ(settings.site.port, 81);
}

TEST_F(SettingsFile, MaySayNothing)
{
    const Settings settings = read("# nichts\n");
    EXPECT_EQ(settings.home, std::nullopt);
    EXPECT_EQ(settings.systemVersion, std::nullopt);
    EXPECT_EQ(settings.calendarProgram.program, "iCal");
    EXPECT_THAT(settings.calendarProgram.quitCommand, IsEmpty());
}

struct RefusalRow {
    const char* text;
    const char* complaint;  // behind the path
};
class RefusedSettings : public SettingsFile, public testing::WithParamInterface<RefusalRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, RefusedSettings,
    testing::Values(
        RefusalRow{"home = \n", ", Zeile 1: kein gültiges TOML."},
        RefusalRow{"device = \"a\"\n[calendar-program\n", ", Zeile 2: kein gültiges TOML."},
        RefusalRow{"hoem = \"x\"\n", ": Unbekannte Einstellung \"hoem\"."},
        RefusalRow{"[calendar-program]\nstart = \"x\"\n",
                   ": Unbekannte Einstellung \"calendar-program.start\"."},
        RefusalRow{"home = 1\n", ": Bei \"home\" muss ein Text stehen."},
        RefusalRow{"system-version = \"5\"\n", ": Bei \"system-version\" muss eine Zahl stehen."},
        RefusalRow{"system-version = 3\n",
                   ": Bei \"system-version\" muss eine Zahl von 4 bis 5 stehen."},
        RefusalRow{"system-version = 6\n",
                   ": Bei \"system-version\" muss eine Zahl von 4 bis 5 stehen."},
        RefusalRow{"calendar-program = \"x\"\n",
                   ": Bei \"calendar-program\" muss ein Abschnitt stehen."},
        RefusalRow{"[calendar-program]\nquit = \"x\"\n",
                   ": Bei \"calendar-program.quit\" muss eine Liste von Texten stehen."},
        RefusalRow{"[calendar-program]\nlaunch = []\n",
                   ": Bei \"calendar-program.launch\" muss eine Liste von Texten stehen."},
        RefusalRow{"[calendar-program]\nquit = [\"x\", 1]\n",
                   ": Bei \"calendar-program.quit\" muss eine Liste von Texten stehen."},
        RefusalRow{"[public-site]\nport = 65536\n",
                   ": Bei \"public-site.port\" muss eine Zahl von 0 bis 65535 stehen."},
        RefusalRow{"[calendar-program]\nquit-seconds = 601\n",
                   ": Bei \"calendar-program.quit-seconds\" muss eine Zahl von 0 bis 600 "
                   "stehen."}));

TEST_P(RefusedSettings, SayWhatIsWrong)
{
    EXPECT_EQ(refusalOf(GetParam().text), path + GetParam().complaint);
}

TEST_F(SettingsFile, ThatCannotBeReadIsNamed)
{
    EXPECT_THROW(settingsFromFile(folder.path("fehlt.toml")), Exception);
}

}  // namespace
}  // namespace kt
