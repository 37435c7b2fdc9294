#include "tests/Sync/PlugIns/iCal/Calendar/Layout105ReaderFixture.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

// Values of a folder's Info.plist.

struct InfoRow {
    const char* key;
    Value present;
    Value absent;
    std::function<Value(KTSyncCalendar&)> field;
};
class Layout105InfoKey : public Layout105Reader, public ::testing::WithParamInterface<InfoRow> {};

INSTANTIATE_TEST_SUITE_P(
    Keys, Layout105InfoKey,
    ::testing::Values(
        InfoRow{"Color", "kein RGB", nullptr, [](KTSyncCalendar& c) { return Value(c.color()); }},
        InfoRow{"Notes", "Notiz", "", [](KTSyncCalendar& c) { return Value(c.notes()); }},
        InfoRow{"Order", 7, 0, [](KTSyncCalendar& c) { return Value(c.order()); }},
        InfoRow{"Order", "12", 0, [](KTSyncCalendar& c) { return Value(c.order()); }},
        InfoRow{"Checked", true, false, [](KTSyncCalendar& c) { return Value(c.selected()); }},
        InfoRow{"Checked", 1, false, [](KTSyncCalendar& c) { return Value(c.selected()); }},
        InfoRow{"Checked", "1", false, [](KTSyncCalendar& c) { return Value(c.selected()); }},
        InfoRow{"AlarmsDisabled", true, false,
                [](KTSyncCalendar& c) { return Value(c.alarmsDisabled()); }},
        InfoRow{"Publication", Dictionary{{"PublicationURL", "http://p"}}, nullptr,
                [](KTSyncCalendar& c) { return c.publisher(); }}));

TEST_P(Layout105InfoKey, IsTakenOverWhenPresent)
{
    const auto calendar =
        readOne(with(calendarInfo("A", "Arbeit"), GetParam().key, GetParam().present));
    ASSERT_NE(calendar, nullptr);
    Value expected = GetParam().present;
    if (std::string_view(GetParam().key) == "Order")
        expected = expected.intValue();
    if (std::string_view(GetParam().key) == "Checked")
        expected = expected.boolValue();
    EXPECT_EQ(GetParam().field(*calendar), expected);
}

TEST_P(Layout105InfoKey, HasItsDefaultWhenMissing)
{
    const auto calendar = readOne(without(calendarInfo("A", "Arbeit"), GetParam().key));
    ASSERT_NE(calendar, nullptr);
    EXPECT_EQ(GetParam().field(*calendar), GetParam().absent);
}

struct TypeRow {
    const char* folder;
    Value type;
    std::int32_t calendarType;
    const char* logged;
};
class Layout105Type : public Layout105Reader, public ::testing::WithParamInterface<TypeRow> {};

INSTANTIATE_TEST_SUITE_P(Folders, Layout105Type,
                         ::testing::Values(TypeRow{"A.group", nullptr, 1, "Gruppe: 'T'"},
                                           TypeRow{"A.group", "Birthday", 1, "Gruppe: 'T'"},
                                           TypeRow{"A.calendar", "Birthday", 3, "Kalender: 'T'"},
                                           TypeRow{"A.calendar", "Subscription", 2,
                                                   "Kalender: 'T'"},
                                           TypeRow{"A.calendar", "Local", 0, "Kalender: 'T'"},
                                           TypeRow{"A.calendar", "CalDAV", 0, "Kalender: 'T'"},
                                           TypeRow{"A.calendar", 5, 0, "Kalender: 'T'"},
                                           TypeRow{"A.calendar", nullptr, 0, "Kalender: 'T'"}));

TEST_P(Layout105Type, FollowsFromFolderNameAndTypeAndIsLogged)
{
    Dictionary info = without(calendarInfo("A", "T"), "Type");
    info.setIfPresent("Type", GetParam().type);
    const auto calendar = readOne(info, GetParam().folder);
    ASSERT_NE(calendar, nullptr);
    EXPECT_EQ(calendar->calendarType(), GetParam().calendarType);
    EXPECT_THAT(host.messages(), ElementsAre(GetParam().logged));
    EXPECT_THAT(platform.consoleLines(), IsEmpty());
    EXPECT_THAT(classes.losses(), IsEmpty());
}

