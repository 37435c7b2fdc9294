#include "Sync/PlugIns/iCal/ICalSyncPlugin.h"
#include "tests/Sync/PlugIns/iCal/OpenPlugin.h"
#include "tests/Sync/PlugIns/iCal/StoreFixture.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Optional;

class Plugin : public StoreFixture {
protected:
    OpenPlugin plugin{&host, home.path("ICalSyncPlugin.bundle")};
};

TEST_F(Plugin, BeginsEmptyWithAllFlagsDown)
{
    EXPECT_FALSE(plugin._resetSync);
    EXPECT_FALSE(plugin._cancelSync);
    EXPECT_FALSE(plugin._isSynchronizing);
    EXPECT_FALSE(plugin._isICalDidEndNotificationDisabled);
    EXPECT_THAT(plugin._localCalendarsList, IsEmpty());
    EXPECT_TRUE(plugin._activatedCalendars.empty());
    EXPECT_TRUE(plugin._publicCalendars.empty());
    EXPECT_EQ(plugin._menuIcon, nullptr);
    EXPECT_EQ(plugin._syncServicesHook, nullptr);
    EXPECT_THAT(host.calls(), IsEmpty());
}

TEST_F(Plugin, SaysWhoItIs)
{
    EXPECT_EQ(plugin.name(), "ICalSyncPlugin");
    EXPECT_EQ(plugin.displayName(), "iCal-Kalender");
    EXPECT_EQ(plugin.shortDisplayName(), "iCal");
    EXPECT_TRUE(plugin.needsLocalState());
    EXPECT_EQ(plugin.minimumRequiredOSVersion(), 4);
    EXPECT_THAT(plugin.syncConduits(), ElementsAre("ical-event", "ical-task", "ical-calendar"));
}

struct PreferenceRow {
    std::string_view constant;
    const char* key;
};
class PluginPreference : public ::testing::TestWithParam<PreferenceRow> {};
INSTANTIATE_TEST_SUITE_P(Keys, PluginPreference,
                         ::testing::Values(PreferenceRow{ICalSyncPlugin::kActivatePreference,
                                                         "ICAL_SYNC_PLUGIN_ACTIVATE"},
                                           PreferenceRow{ICalSyncPlugin::kFullSyncPreference,
                                                         "ICAL_SYNC_PLUGIN_FULL_SYNC"},
                                           PreferenceRow{ICalSyncPlugin::kSyncedPreference,
                                                         "ICAL_SYNC_PLUGIN_SYNCED_PLUGINS"},
                                           PreferenceRow{ICalSyncPlugin::kPublishedPreference,
                                                         "ICAL_SYNC_PLUGIN_PUBLISHED_CALENDARS"}));

TEST_P(PluginPreference, HasTheKeyUnderWhichHostsKeepIt)
{
    EXPECT_EQ(GetParam().constant, GetParam().key);
}

TEST_F(Plugin, EnablesAndDisablesThroughItsPreference)
{
    plugin.enable();
    plugin.disable();
    EXPECT_THAT(host.calls(), ElementsAre("updatePreference:ICAL_SYNC_PLUGIN_ACTIVATE=1",
                                          "updatePreference:ICAL_SYNC_PLUGIN_ACTIVATE=0"));
}

struct EnabledRow {
    std::optional<bool> preference;
    int version;
    bool enabled;
};
class PluginEnabled : public Plugin, public ::testing::WithParamInterface<EnabledRow> {};
INSTANTIATE_TEST_SUITE_P(States, PluginEnabled,
                         ::testing::Values(EnabledRow{true, 5, true}, EnabledRow{true, 4, true},
                                           EnabledRow{true, 6, true}, EnabledRow{false, 5, false},
                                           EnabledRow{std::nullopt, 5, false},
                                           EnabledRow{true, 2, false}));

TEST_P(PluginEnabled, NeedsThePreferenceAndAPlaceInTheList)
{
    host.script.macOSVersion = GetParam().version;
    if (GetParam().preference)
        host.script.preferences.set("ICAL_SYNC_PLUGIN_ACTIVATE", *GetParam().preference);
    EXPECT_EQ(plugin.isEnabled(), GetParam().enabled);
}

