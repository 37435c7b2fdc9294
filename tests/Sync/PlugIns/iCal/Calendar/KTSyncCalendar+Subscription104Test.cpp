// Properties.plist, the settings of a subscription in the 10.4 layout: a keyed archive, read and
// made by Python's plistlib as well.

#include <cstdlib>

#include "Sync/Foundation/CalendarDate.h"
#include "Sync/Foundation/KeyedArchive.h"
#include "tests/Sync/PlugIns/iCal/Calendar/Store104Fixture.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class Subscription104 : public Store104Fixture {
protected:
    const std::string file = folderOf("source") + "Properties.plist";

    std::shared_ptr<KTSyncCalendar> subscription(const Value& subscriber)
    {
        const auto made = calendar(kCalendarTypeSubscriber);
        made->setSubscriber(subscriber);
        return made;
    }
    /// What is written for that subscriber.
    std::string stored(const Value& subscriber)
    {
        EXPECT_TRUE(subscription(subscriber)->storeEventsAndTasks());
        return home.read(file).value_or("(none)");
    }
    static Value unarchived(const std::string& bytes)
    {
        return unarchiveObjectWithData(bytes).value_or("(no archive)");
    }
    /// The script beside this file; it has to succeed.
    void python(const std::string& arguments) const
    {
        const std::string command = "python3 '" KT_SOURCE_DIR
                                    "/tests/Sync/PlugIns/iCal/Calendar/keyed_archive.py' " +
                                    arguments;
        ASSERT_EQ(std::system(command.c_str()), 0) << command;
    }
};

TEST_F(Subscription104, WritesTheDataUnchangedBeforeAnythingElse)
{
    const auto made = subscription(Dictionary{{"SubscriptionURL", "http://a.invalid"}});
    made->setSubscriberData(Data{std::string("\0\xFF raw", 6)});
    ASSERT_TRUE(made->storeEventsAndTasks());
    EXPECT_EQ(home.read(file), std::string("\0\xFF raw", 6));
}

TEST_F(Subscription104, WritesASubscriberOfRawBytesUnchanged)
{
    EXPECT_EQ(stored(Data{"raw"}), "raw");
}

TEST_F(Subscription104, WritesTheDataBeforeASubscriberOfRawBytes)
{
    const auto made = subscription(Data{"subscriber"});
    made->setSubscriberData(Data{"data"});
    ASSERT_TRUE(made->storeEventsAndTasks());
    EXPECT_EQ(home.read(file), "data");
}

TEST_F(Subscription104, ComesBackByteForByte)
{
    const std::string bytes = stored(Dictionary{{"SubscriptionURL", "http://a.invalid/k.ics"}});
    writeNodes({calendarNode("source")});
    writeCalendar("source", "Spiele", kSubscription);
    const auto read = titled(readStore(), "Spiele");
    home.remove(file);
    ASSERT_TRUE(read->storeEventsAndTasks());
    EXPECT_EQ(home.read(file), bytes);
}

TEST_F(Subscription104, WithoutASubscriberHoldsAFilterAlone)
{
    EXPECT_EQ(unarchived(stored(Value())), Value(Dictionary{{"Filter", 0}}));
}

TEST_F(Subscription104, TakesOverWhatTheSubscriberHolds)
{
    const Date refreshed{std::chrono::sys_days(std::chrono::year{2007} / 12 / 24)};
    const Value settings =
        unarchived(stored(Dictionary{{"SubscriptionURL", "http://a.invalid/k.ics"},
                                     {"AutoRefresh", true},
                                     {"RefreshInterval", 900},
                                     {"RefreshDate", refreshed},
                                     {"AlarmFilter", true},
                                     {"SubscriptionTitle", "gehört nicht dazu"}}));
    const Dictionary& entries = settings.dictionary();
    EXPECT_THAT(keysOf(entries), ElementsAre("RemoteURL", "AutoRefresh", "RefreshInterval",
                                             "RefreshDate", "Filter"));
    ASSERT_NE(entries["RemoteURL"].objectOfClass<URL>(), nullptr);
    EXPECT_EQ(entries["RemoteURL"].description(), "http://a.invalid/k.ics");
    EXPECT_EQ(entries["AutoRefresh"], Value(true));
    EXPECT_EQ(entries["RefreshInterval"], Value(900));
    EXPECT_EQ(entries["RefreshDate"], Value(refreshed));
    EXPECT_EQ(entries["Filter"], Value(2));
}

struct FilterRow {
    Value alarmFilter;  // nil for none
    Value taskFilter;
    int filter;
};
class Subscription104Filter : public Subscription104,
                              public ::testing::WithParamInterface<FilterRow> {};

INSTANTIATE_TEST_SUITE_P(Rows, Subscription104Filter,
                         ::testing::Values(FilterRow{true, true, 3}, FilterRow{true, false, 2},
                                           FilterRow{true, {}, 2}, FilterRow{false, true, 1},
                                           FilterRow{{}, true, 1}, FilterRow{false, false, 0},
                                           FilterRow{{}, {}, 0}, FilterRow{1, "YES", 3}));