TEST_F(Layout105Reader, TakesTheKeyAsSourceKeyAndTheRecordKeyWithoutOne)
{
    writeCalendar("A", "Arbeit");
    writeFolder("B.calendar", without(calendarInfo("B", "Zuhause"), "Key"));
    const auto parsed = readStore();
    EXPECT_EQ(titled(parsed, "Arbeit")->sourceKey(), "A");
    EXPECT_EQ(titled(parsed, "Zuhause")->sourceKey(), titled(parsed, "Zuhause")->recordKey());
    EXPECT_EQ(parsed.find(*titled(parsed, "Arbeit")->recordKey()), titled(parsed, "Arbeit"));
}

TEST_F(Layout105Reader, SelectsNoCalendarWithoutCheckedAndAlwaysExpandsACalendarFolder)
{
    const auto calendar =
        readOne(with(without(calendarInfo("A", "Arbeit"), "Checked"), "Expanded", false));
    ASSERT_NE(calendar, nullptr);
    EXPECT_FALSE(calendar->selected());
    EXPECT_TRUE(calendar->expanded());
}

TEST_F(Layout105Reader, CollapsesAGroupWithoutExpanded)
{
    const auto group = readOne(without(groupInfo("G", "Gruppe", {}), "Expanded"), "G.group");
    ASSERT_NE(group, nullptr);
    EXPECT_FALSE(group->expanded());
}

TEST_F(Layout105Reader, ExpandsAGroupThatSaysSo)
{
    const auto group = readOne(groupInfo("G", "Gruppe", {}), "G.group");
    ASSERT_NE(group, nullptr);
    EXPECT_TRUE(group->expanded());
}
// Subscriptions.

TEST_F(Layout105Reader, GivesASubscriptionWithoutAddressItsTypeAndNoSubscriber)
{
    const auto calendar = readOne(with(calendarInfo("A", "Abo"), "Type", "Subscription"));
    ASSERT_NE(calendar, nullptr);
    EXPECT_EQ(calendar->calendarType(), kCalendarTypeSubscriber);
    EXPECT_TRUE(calendar->subscriber().isNil());
    EXPECT_TRUE(calendar->subscriberData().isNil());
}

TEST_F(Layout105Reader, CopiesTheSubscriptionsEntriesInTheirFixedOrder)
{
    Dictionary info = calendarInfo("A", "Abo");
    const std::vector<std::string> reversed{"TaskFilter",        "SubscriptionURL",
                                            "SubscriptionTitle", "SubscriptionNotes",
                                            "SubscriptionID",    "RefreshInterval",
                                            "RefreshDate",       "NeedsRefresh",
                                            "NeedsForcedUpdate", "AutoRefresh",
                                            "AttachmentFilter",  "AlarmFilter"};
    for (const std::string& key : reversed)
        info.set(key, "v-" + key);
    const auto calendar = readOne(info);
    ASSERT_NE(calendar, nullptr);
    ASSERT_TRUE(calendar->subscriber().isDictionary());
    std::vector<std::string> keys;
    for (const auto& entry : calendar->subscriber().dictionary()) {
        keys.push_back(entry.first);
        EXPECT_EQ(entry.second, Value("v-" + entry.first));
    }
    EXPECT_EQ(keys, std::vector<std::string>(reversed.rbegin(), reversed.rend()));
}

TEST_F(Layout105Reader, CopiesOnlyTheSubscriptionsEntriesThatExist)
{
    const auto calendar = readOne(
        with(with(calendarInfo("A", "Abo"), "SubscriptionURL", "http://a"), "AutoRefresh", 1));
    ASSERT_NE(calendar, nullptr);
    EXPECT_EQ(calendar->subscriber(),
              Value(Dictionary{{"AutoRefresh", 1}, {"SubscriptionURL", "http://a"}}));
}

TEST_F(Layout105Reader, TakesAnOldSubscriptionAsRawBytesEvenIfItIsNoPropertyList)
{
    home.write(std::string(kStore) + "A.calendar/OldSubscription.plist", std::string("\xff\0x", 3));
    const auto calendar = readOne(calendarInfo("A", "Abo"));
    ASSERT_NE(calendar, nullptr);
    EXPECT_EQ(calendar->subscriberData(), Value(Data{std::string("\xff\0x", 3)}));
}