TEST_F(Plugin, IsNotEnabledOnVersionThreeWhereItIsNotListed)
{
    host.script.macOSVersion = 3;
    host.script.preferences.set("ICAL_SYNC_PLUGIN_ACTIVATE", true);
    EXPECT_FALSE(plugin.isEnabled());
}

struct VersionRow {
    int version;
    bool isShown;
    const char* toBackUp;
    const char* toWatch;
};
class PluginOnVersion : public Plugin, public ::testing::WithParamInterface<VersionRow> {
protected:
    std::optional<std::vector<std::string>> belowHome(const char* path) const
    {
        if (path == nullptr)
            return std::nullopt;
        return std::vector{home.path(path)};
    }
};
INSTANTIATE_TEST_SUITE_P(
    Versions, PluginOnVersion,
    ::testing::Values(VersionRow{0, false, nullptr, nullptr},
                      VersionRow{2, false, nullptr, nullptr},
                      VersionRow{3, false, nullptr, nullptr},
                      VersionRow{4, true, "Library/Application Support/iCal",
                                 "Library/Application Support/iCal/nodes.plist"},
                      VersionRow{5, true, "Library/Calendars", "Library/Calendars/Calendar Cache"},
                      VersionRow{6, true, nullptr, nullptr},
                      VersionRow{7, true, nullptr, nullptr}));

TEST_P(PluginOnVersion, IsShownFromFourOn)
{
    host.script.macOSVersion = GetParam().version;
    EXPECT_EQ(plugin.showInSyncPluginsList(), GetParam().isShown);
}

TEST_P(PluginOnVersion, NamesTheFilesToBackUpOfThatLayoutOnly)
{
    host.script.macOSVersion = GetParam().version;
    EXPECT_EQ(plugin.filesToBackup(), belowHome(GetParam().toBackUp));
}

TEST_P(PluginOnVersion, NamesTheFilesToWatchOfThatLayoutOnly)
{
    host.script.macOSVersion = GetParam().version;
    EXPECT_EQ(plugin.filesToWatch(), belowHome(GetParam().toWatch));
}

// The icon.

class PluginIcon : public Plugin {
protected:
    void writeBundle() const
    {
        home.write("ICalSyncPlugin.bundle/Contents/Info.plist",
                   xmlPropertyList(Dictionary{{"CFBundleExecutable", "ICalSyncPlugin"}}));
    }
    void writeIcon(const std::string& bytes) const
    {
        home.write("ICalSyncPlugin.bundle/Contents/Resources/iCal.icns", bytes);
    }
};

TEST_F(PluginIcon, ComesFromTheBundlesResourceFolder)
{
    writeBundle();
    writeIcon("Bild");
    const auto icon = plugin.menuIcon();
    ASSERT_NE(icon, nullptr);
    EXPECT_EQ(icon->contents(), "Bild");
}

TEST_F(PluginIcon, IsKeptOnceLoaded)
{
    writeBundle();
    writeIcon("Bild");
    const auto icon = plugin.menuIcon();
    home.remove("ICalSyncPlugin.bundle");
    EXPECT_EQ(plugin.menuIcon(), icon);
}

TEST_F(PluginIcon, IsNilWithoutBundleOrFileAndLookedForAgain)
{
    EXPECT_EQ(plugin.menuIcon(), nullptr);
    writeBundle();
    EXPECT_EQ(plugin.menuIcon(), nullptr);
    writeIcon("Bild");
    EXPECT_NE(plugin.menuIcon(), nullptr);
}

TEST_F(PluginIcon, IsNilForAPluginWithoutABundle)
{
    EXPECT_EQ(OpenPlugin(&host).menuIcon(), nullptr);
}

// Resetting and cancelling.

class PluginReset : public Plugin, public ::testing::WithParamInterface<bool> {};
INSTANTIATE_TEST_SUITE_P(Results, PluginReset, ::testing::Bool());