TEST_P(Subscription104Filter, FollowsFromTheTwoSwitches)
{
    Dictionary subscriber;
    subscriber.setIfPresent("AlarmFilter", GetParam().alarmFilter);
    subscriber.setIfPresent("TaskFilter", GetParam().taskFilter);
    EXPECT_EQ(unarchived(stored(subscriber)), Value(Dictionary{{"Filter", GetParam().filter}}));
}

TEST_F(Subscription104, EndsTheWritingForAnAddressThatIsNoText)
{
    EXPECT_EQ(reasonOfException([&] {
                  subscription(Dictionary{{"SubscriptionURL", 7}})->storeEventsAndTasks();
              }),
              "Text erwartet, ganze Zahl gefunden");
    EXPECT_FALSE(home.exists(file));
    EXPECT_THAT(helper.fileLog().at(0),
                StartsWith("[KTSyncCalendar storeEventsAndTasks(104,info.plist)]: {"));
}

TEST_F(Subscription104, EndsTheWritingForDataThatIsNone)
{
    const auto made = subscription(Value());
    made->setSubscriberData("text");
    EXPECT_EQ(reasonOfException([&] { made->storeEventsAndTasks(); }),
              "Daten erwartet, Text gefunden");
}

TEST_F(Subscription104, CanBeReadByPython)
{
    stored(
        Dictionary{{"SubscriptionURL", "http://a.invalid/über.ics"},
                   {"AutoRefresh", true},
                   {"RefreshInterval", 900},
                   {"RefreshDate", Date{std::chrono::sys_days(std::chrono::year{2007} / 12 / 24)}},
                   {"TaskFilter", true}});
    python("show '" + home.path(file) + "' >'" + home.path("shown.json") + "'");
    EXPECT_EQ(home.read("shown.json"),
              "{\"AutoRefresh\": true, \"Filter\": 1, \"RefreshDate\": {\"date\": "
              "\"2007-12-24T00:00:00Z\"}, \"RefreshInterval\": 900, \"RemoteURL\": {\"url\": "
              "\"http://a.invalid/\\u00fcber.ics\"}}\n");
}

/// The archives that Python makes, as the data of a subscription that goes to 10.5.
class ForeignArchives : public Subscription104 {
protected:
    void SetUp() override
    {
        python("make '" + home.path() + "'");
        helper.script.macOSVersion = 5;
    }
    Dictionary nodeWith(const std::string& archive)
    {
        const auto bytes = home.read(archive);
        EXPECT_TRUE(bytes.has_value()) << archive;
        const auto made = calendar(kCalendarTypeSubscriber);
        made->setSubscriberData(Data{bytes.value_or("")});
        return made->iCalNode();
    }
};

class ForeignArchiveForms : public ForeignArchives,
                            public ::testing::WithParamInterface<std::string> {};

INSTANTIATE_TEST_SUITE_P(Forms, ForeignArchiveForms, ::testing::Values(".binary", ".xml"));

TEST_P(ForeignArchiveForms, GiveTheSettingsOfASubscription)
{
    const Dictionary node = nodeWith("plain" + GetParam());
    EXPECT_EQ(node["SubscriptionURL"], Value("http://plain.invalid/k.ics"));
    EXPECT_EQ(node["AutoRefresh"], Value(true));
    EXPECT_EQ(node["RefreshInterval"], Value(900));
    EXPECT_EQ(node["RefreshDate"].description(), "2007-12-24 09:00:00 +0000");
    EXPECT_EQ(node["AlarmFilter"], Value(1));
    EXPECT_EQ(node["TaskFilter"], Value(0));
    EXPECT_EQ(node["AttachmentFilter"], Value(0));
}

TEST_P(ForeignArchiveForms, MayGiveTheAddressInTwoParts)
{
    EXPECT_EQ(nodeWith("relative" + GetParam())["SubscriptionURL"],
              Value("http://base.invalid/dir/k.ics"));
}

TEST_P(ForeignArchiveForms, MayHoldOneObjectInSeveralPlaces)
{
    EXPECT_EQ(nodeWith("shared" + GetParam())["SubscriptionURL"],
              Value("http://shared.invalid/k.ics"));
}

TEST_P(ForeignArchiveForms, AreReadAsDeepAsPropertyListsMayBe)
{
    EXPECT_EQ(nodeWith("deepest" + GetParam())["SubscriptionURL"],
              Value("http://deep.invalid/k.ics"));
}

struct SettingsRow {
    const char* archive;
    const char* address;
};
class ForeignArchivesOfAllKinds : public ForeignArchives,
                                  public ::testing::WithParamInterface<SettingsRow> {};

INSTANTIATE_TEST_SUITE_P(
    Archives, ForeignArchivesOfAllKinds,
    ::testing::Values(SettingsRow{"subclasses", "http://derived.invalid/k.ics"},
                      SettingsRow{"strange_entries", "http://strange.invalid/k.ics"},
                      SettingsRow{"old_forms", "http://old.invalid/k.ics"}));