TEST_F(Layout105Reader, LooksForAnOldSubscriptionInGroupsToo)
{
    home.write(std::string(kStore) + "G.group/OldSubscription.plist", "alt");
    const auto group = readOne(groupInfo("G", "Gruppe", {}), "G.group");
    ASSERT_NE(group, nullptr);
    EXPECT_EQ(group->subscriberData(), Value(Data{"alt"}));
}

TEST_F(Layout105Reader, ReportsAnOldSubscriptionThatCannotBeRead)
{
    home.makeFolder(std::string(kStore) + "A.calendar/OldSubscription.plist");
    const auto calendar = readOne(calendarInfo("A", "Abo"));
    ASSERT_NE(calendar, nullptr);
    EXPECT_TRUE(calendar->subscriberData().isNil());
    EXPECT_THAT(classes.losses(),
                ElementsAre(
                    KTLoss{"Abo",
                           home.path(std::string(kStore) + "A.calendar/OldSubscription.plist"),
                           "Die Abo-Beschreibung kann nicht gelesen werden"}));
}

TEST_F(Layout105Reader, RefusesAPublicationOfTheWrongKindAlone)
{
    home.write(std::string(kStore) + "A.calendar/OldSubscription.plist", "alt");
    const auto calendar =
        readOne(with(with(calendarInfo("A", "Arbeit"), "Publication", "kein Wörterbuch"),
                     "SubscriptionURL", "http://a"));
    ASSERT_NE(calendar, nullptr);
    EXPECT_TRUE(calendar->publisher().isNil());
    EXPECT_EQ(calendar->subscriber(), Value(Dictionary{{"SubscriptionURL", "http://a"}}));
    EXPECT_EQ(calendar->subscriberData(), Value(Data{"alt"}));
    EXPECT_TRUE(calendar->selected());
    ASSERT_EQ(host.fileLog().size(), 1u);
    EXPECT_THAT(host.fileLog()[0],
                StartsWith("[KTSyncCalendarStore parseMacOS105Calendars(Publication)]:\n{\n"));
    EXPECT_THAT(host.fileLog()[0], HasSubstr("Title = Arbeit;"));
    ASSERT_EQ(classes.lossesAsTold().size(), 1u);
    EXPECT_EQ(classes.lossesAsTold()[0].calendar, "Arbeit");
    EXPECT_EQ(classes.lossesAsTold()[0].kind, KTLoss::Kind::thinned);
    EXPECT_THAT(classes.lossesAsTold()[0].reason,
                StartsWith("Die Veröffentlichung kann nicht gelesen werden: "));
}

TEST_F(Layout105Reader, KeepsASubscriptionBesideABrokenPublicationAcrossARewrite)
{
    readOne(with(with(with(calendarInfo("A", "Abo"), "Type", "Subscription"), "Publication", 7),
                 "SubscriptionURL", "http://a"));
    const auto store = KTSyncCalendarStore::calendarStoreWithPluginHelper(&host);
    ASSERT_TRUE(store->storeCalendars(*store->calendarsList()));
    const auto info = storedInfo("A.calendar");
    ASSERT_TRUE(info);
    EXPECT_EQ((*info)["SubscriptionURL"], Value("http://a"));
    EXPECT_FALSE(info->contains("Publication"));
}

TEST_F(Layout105Reader, KeepsWhatWasTakenBeforeAPublicationFailed)
{
    host.script.hasFileLogger = false;
    const auto calendar =
        readOne(with(with(calendarInfo("A", "Arbeit"), "Order", 5), "Publication", Array{}));
    ASSERT_NE(calendar, nullptr);
    EXPECT_EQ(calendar->order(), 5);
    EXPECT_EQ(calendar->notes(), "");
}
// Groups and their members.

