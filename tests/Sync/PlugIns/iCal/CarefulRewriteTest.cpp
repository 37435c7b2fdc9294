#include "tests/Sync/PlugIns/iCal/CarefulFixture.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::UnorderedElementsAre;

class CarefulRewrite : public CarefulFixture {};

INSTANTIATE_TEST_SUITE_P(Layouts, CarefulRewrite, ::testing::Values(4, 5));

TEST_P(CarefulRewrite, TouchesNoFileWhenNothingChanged)
{
    layOut({{"A", "Privat", {event("1", "Eins"), task("2", "Zwei")}}, {"B", "Leer", {}}});
    const SyncRecordList records = load();
    const auto before = inodes();
    EXPECT_TRUE(save(records));
    EXPECT_THAT(differing(before, inodes()), IsEmpty());
}

TEST_P(CarefulRewrite, WritesOneFileForOneChangedItemAndKeepsWhatNoRecordHolds)
{
    layOut({{"A", "Privat", {event("1", "Eins"), event("2", "Zwei"), task("3", "Drei")}}});
    SyncRecordList records = load();
    const auto before = store();
    SyncRecord& changed = records[positionOf(records, "Zwei")];
    changed = with(changed, "Location", "Kiel");
    ASSERT_TRUE(save(records));
    const std::string file = itemFile("A", 1);
    EXPECT_THAT(differing(before, store()), ElementsAre(file));
    EXPECT_EQ(store()[file], replaced(before.at(file), event("2", "Zwei"),
                                      event("2", "Zwei", "LOCATION:Kiel\r\n")));
}

TEST_P(CarefulRewrite, KeepsUIDAndFileOfAnItemWhoseKeyChangedWithItsTitle)
{
    layOut({{"A", "Privat", {event("1", "Eins"), event("2", "Zwei")}}});
    SyncRecordList records = load();
    const auto before = store();
    SyncRecord& changed = records[positionOf(records, "Zwei")];
    changed = with(changed, "Title", "Neu", std::string(40, 'a'));
    ASSERT_TRUE(save(records));
    const std::string file = itemFile("A", 1);
    EXPECT_THAT(differing(before, store()), ElementsAre(file));
    EXPECT_EQ(store()[file], replaced(before.at(file), "SUMMARY;LANGUAGE=de:Zwei", "SUMMARY:Neu"));
}

TEST_P(CarefulRewrite, TakesRemovedItemsOutAndNothingElse)
{
    layOut({{"A", "Privat", {event("1", "Eins"), event("2", "Zwei")}}});
    const SyncRecordList records = load();
    auto expected = store();
    if (is104())
        expected[itemFile("A", 0)] = replaced(expected[itemFile("A", 0)], event("1", "Eins"), "");
    else
        expected.erase(itemFile("A", 0));
    ASSERT_TRUE(save(without(records, "Eins")));
    EXPECT_EQ(store(), expected);
}

TEST_P(CarefulRewrite, AddsNewItemsBesideTheOthers)
{
    layOut({{"A", "Privat", {event("1", "Eins")}}});
    SyncRecordList records = load();
    const std::string calendar = records[0]->recordKey();
    const std::string key(40, 'b');
    records.push_back(record(kConduitTask, key, {{"Title", "Neu"}, {"ParentRecordKey", calendar}}));
    const auto before = store();
    ASSERT_TRUE(save(records));
    EXPECT_THAT(differing(before, store()),
                ElementsAre(is104() ? itemFile("A", 0) : folderOf("A") + "Events/" + key + ".ics"));
    EXPECT_THAT(titles(load()), ElementsAre("Privat", "Eins", "Neu"));
}

TEST_P(CarefulRewrite, AddsNewItemsInTheOrderInWhichTheyAreHandedOut)
{
    layOut({{"A", "Privat", {}}});
    SyncRecordList records = load();
    const std::string calendar = records[0]->recordKey();
    for (const char* title : {"Zwei", "Drei", "Eins"})
        records.push_back(record(kConduitEvent, std::string(40, title[0]),
                                 {{"Title", title}, {"ParentRecordKey", calendar}}));
    ASSERT_TRUE(save(records));
    std::string all;
    for (const auto& [path, text] : store())
        all += text;
    if (is104()) {
        EXPECT_LT(all.find("SUMMARY:Zwei"), all.find("SUMMARY:Drei"));
        EXPECT_LT(all.find("SUMMARY:Drei"), all.find("SUMMARY:Eins"));
    }
    EXPECT_NE(all.find("SUMMARY:Eins"), std::string::npos);
}

