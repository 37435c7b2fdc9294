// What becomes of calendars and groups.

#include <algorithm>

#include "tests/Sync/PlugIns/iCal/CarefulFixture.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

class CarefulCalendars : public CarefulFixture {
protected:
    /// The calendar under its new key, and its items with it.
    static SyncRecordList renamed(SyncRecordList records, const std::string& title,
                                  const std::string& newTitle, const std::string& key)
    {
        const std::string old = records[positionOf(records, title)]->recordKey();
        for (SyncRecord& item : records) {
            if (item->recordKey() == old)
                item = with(item, "Title", newTitle, key);
            if (item->record()["ParentRecordKey"] == Value(old))
                item = with(item, "ParentRecordKey", key,
                            item->recordKey() == key ? key : item->recordKey().substr(1) + "0");
        }
        return records;
    }
    Value titleIn(const std::string& folder) const
    {
        const auto info = dictionaryWithContentsOfFile(home.path(folder + "Info.plist"));
        return info ? (*info)["Title"] : Value();
    }
};

INSTANTIATE_TEST_SUITE_P(Layouts, CarefulCalendars, ::testing::Values(4, 5));

TEST_P(CarefulCalendars, RemovesACalendarThatIsGoneWithItsFolder)
{
    layOut({{"A", "Privat", {event("1", "Eins")}}, {"B", "Arbeit", {event("2", "Zwei")}}});
    const SyncRecordList records = load();
    ASSERT_TRUE(save(without(without(records, "Eins"), "Privat")));
    EXPECT_FALSE(home.exists(folderOf("A")));
    EXPECT_THAT(titles(load()), ElementsAre("Arbeit", "Zwei"));
}

TEST_P(CarefulCalendars, KeepsARenamedCalendarInItsFolderWithEveryItem)
{
    layOut({{"A", "Privat", {event("1", "Eins"), event("2", "Zwei")}}});
    SyncRecordList records = load();
    const std::string key(40, 'c');
    for (SyncRecord& item : records) {
        if (item->conduit() != kConduitCalendar)
            item = with(item, "ParentRecordKey", key, item->recordKey().substr(1) + "0");
    }
    records[0] = with(records[0], "Title", "Neu", key);
    if (is104())
        records[0] = with(records[0], "ParentRecordKey", key);  // stands at the top
    const auto before = store();
    ASSERT_TRUE(save(records));
    EXPECT_THAT(differing(before, store()), ElementsAre(folderOf("A") + "Info.plist"));
    const auto info = dictionaryWithContentsOfFile(home.path(folderOf("A") + "Info.plist"));
    EXPECT_EQ((*info)["Title"], Value("Neu"));
    EXPECT_EQ((*info)["Unbekannt"], Value("bleibt"));
    EXPECT_EQ((*info)["Key"], Value("A"));
}

TEST_P(CarefulCalendars, NeverPutsANewCalendarWhereSomethingStands)
{
    layOut({{"A", "Privat", {event("1", "Eins")}}});
    home.write(folderOf("B") + "Info.plist", "kaputt");
    SyncRecordList records = load();
    const std::string key(40, 'd');
    records.push_back(record(kConduitCalendar, key,
                             {{"Type", "CalendarNode"},
                              {"Title", "Neu"},
                              {"Color", "#FF0000"},
                              {"Notes", ""},
                              {"SourceKey", "B"}}));
    records.push_back(
        record(kConduitEvent, std::string(40, 'e'), {{"Title", "Drei"}, {"ParentRecordKey", key}}));
    ASSERT_TRUE(save(records));
    EXPECT_EQ(home.read(folderOf("B") + "Info.plist"), "kaputt");
    EXPECT_THAT(titles(load()), UnorderedElementsAre("Privat", "Eins", "Neu", "Drei"));
}

TEST_P(CarefulCalendars, PutsANewCalendarIntoAFolderThatHoldsNoFile)
{
    layOut({{"A", "Privat", {event("1", "Eins")}}});
    home.makeFolder(folderOf("B") + "Events");
    SyncRecordList records = load();
    records.push_back(record(kConduitCalendar, std::string(40, 'd'),
                             {{"Type", "CalendarNode"},
                              {"Title", "Neu"},
                              {"Color", "#FF0000"},
                              {"Notes", ""},
                              {"SourceKey", "B"}}));
    ASSERT_TRUE(save(records));
    EXPECT_EQ(titleIn(folderOf("B")), Value("Neu"));
}

// Elsewhere it may have another folder, and another title.
TEST_P(CarefulCalendars, KeepsACalendarInTheFolderInWhichTheHostKnowsIt)
{
    layOut({{"A", "Privat", {event("1", "Eins")}}, {"B", "Arbeit", {event("2", "Zwei")}}});
    SyncRecordList records = load();
    const SyncRecord stored = records[positionOf(records, "Privat")];
    const std::string key(40, 'a');
    records = renamed(std::move(records), "Privat", "Neu", key);
    SyncRecord& handed = records[positionOf(records, "Neu")];
    handed = with(handed, "SourceKey", "ELSEWHERE", key);
    if (is104())
        handed = with(handed, "ParentRecordKey", key);
    careful.stored[handed.get()] = stored.get();
    const auto before = store();
    ASSERT_TRUE(save(records));
    EXPECT_EQ(titleIn(folderOf("A")), Value("Neu"));
    EXPECT_FALSE(home.exists(folderOf("ELSEWHERE")));
    EXPECT_EQ(store()[itemFile("A", 0)], before.at(itemFile("A", 0)));
}