TEST_P(PluginReset, IsLoggedRaisesTheFlagAndAnswersWhatTheHostAnswers)
{
    host.script.resetResult = GetParam();
    EXPECT_EQ(plugin.resetSync(), GetParam());
    EXPECT_TRUE(plugin._resetSync);
    EXPECT_THAT(host.calls(),
                ElementsAre("logMsg:Die Synchronisierung der iCal-Kalender wird zurueckgesetzt",
                            "resetLocalState"));
}

TEST_F(Plugin, MarksAResetBeforeTheHostForgetsAnything)
{
    bool wasMarked = false;
    host.script.before = [&](std::string_view call) {
        if (call == "resetLocalState")
            wasMarked = plugin._resetSync;
    };
    EXPECT_TRUE(plugin.resetSync());
    EXPECT_TRUE(wasMarked);
}

TEST_F(Plugin, CancelsBySettingTheFlagAlone)
{
    EXPECT_TRUE(plugin.cancelSync());
    EXPECT_TRUE(plugin._cancelSync);
    EXPECT_THAT(host.calls(), IsEmpty());
}

TEST_F(Plugin, ActivatesDeactivatesAndRemovesWithoutDoingAnything)
{
    EXPECT_TRUE(plugin.activate());
    EXPECT_TRUE(plugin.deactivate());
    EXPECT_TRUE(plugin.removePermanently());
    EXPECT_THAT(host.calls(), IsEmpty());
    EXPECT_THAT(home.tree(), IsEmpty());
}

// Describing records.

struct DescriptionRow {
    std::string conduit;
    Dictionary fields;
    std::string description;
};
class PluginDescribes : public Plugin, public ::testing::WithParamInterface<DescriptionRow> {};

const EnhancedDate kStart = std::make_shared<HostEnhancedDate>(CalendarDate{2007, 12, 24, 10, 0, 0},
                                                               "Europe/Berlin", false);
INSTANTIATE_TEST_SUITE_P(
    Records, PluginDescribes,
    ::testing::Values(
        DescriptionRow{"ical-calendar", {{"Type", "CalendarGroup"}, {"Title", "A"}}, "Gruppe: 'A'"},
        DescriptionRow{"ical-calendar",
                       {{"Type", "CalendarNode"}, {"Title", "A"}},
                       "Kalender: 'A'"},
        DescriptionRow{"ical-calendar",
                       {{"Type", "BirthdayCalendar"}, {"Title", "A"}},
                       "Kalender: 'A'"},
        DescriptionRow{"ical-calendar", {}, "Kalender: '(null)'"},
        DescriptionRow{"ical-event",
                       {{"Title", "A"}, {"StartDate", kStart}},
                       "Ereignis: 'A' (20071224T100000 Europe/Berlin)"},
        DescriptionRow{"ical-event", {{"Title", "A"}}, "Ereignis: 'A' ((null))"},
        DescriptionRow{"ical-task", {{"Title", "A"}}, "Aufgabe: 'A'"},
        DescriptionRow{"ical-task", {{"Title", 7}}, "Aufgabe: '7'"}));

TEST_P(PluginDescribes, ARecordByItsConduit)
{
    const HostSyncRecord record(0, GetParam().fields, "k", std::nullopt, GetParam().conduit);
    EXPECT_EQ(plugin.describeRecord(record), GetParam().description);
}

TEST_F(Plugin, DescribesARecordOfAnUnknownConduitByItsDictionary)
{
    const Dictionary fields{{"Title", "A"}, {"Type", "CalendarGroup"}};
    EXPECT_EQ(plugin.describeRecord(HostSyncRecord(0, fields, "k", std::nullopt, "ical-note")),
              fields.description());
}

TEST_F(Plugin, DescribesACalendarWithoutTypeAsAKalender)
{
    EXPECT_EQ(plugin.describeRecord(HostSyncRecord(0, Dictionary{{"Title", "A"}}, "k", std::nullopt,
                                                   "ical-calendar")),
              "Kalender: 'A'");
}

}  // namespace
}  // namespace kt::test