TEST_P(CarefulRewrite, CountsTheItemsOfEveryCalendarThatIsHandedOut)
{
    layOut({{"A", "Privat", {}}});
    SyncRecordList records = load();
    const std::string birthdays(40, 'b');
    records.push_back(record(kConduitCalendar, birthdays,
                             {{"Type", "BirthdayCalendar"},
                              {"Title", "Geburtstage"},
                              {"Color", "#0252D4"},
                              {"Notes", ""}}));
    for (const std::string& parent : {records[0]->recordKey(), birthdays}) {
        records.push_back(
            record(kConduitEvent, "e" + parent, {{"Title", "Anna"}, {"ParentRecordKey", parent}}));
        records.push_back(record(kConduitTask, "t" + parent,
                                 {{"Title", "Geschenk"}, {"ParentRecordKey", parent}}));
    }
    ASSERT_TRUE(save(records));
    EXPECT_EQ(savedCalendars, 2);
    EXPECT_EQ(savedEvents, 2);
    EXPECT_EQ(savedTasks, 2);
}

TEST_P(CarefulRewrite, RemovesACopyWithTheEventThatItIsACopyOf)
{
    layOut({{"A", "Privat", {event("1", "Eins"), event("1", "Eins"), event("2", "Zwei")}}});
    const SyncRecordList records = load();
    ASSERT_THAT(titles(records), ElementsAre("Privat", "Eins", "Zwei"));
    ASSERT_TRUE(save(without(records, "Eins")));
    EXPECT_THAT(titles(load()), ElementsAre("Privat", "Zwei"));
}

/// One record stands for both, so a second event would come up where it was removed.
TEST_P(CarefulRewrite, TakesATwinOfAnotherUIDForACopyOfItsEvent)
{
    const std::vector<StoredCalendar> calendars{
        {"A", "Privat", {event("1", "Eins"), event("9", "Eins"), event("2", "Zwei")}}};
    layOut(calendars);
    SyncRecordList records = load();
    ASSERT_THAT(titles(records), ElementsAre("Privat", "Eins", "Zwei"));
    const auto before = store();
    ASSERT_TRUE(save(without(records, "Zwei")));
    EXPECT_THAT(differing(before, store()), ElementsAre(itemFile("A", 2)));

    layOut(calendars);
    records = load();
    ASSERT_TRUE(save(without(records, "Eins")));
    EXPECT_THAT(titles(load()), ElementsAre("Privat", "Zwei"));

    layOut(calendars);
    records = load();
    SyncRecord& changed = records[positionOf(records, "Eins")];
    changed = with(changed, "Title", "Neu", std::string(40, 'a'));
    ASSERT_TRUE(save(records));
    EXPECT_THAT(titles(load()), ElementsAre("Privat", "Neu", "Zwei"));
}

TEST_P(CarefulRewrite, LeavesATextAloneThatOnlyItsUnreadLinesTellFromItsEvent)
{
    for (const char* line : {"COMMENT:nur hier\r\n", "CATEGORIES:a\r\n", "X-FREMD;X-P=1:b\r\n"}) {
        layOut({{"A", "Privat", {event("1", "Eins"), event("1", "Eins", line)}}});
        SyncRecordList records = load();
        ASSERT_EQ(loaded.unread.size(), 1U) << line;
        SyncRecord& changed = records[positionOf(records, "Eins")];
        changed = with(changed, "Location", "Kiel");
        ASSERT_TRUE(save(records));
        EXPECT_THAT(store()[itemFile("A", 1)], ::testing::HasSubstr(event("1", "Eins", line)));
        ASSERT_TRUE(save(without(load(), "Eins")));
    }
}

TEST_P(CarefulRewrite, KeepsACopyWhileItsEventStaysAsItIs)
{
    layOut({{"A", "Privat", {event("1", "Eins"), event("1", "Eins"), event("2", "Zwei")}}});
    const SyncRecordList records = load();
    const auto before = store();
    ASSERT_TRUE(save(without(records, "Zwei")));
    EXPECT_THAT(differing(before, store()), ElementsAre(itemFile("A", 2)));
}

TEST_P(CarefulRewrite, KeepsASeriesAndItsOccurrencesInOneFileUnderOneUID)
{
    const std::string series = event("s", "Reihe", "RRULE:FREQ=DAILY;COUNT=9\r\n");
    const std::string occurrence = event("s", "Ausnahme", "RECURRENCE-ID:20071225T090000Z\r\n");
    layOut({{"A", "Privat", {series + occurrence}}});
    SyncRecordList records = load();
    const std::string file = itemFile("A", 0);
    SyncRecord& changed = records[positionOf(records, "Reihe")];
    changed = with(changed, "Location", "Kiel");
    const auto before = store();
    ASSERT_TRUE(save(records));
    EXPECT_EQ(store()[file], replaced(before.at(file), "RRULE:FREQ=DAILY;COUNT=9\r\n",
                                      "RRULE:FREQ=DAILY;COUNT=9\r\nLOCATION:Kiel\r\n"));

    records = load();
    const std::size_t position = positionOf(records, "Ausnahme");
    EXPECT_TRUE(records[position]->record().contains("RecurrenceParentRecordKey"));
    records.push_back(with(records[position], "Title", "Noch eine", std::string(40, 'f')));
    ASSERT_TRUE(save(records));
    records = load();
    EXPECT_TRUE(
        records[positionOf(records, "Noch eine")]->record().contains("RecurrenceParentRecordKey"));
}