TEST_P(ForeignArchivesOfAllKinds, GiveTheSettingsOfASubscription)
{
    for (const std::string form : {".binary", ".xml"}) {
        SCOPED_TRACE(form);
        const Dictionary node = nodeWith(GetParam().archive + form);
        EXPECT_EQ(node["SubscriptionURL"], Value(GetParam().address));
        EXPECT_EQ(node["AutoRefresh"], Value(true));
        EXPECT_EQ(node["RefreshInterval"], Value(900));
        EXPECT_EQ(node["RefreshDate"].description(), "2007-12-24 09:00:00 +0000");
        EXPECT_EQ(node["AlarmFilter"], Value(1));
    }
}

TEST_P(ForeignArchiveForms, WithAnAddressOfAStrangerGiveTheRest)
{
    const Dictionary node = nodeWith("strange_address" + GetParam());
    EXPECT_FALSE(node.contains("SubscriptionURL"));
    EXPECT_EQ(node["RefreshInterval"], Value(900));
}

TEST_P(ForeignArchiveForms, GiveAddressesAsTextsSoThatTheCalendarIsThereAtTheNextReading)
{
    const Dictionary node = nodeWith("addresses_everywhere" + GetParam());
    const Value address("http://address.invalid/k.ics");
    for (const char* key : {"SubscriptionURL", "AutoRefresh", "RefreshInterval", "RefreshDate"})
        EXPECT_EQ(node[key], address) << key;
    EXPECT_FALSE(node.contains("AlarmFilter"));

    const auto made = calendar(kCalendarTypeSubscriber);
    made->setSubscriberData(Data{home.read("addresses_everywhere" + GetParam()).value_or("")});
    EXPECT_TRUE(store->storeCalendars({made}));
    EXPECT_THAT(titles(readStore()), ElementsAre("Privat"));
}

TEST_P(ForeignArchiveForms, GiveNothingForListsAndDictionaries)
{
    const Dictionary node = nodeWith("lists_everywhere" + GetParam());
    EXPECT_EQ(node, calendar(kCalendarTypeSubscriber)->iCalNode());
}

struct HostileRow {
    const char* name;
    const char* reason;
};
class HostileArchive : public ForeignArchives, public ::testing::WithParamInterface<HostileRow> {};

INSTANTIATE_TEST_SUITE_P(
    Archives, HostileArchive,
    ::testing::Values(HostileRow{"cycle", "Objekt 2 enthält sich selbst"},
                      HostileRow{"root_in_itself", "Objekt 3 enthält sich selbst"},
                      HostileRow{"wrong_index", "es gibt kein Objekt 4000"},
                      HostileRow{"root_beyond_the_end", "es gibt kein Objekt 1"},
                      HostileRow{"reference_missing", "ein Verweis fehlt"},
                      HostileRow{"keys_without_objects", "'NS.objects' fehlt"},
                      HostileRow{"more_keys_than_objects",
                                 "ein Wörterbuch, in dem nicht jeder Schlüssel einen Wert hat"},
                      HostileRow{"key_is_a_number",
                                 "ein Schlüssel eines Wörterbuchs ist kein Text"},
                      HostileRow{"address_is_a_number", "'NS.relative' ist kein Text"},
                      HostileRow{"base_is_its_own_base", "Objekt 3 enthält sich selbst"},
                      HostileRow{"class_is_missing", "'$class' fehlt"},
                      HostileRow{"class_is_a_text", "eine Klasse ohne Namen"},
                      HostileRow{"date_is_a_text", "'NS.time' ist keine Zeit"},
                      HostileRow{"bomb", "ausgeschrieben zu groß"},
                      HostileRow{"chain_of_addresses", "ausgeschrieben zu groß"},
                      HostileRow{"text_everywhere", "ausgeschrieben zu groß"},
                      HostileRow{"too_deep", "zu tief verschachtelt"}));

TEST_P(HostileArchive, EndsInALoggedExceptionIn105AndPassesUnreadThrough104)
{
    for (const std::string form : {".binary", ".xml"}) {
        SCOPED_TRACE(GetParam().name + form);
        const auto bytes = home.read(GetParam().name + form);
        ASSERT_TRUE(bytes.has_value());

        helper.script.macOSVersion = 5;
        helper.clear();
        const std::string reason = reasonOfException([&] { nodeWith(GetParam().name + form); });
        EXPECT_EQ(reason, std::string("Archiv: ") + GetParam().reason);
        ASSERT_EQ(helper.fileLog().size(), 1u);
        EXPECT_THAT(helper.fileLog()[0], StartsWith("[KTSyncCalendar iCalNode(105)]:\n{"));
        EXPECT_THAT(helper.fileLog()[0], ::testing::EndsWith("\n" + reason));

        helper.script.macOSVersion = 4;
        helper.clear();
        writeNodes({calendarNode("source")});
        writeCalendar("source", "Spiele", kSubscription);
        home.write(file, *bytes);
        const auto read = titled(readStore(), "Spiele");
        EXPECT_FALSE(read->iCalNode().empty());
        ASSERT_TRUE(read->storeEventsAndTasks());
        EXPECT_EQ(home.read(file), bytes);
        EXPECT_THAT(helper.fileLog(), IsEmpty());
    }
}

}  // namespace
}  // namespace kt::test