TEST_P(CarefulCalendars, GivesTwoNewCalendarsOfOneSourceKeyAFolderEach)
{
    layOut({{"A", "Privat", {event("1", "Eins")}}});
    SyncRecordList records = load();
    for (const char* title : {"Links", "Rechts"}) {
        const std::string key(40, title[0] == 'L' ? 'd' : 'e');
        records.push_back(record(kConduitCalendar, key,
                                 {{"Type", "CalendarNode"},
                                  {"Title", title},
                                  {"Color", "#FF0000"},
                                  {"Notes", ""},
                                  {"SourceKey", "NEU"}}));
        records.push_back(
            record(kConduitEvent, "termin-" + key,
                   {{"Title", std::string("In ") + title}, {"ParentRecordKey", key}}));
    }
    ASSERT_TRUE(save(records));
    EXPECT_THAT(titles(load()),
                UnorderedElementsAre("Privat", "Eins", "Links", "In Links", "Rechts", "In Rechts"));
}

TEST_P(CarefulCalendars, KeepsTheTextsOfARenamedCalendarWhoseNameANewOneTakes)
{
    layOut({{"A", "Arbeit", {event("1", "Eins"), event("2", "Zwei")}}});
    SyncRecordList records = load();
    const std::string key = records[0]->recordKey();
    records = renamed(std::move(records), "Arbeit", "Arbeit alt", std::string(40, 'a'));
    records.push_back(record(kConduitCalendar, key,
                             {{"Type", "CalendarNode"},
                              {"Title", "Arbeit"},
                              {"Color", "#FF0000"},
                              {"Notes", ""},
                              {"SourceKey", "B"}}));
    const auto before = store();
    ASSERT_TRUE(save(records));
    EXPECT_EQ(titleIn(folderOf("A")), Value("Arbeit alt"));
    EXPECT_EQ(titleIn(folderOf("B")), Value("Arbeit"));
    for (const std::size_t number : {0U, 1U})
        EXPECT_EQ(store()[itemFile("A", number)], before.at(itemFile("A", number)));
}

TEST_P(CarefulCalendars, KeepsTheTextsOfCalendarsThatSwapTheirNames)
{
    layOut({{"A", "Arbeit", {event("1", "Eins")}}, {"B", "Privat", {event("2", "Zwei")}}});
    SyncRecordList records = load();
    const std::string work = records[positionOf(records, "Arbeit")]->recordKey();
    const std::string own = records[positionOf(records, "Privat")]->recordKey();
    records = renamed(std::move(records), "Arbeit", "Weder noch", std::string(40, 'a'));
    records = renamed(std::move(records), "Privat", "Arbeit", work);
    records = renamed(std::move(records), "Weder noch", "Privat", own);
    const auto before = store();
    ASSERT_TRUE(save(records));
    EXPECT_EQ(titleIn(folderOf("A")), Value("Privat"));
    EXPECT_EQ(titleIn(folderOf("B")), Value("Arbeit"));
    EXPECT_EQ(store()[itemFile("A", 0)], before.at(itemFile("A", 0)));
    EXPECT_EQ(store()[itemFile("B", 0)], before.at(itemFile("B", 0)));
}

TEST_P(CarefulCalendars, KnowsARenamedGroupByItsMembers)
{
    layOut({{"A", "Arbeit", {event("1", "Eins")}}, {"B", "Privat", {}}}, {{"G", "Zuhause", {"A"}}});
    SyncRecordList records = load();
    records = renamed(std::move(records), "Zuhause", "Zu Hause", std::string(40, 'a'));
    const std::string file = groupFile("G");
    const std::string before = store()[file];
    ASSERT_TRUE(save(records));
    EXPECT_EQ(store()[file], replaced(before, ">Zuhause<", ">Zu Hause<"));
}