TEST_P(CarefulRewrite, WritesANewSeriesWithItsOccurrencesSoThatTheyBelongTogether)
{
    layOut({{"A", "Privat", {}}});
    SyncRecordList records = load();
    const std::string calendar = records[0]->recordKey();
    layOut({{"B",
             "Quelle",
             {event("s", "Reihe", "RRULE:FREQ=DAILY;COUNT=9\r\n") +
              event("s", "Ausnahme", "RECURRENCE-ID:20071225T090000Z\r\n")}},
            {"A", "Privat", {}}});
    for (const SyncRecord& item : load()) {
        if (item->conduit() == kConduitEvent)
            records.push_back(with(item, "ParentRecordKey", calendar));
    }
    layOut({{"A", "Privat", {}}});
    home.remove(folderOf("B"));
    load();
    ASSERT_TRUE(save(records));
    records = load();
    EXPECT_EQ(records[positionOf(records, "Ausnahme")]->record()["RecurrenceParentRecordKey"],
              Value(records[positionOf(records, "Reihe")]->recordKey()));
}

TEST_P(CarefulRewrite, TellsTwinsApartByTheirContent)
{
    layOut({{"A",
             "Privat",
             {task("1", "Zwilling", "URL:a\r\n"), task("2", "Zwilling", "URL:b\r\n")}}});
    SyncRecordList records = load();
    ASSERT_EQ(records.size(), 3U);
    const auto before = inodes();
    // The host numbers them the other way round.
    records[1] = with(records[1], "URL", "a", records[1]->recordKey() + "-2");
    EXPECT_TRUE(save({records[0], records[2], records[1]}));
    EXPECT_THAT(differing(before, inodes()), IsEmpty());
}

TEST_P(CarefulRewrite, GivesANewItemNoUIDThatAnEditedOneHasKept)
{
    layOut({{"A", "Privat", {}}});
    SyncRecordList records = load();
    const std::string calendar = records[0]->recordKey();
    records.push_back(record(kConduitTask, std::string(40, 'a'),
                             {{"Title", "Erst"}, {"ParentRecordKey", calendar}}));
    ASSERT_TRUE(save(records));
    records = load();
    SyncRecord& edited = records[positionOf(records, "Erst")];
    edited = with(edited, "Title", "Dann", std::string(40, 'b'));
    records.push_back(record(kConduitTask, std::string(40, 'a'),
                             {{"Title", "Zweit"}, {"ParentRecordKey", calendar}, {"URL", "x"}}));
    ASSERT_TRUE(save(records));
    identities.told.clear();
    load();
    std::vector<std::string> uids;
    for (const auto& [item, identity] : identities.told)
        uids.push_back(identity.uid);
    EXPECT_THAT(uids, UnorderedElementsAre("", std::string(40, 'a'), std::string(40, 'a') + "-2"));
}

TEST_P(CarefulRewrite, WritesNothingWhenAFileChangedSinceItWasLoaded)
{
    layOut({{"A", "Privat", {event("1", "Eins"), event("2", "Zwei")}}});
    const SyncRecordList records = load();
    const std::string file = itemFile("A", 0);
    home.write(file, calendarFile(event("1", "Von iCal")));
    const auto before = store();
    EXPECT_FALSE(save(without(records, "Eins")));
    EXPECT_EQ(store(), before);
}

TEST_P(CarefulRewrite, SavesTheStoreInThePluginsFolderBeforeItIsTouched)
{
    layOut({{"A", "Privat", {event("1", "Eins")}}});
    SyncRecordList records = load();
    const auto before = store();
    ASSERT_TRUE(save(without(records, "Eins")));
    for (const auto& [path, content] : before) {
        const std::string backup =
            is104() ? replaced(path, "Library/Application Support/iCal/", kPluginFolder)
                    : replaced(path, "Library/", kPluginFolder);
        const std::string saved =
            is104()
                ? (path == kNodeFile ? backup + ".bak" : replaced(backup, "Sources", "Sources.bak"))
                : backup;
        EXPECT_EQ(home.read(saved), content) << saved;
    }
}

TEST_P(CarefulRewrite, TellsTheHostWhichTextEachRecordWasMadeFrom)
{
    layOut({{"A", "Privat", {event("1", "Eins"), task("2", "Zwei")}}});
    const SyncRecordList records = load();
    ASSERT_EQ(identities.told.size(), 3U);
    EXPECT_EQ(
        identities.told[0].second,
        (KTStoreIdentity{"", "", "A",
                         home.path(folderOf("A")).substr(0, home.path(folderOf("A")).size() - 1)}));
    EXPECT_EQ(identities.told[1].first, records[1]);
    EXPECT_EQ(identities.told[1].second,
              (KTStoreIdentity{"1", "", "", home.path(itemFile("A", 0))}));
    EXPECT_EQ(identities.told[2].second,
              (KTStoreIdentity{"2", "", "", home.path(itemFile("A", 1))}));
}

}  // namespace
}  // namespace kt::test
