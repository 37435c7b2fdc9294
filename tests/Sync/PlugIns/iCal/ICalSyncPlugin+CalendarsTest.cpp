#include "tests/Sync/PlugIns/iCal/OpenPlugin.h"
#include "tests/Sync/PlugIns/iCal/StoreFixture.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PluginCalendars : public StoreFixture {
protected:
    std::shared_ptr<KTSyncCalendar> calendar(const std::string& title,
                                             std::int32_t type = kCalendarTypeNode)
    {
        auto made =
            KTSyncCalendar::syncCalendarWithPluginHelper(&host, type, std::nullopt, std::nullopt);
        made->setTitle(title);
        return made;
    }
    const Value& preference(const std::string& key) const { return host.script.preferences[key]; }

    OpenPlugin plugin{&host};
};

TEST_F(PluginCalendars, AreThoseOfTheStoreInItsOrder)
{
    writeCalendar("B", "Zuhause");
    writeCalendar("A", "Arbeit");
    writeFolder("G.group", groupInfo("G", "Gruppe", {}));
    std::vector<std::string> titles;
    for (const auto& calendar : plugin.calendarsList())
        titles.push_back(*calendar->title());
    EXPECT_THAT(titles, ElementsAre("Arbeit", "Zuhause", "Gruppe"));
}

TEST_F(PluginCalendars, AreNoneWithALineToHostAndSystemWhenTheStoreCannotBeRead)
{
    writeFolder("A.calendar", with(calendarInfo("A", "Arbeit"), "Title", 1));
    EXPECT_THAT(plugin.calendarsList(), IsEmpty());
    EXPECT_EQ(host.messages().back(), "ICalSyncPlugin.calendarsList: calendarStore == nil");
    EXPECT_EQ(platform.consoleLines().back(), host.messages().back());
}

TEST_F(PluginCalendars, NewOnesAreSyncedAndUnpublishedAndStored)
{
    const auto arbeit = calendar("Arbeit");
    const std::string key = *arbeit->recordKey();
    plugin._localCalendarsList = {arbeit};
    plugin.updateActivatedCalendars();
    EXPECT_EQ(plugin._activatedCalendars, (Dictionary{{key, 1}}));
    const Dictionary options{{"Public", 0},
                             {"PublishEvents", 1},
                             {"PublishTasks", 0},
                             {"Anonymize", 0}};
    EXPECT_EQ(plugin._publicCalendars, (Dictionary{{key, options}}));
    EXPECT_EQ(preference("ICAL_SYNC_PLUGIN_SYNCED_PLUGINS"), Value(plugin._activatedCalendars));
    EXPECT_EQ(preference("ICAL_SYNC_PLUGIN_PUBLISHED_CALENDARS"), Value(plugin._publicCalendars));
}

TEST_F(PluginCalendars, OfTypeGroupDisappearFromTheListAndGetNoEntries)
{
    const auto arbeit = calendar("Arbeit");
    const auto geburtstage = calendar("Geburtstage", kCalendarTypeBirthday);
    plugin._localCalendarsList = {calendar("G1", kCalendarTypeGroup),
                                  calendar("G2", kCalendarTypeGroup), arbeit,
                                  calendar("G3", kCalendarTypeGroup), geburtstage};
    plugin.updateActivatedCalendars();
    EXPECT_THAT(plugin._localCalendarsList, ElementsAre(arbeit, geburtstage));
    EXPECT_EQ(plugin._activatedCalendars.size(), 2u);
    EXPECT_EQ(plugin._publicCalendars.size(), 2u);
}

TEST_F(PluginCalendars, StoredEntriesReplaceThoseInMemory)
{
    plugin._activatedCalendars = Dictionary{{"a", 1}, {"b", 1}};
    plugin._publicCalendars = Dictionary{{"a", Dictionary{{"Public", 0}}}};
    host.script.preferences.set("ICAL_SYNC_PLUGIN_SYNCED_PLUGINS", Dictionary{{"a", 0}, {"c", 0}});
    host.script.preferences.set("ICAL_SYNC_PLUGIN_PUBLISHED_CALENDARS",
                                Dictionary{{"a", Dictionary{{"Public", 1}}}});
    plugin.updateActivatedCalendars();
    EXPECT_EQ(plugin._activatedCalendars, (Dictionary{{"a", 0}, {"b", 1}, {"c", 0}}));
    EXPECT_EQ(plugin._publicCalendars, (Dictionary{{"a", Dictionary{{"Public", 1}}}}));
    EXPECT_EQ(preference("ICAL_SYNC_PLUGIN_SYNCED_PLUGINS"), Value(plugin._activatedCalendars));
}

TEST_F(PluginCalendars, KnownOnesKeepTheirEntries)
{
    const auto arbeit = calendar("Arbeit");
    const std::string key = *arbeit->recordKey();
    host.script.preferences.set("ICAL_SYNC_PLUGIN_SYNCED_PLUGINS", Dictionary{{key, 0}});
    host.script.preferences.set("ICAL_SYNC_PLUGIN_PUBLISHED_CALENDARS",
                                Dictionary{{key, Dictionary{{"Public", 1}}}});
    plugin._localCalendarsList = {arbeit};
    plugin.updateActivatedCalendars();
    EXPECT_EQ(plugin._activatedCalendars, (Dictionary{{key, 0}}));
    EXPECT_EQ(plugin._publicCalendars, (Dictionary{{key, Dictionary{{"Public", 1}}}}));
}

TEST_F(PluginCalendars, EntriesOfCalendarsThatAreGoneStay)
{
    host.script.preferences.set("ICAL_SYNC_PLUGIN_SYNCED_PLUGINS", Dictionary{{"weg", 0}});
    plugin.updateActivatedCalendars();
    EXPECT_EQ(preference("ICAL_SYNC_PLUGIN_SYNCED_PLUGINS"), Value(Dictionary{{"weg", 0}}));
}

TEST_F(PluginCalendars, WithoutPreferencesStoreEmptyDictionaries)
{
    plugin.updateActivatedCalendars();
    EXPECT_THAT(host.calls(),
                ElementsAre("objectPreferenceForKey:ICAL_SYNC_PLUGIN_SYNCED_PLUGINS",
                            "objectPreferenceForKey:ICAL_SYNC_PLUGIN_PUBLISHED_CALENDARS",
                            "updatePreference:ICAL_SYNC_PLUGIN_SYNCED_PLUGINS={\n}",
                            "updatePreference:ICAL_SYNC_PLUGIN_PUBLISHED_CALENDARS={\n}"));
}

}  // namespace
}  // namespace kt::test