TEST_F(Layout105Reader, GivesMembersReadAfterTheirGroupItsRecordKeyAsParent)
{
    writeFolder("A.group", groupInfo("A", "Gruppe", {"B", "C"}));
    writeCalendar("B", "Arbeit");
    writeCalendar("C", "Zuhause");
    const auto parsed = readStore();
    const auto groupKey = titled(parsed, "Gruppe")->recordKey();
    EXPECT_EQ(titled(parsed, "Arbeit")->parentRecordKey(), groupKey);
    EXPECT_EQ(titled(parsed, "Zuhause")->parentRecordKey(), groupKey);
    EXPECT_EQ(titled(parsed, "Gruppe")->parentRecordKey(), std::nullopt);
}

TEST_F(Layout105Reader, GivesMembersReadBeforeTheirGroupItsRecordKeyAsParent)
{
    writeFolder("Z.group", groupInfo("Z", "Gruppe", {"B", "C"}));
    writeCalendar("B", "Arbeit");
    writeCalendar("C", "Zuhause");
    writeCalendar("D", "Allein");
    const auto parsed = readStore();
    const auto groupKey = titled(parsed, "Gruppe")->recordKey();
    EXPECT_EQ(titled(parsed, "Arbeit")->parentRecordKey(), groupKey);
    EXPECT_EQ(titled(parsed, "Zuhause")->parentRecordKey(), groupKey);
    EXPECT_EQ(titled(parsed, "Allein")->parentRecordKey(), std::nullopt);
}

TEST_F(Layout105Reader, DropsAMemberThatNoFolderHolds)
{
    writeFolder("A.group", groupInfo("A", "Gruppe", {"FEHLT"}));
    EXPECT_EQ(readStore().size(), 1u);
    EXPECT_THAT(classes.losses(), IsEmpty());
}

TEST_F(Layout105Reader, SurvivesAGroupThatListsItself)
{
    writeFolder("A.group", groupInfo("A", "Gruppe", {"A"}));
    const auto parsed = readStore();
    ASSERT_EQ(parsed.size(), 1u);
    EXPECT_EQ(parsed.begin()->second->parentRecordKey(), std::nullopt);
}

TEST_F(Layout105Reader, IgnoresCalendarsListedInACalendarFolder)
{
    writeFolder("A.calendar", with(calendarInfo("A", "Arbeit"), "Calendars", Array{"B"}));
    writeCalendar("B", "Zuhause");
    EXPECT_EQ(readTitled("Zuhause")->parentRecordKey(), std::nullopt);
}
// What no file on disk can bring about.

class OpenStore : public KTSyncCalendarStore {
public:
    using KTSyncCalendarStore::KTSyncCalendarStore;
    using KTSyncCalendarStore::parseMacOS105CalendarsAtPath;
};

TEST_F(Layout105Reader, GivesCalendarsBelowAnAccountItsKey)
{
    writeCalendar("A", "Arbeit");
    ParsedCalendars parsed;
    OpenStore(&host).parseMacOS105CalendarsAtPath(home.path("Library/Calendars"), parsed, true,
                                                  "konto");
    ASSERT_EQ(parsed.size(), 1u);
    EXPECT_EQ(parsed.begin()->second->imapFolderKey(), "konto");
    EXPECT_EQ(readTitled("Arbeit")->imapFolderKey(), std::nullopt);
}

TEST_F(Layout105Reader, AddsToTheCalendarsItIsGiven)
{
    home.write("andere/A.calendar/Info.plist", xmlPropertyList(calendarInfo("A", "Arbeit")));
    writeCalendar("B", "Zuhause");
    ParsedCalendars parsed = readStore();
    OpenStore(&host).parseMacOS105CalendarsAtPath(home.path("andere"), parsed, false, std::nullopt);
    EXPECT_EQ(parsed.size(), 2u);
}

TEST_F(Layout105Reader, ReportsACalendarThatCouldNotBeMade)
{
    writeCalendar("A", "Arbeit");
    ParsedCalendars parsed;
    OpenStore(nullptr).parseMacOS105CalendarsAtPath(home.path("Library/Calendars"), parsed, false,
                                                    std::nullopt);
    EXPECT_TRUE(parsed.empty());
    EXPECT_THAT(lossReasons(), ElementsAre("Der Kalender konnte nicht ausgelesen werden"));
}

}  // namespace
}  // namespace kt::test