/// They are one group to the reader, and only the last one's text is read.
TEST_P(CarefulCalendars, LeavesTheMembersOfTwoGroupsOfOneTitleWhereTheyAre)
{
    const auto layOutGroups = [&] {
        layOut({{"A", "Arbeit", {event("1", "Eins")}}, {"B", "Privat", {}}, {"C", "Verein", {}}},
               {{"G", "Gruppe", {"A"}}, {"H", "Gruppe", {"B"}}});
        return load();
    };
    SyncRecordList records = layOutGroups();
    const auto before = store();
    SyncRecord& changed = records[positionOf(records, "Eins")];
    changed = with(changed, "Location", "Kiel");
    ASSERT_TRUE(save(records));
    EXPECT_THAT(differing(before, store()), ElementsAre(itemFile("A", 0)));

    // Wherever else it is wanted.
    records = layOutGroups();
    SyncRecord& moved = records[positionOf(records, "Arbeit")];
    moved = with(moved, "ParentRecordKey", moved->recordKey());
    ASSERT_TRUE(save(records));
    EXPECT_EQ(store(), before);
    const auto losses = classes.lossesAsTold();
    EXPECT_EQ(std::count_if(losses.begin(), losses.end(),
                            [](const KTLoss& loss) {
                                return loss.kind == KTLoss::Kind::curtailed &&
                                       loss.calendar == "Arbeit";
                            }),
              1);

    // Another one comes into the group that is read.
    records = layOutGroups();
    SyncRecord& third = records[positionOf(records, "Verein")];
    third = with(third, "ParentRecordKey", records[positionOf(records, "Gruppe")]->recordKey());
    ASSERT_TRUE(save(records));
    if (is104()) {
        const Array nodes = (*dictionaryWithContentsOfFile(home.path(kNodeFile)))["List"].array();
        ASSERT_EQ(nodes.size(), 2U);
        EXPECT_EQ(nodes[0].dictionary()["Subnodes"].array().size(), 1U);
        EXPECT_EQ(nodes[1].dictionary()["Subnodes"].array().size(), 2U);
    } else {
        EXPECT_THAT(differing(before, store()), ElementsAre(groupFile("H")));
    }
}

// A rewrite that is cut off between folders and index.

class CarefulLeftBehind : public CarefulFixture {
protected:
    SyncRecordList withVerein(SyncRecordList records) const
    {
        records.push_back(record(kConduitCalendar, std::string(40, 'c'),
                                 {{"Type", "CalendarNode"},
                                  {"Title", "Verein"},
                                  {"Color", "#FF0000"},
                                  {"Notes", ""},
                                  {"SourceKey", "C"}}));
        records.push_back(record(kConduitTask, std::string(40, 'd'),
                                 {{"Title", "Kasse"}, {"ParentRecordKey", std::string(40, 'c')}}));
        return records;
    }
    std::vector<std::string> folders() const
    {
        std::vector<std::string> folders;
        for (const auto& [path, content] : home.tree()) {
            if (path.starts_with(kSources) && path.ends_with("/Info.plist"))
                folders.push_back(path.substr(std::string(kSources).size()));
        }
        return folders;
    }
};

INSTANTIATE_TEST_SUITE_P(Layouts, CarefulLeftBehind, ::testing::Values(4));

TEST_P(CarefulLeftBehind, IsNotedBeforehandByWhatComesAndGoes)
{
    layOut({{"A", "Privat", {event("1", "Eins")}}, {"B", "Arbeit", {event("2", "Zwei")}}});
    const SyncRecordList records = withVerein(without(without(load(), "Arbeit"), "Zwei"));
    const auto before = store();
    careful.canNote = false;
    EXPECT_FALSE(save(records));
    EXPECT_EQ(store(), before);
    EXPECT_THAT(careful.noted, UnorderedElementsAre("B.calendar", "C.calendar"));
}

TEST_P(CarefulLeftBehind, IsTakenUpAgainByWhatItWasMadeFor)
{
    layOut({{"A", "Privat", {event("1", "Eins")}}});
    home.write(std::string(kSources) + "C.calendar/Info.plist", "halb");
    home.write(std::string(kSources) + "C.calendar/corestorage.ics", "halb");
    careful.leftBehind = {"C.calendar"};
    ASSERT_TRUE(save(withVerein(load())));
    EXPECT_THAT(folders(), UnorderedElementsAre("A.calendar/Info.plist", "C.calendar/Info.plist"));
    EXPECT_THAT(titles(load()), UnorderedElementsAre("Privat", "Eins", "Verein", "Kasse"));
}

TEST_P(CarefulLeftBehind, GoesWhereNothingTakesItUp)
{
    layOut({{"A", "Privat", {event("1", "Eins")}}});
    home.write(std::string(kSources) + "B.calendar/corestorage.ics", "Rest");
    careful.leftBehind = {"B.calendar"};
    ASSERT_TRUE(save(load()));
    EXPECT_FALSE(home.exists(std::string(kSources) + "B.calendar"));
}

TEST_P(CarefulLeftBehind, IsNoneThatTheIndexListsOrThatNobodyNoted)
{
    layOut({{"A", "Privat", {event("1", "Eins")}}, {"B", "Arbeit", {event("2", "Zwei")}}});
    home.write(std::string(kSources) + "C.calendar/Info.plist", "fremd");
    careful.leftBehind = {"A.calendar", "B.calendar"};
    home.write(std::string(kSources) + "B.calendar/Info.plist", "kaputt");
    ASSERT_TRUE(save(withVerein(load())));
    EXPECT_EQ(home.read(std::string(kSources) + "C.calendar/Info.plist"), "fremd");
    EXPECT_EQ(home.read(std::string(kSources) + "B.calendar/Info.plist"), "kaputt");
    EXPECT_EQ(folders().size(), 4U);
}

}  // namespace
}  // namespace kt::test
