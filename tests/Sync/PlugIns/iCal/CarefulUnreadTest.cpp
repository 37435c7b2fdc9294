// What becomes of text that could not be read.

#include "tests/Sync/PlugIns/iCal/CarefulFixture.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;

class CarefulUnread : public CarefulFixture {};

INSTANTIATE_TEST_SUITE_P(Layouts, CarefulUnread, ::testing::Values(4, 5));

TEST_P(CarefulUnread, LeavesTextThatGaveNoRecordWhereItStands)
{
    const std::string journal = "BEGIN:VJOURNAL\r\nUID:j\r\nEND:VJOURNAL\r\n";
    const std::string twin = event("9", "Eins", "X-ANDERS:1\r\n");
    layOut({{"A", "Privat", {event("1", "Eins") + journal + twin, event("2", "Zwei")}}});
    SyncRecordList records = load();
    auto expected = store();
    const std::string file = itemFile("A", 0);
    SyncRecord& changed = records[positionOf(records, "Eins")];
    changed = with(changed, "Location", "Kiel");
    ASSERT_TRUE(save(without(records, "Zwei")));
    expected[file] =
        replaced(expected[file], event("1", "Eins"), event("1", "Eins", "LOCATION:Kiel\r\n"));
    if (is104())
        expected[file] = replaced(expected[file], event("2", "Zwei"), "");
    else
        expected.erase(itemFile("A", 1));
    EXPECT_EQ(store(), expected);
}

TEST_P(CarefulUnread, LeavesAFileThatCannotBeReadAndWritesAroundIt)
{
    layOut({{"A", "Privat", {event("1", "Eins")}}});
    const std::string broken = folderOf("A") + (is104() ? "" : "Events/") + "kaputt.ics";
    home.write(broken, "BEGIN:VCALENDAR\r\n" + event("9", "Neun"));
    SyncRecordList records = load();
    const std::string calendar = records[0]->recordKey();
    records.push_back(
        record(kConduitTask, "kaputt", {{"Title", "Neu"}, {"ParentRecordKey", calendar}}));
    const auto before = store();
    ASSERT_TRUE(save(without(records, "Eins")));
    EXPECT_EQ(store()[broken], before.at(broken));
    EXPECT_THAT(titles(load()), ElementsAre("Privat", "Neu"));
}

TEST_P(CarefulUnread, LeavesACalendarWhoseItemsEndedInAnExceptionAsItIs)
{
    layOut({{"A", "Privat", {event("1", "Eins", "RRULE:COUNT=2\r\nRRULE:COUNT=3\r\n")}},
            {"B", "Arbeit", {event("2", "Zwei")}}});
    const SyncRecordList records = load();
    ASSERT_THAT(titles(records), ElementsAre("Arbeit", "Zwei"));
    auto expected = store();
    ASSERT_TRUE(save(without(records, "Zwei")));
    if (is104())
        expected[itemFile("B", 0)] = replaced(expected[itemFile("B", 0)], event("2", "Zwei"), "");
    else
        expected.erase(itemFile("B", 0));
    EXPECT_EQ(store(), expected);
}

TEST_P(CarefulUnread, LeavesACalendarThatAnotherOneOfItsTitleDisplaced)
{
    layOut({{"A", "Privat", {event("1", "Eins")}}, {"B", "Privat", {event("2", "Zwei")}}});
    const SyncRecordList records = load();
    ASSERT_THAT(titles(records), ElementsAre("Privat", "Zwei"));
    const auto before = store();
    ASSERT_TRUE(save(without(records, "Zwei")));
    EXPECT_THAT(differing(before, store()), ElementsAre(itemFile("B", 0)));
}

TEST_P(CarefulUnread, KeepsTheFolderOfACalendarThatIsGoneAsOneThatCannotBeRead)
{
    layOut({{"A", "Privat", {event("1", "Eins")}}, {"B", "Arbeit", {}}});
    const std::string broken = folderOf("A") + (is104() ? "" : "Events/") + "kaputt.ics";
    home.write(broken, "BEGIN:VCALENDAR\r\n" + event("9", "Neun"));
    const SyncRecordList records = load();
    const auto before = store();
    ASSERT_TRUE(save(without(without(records, "Eins"), "Privat")));
    EXPECT_EQ(store()[broken], before.at(broken));
    EXPECT_EQ(store()[kNodeFile], is104() ? before.at(kNodeFile) : "");

    // Nothing comes back, and nobody forgets the text.
    const SyncRecordList left = load();
    EXPECT_THAT(titles(left), ElementsAre("Arbeit"));
    ASSERT_EQ(loaded.unread.size(), 1U);
    EXPECT_EQ(loaded.unread[0].file, home.path(folderOf("A") + "Info.plist"));
    const auto settled = inodes();
    ASSERT_TRUE(save(left));
    EXPECT_THAT(differing(settled, inodes()), IsEmpty());
}

TEST_P(CarefulUnread, PutsWhatTheHostHandsOutInThePlaceOfTextThatItGivesUp)
{
    layOut({{"A", "Privat", {event("1", "Eins")}}});
    const std::string broken = folderOf("A") + (is104() ? "" : "Events/") + "kaputt.ics";
    home.write(broken, "BEGIN:VCALENDAR\r\n" + event("9", "Neun"));
    SyncRecordList records = load();
    records.push_back(record(kConduitTask, std::string(40, 'a'),
                             {{"Title", "Neun"}, {"ParentRecordKey", records[0]->recordKey()}}));
    careful.givesUp = [&](const KTLoss& unread) { return unread.file == home.path(broken); };
    ASSERT_TRUE(save(records));
    EXPECT_FALSE(home.exists(broken));
    EXPECT_THAT(titles(load()), ElementsAre("Privat", "Eins", "Neun"));
}

TEST_P(CarefulUnread, WritesACalendarThatTheHostGivesUpInItsOwnFolder)
{
    layOut({{"A", "Privat", {event("1", "Eins")}}, {"B", "Arbeit", {event("2", "Zwei")}}});
    const SyncRecordList records = load();
    const std::string info = folderOf("A") + "Info.plist";
    home.write(info, "kaputt");
    ASSERT_THAT(titles(load()), ElementsAre("Arbeit", "Zwei"));
    careful.givesUp = [&](const KTLoss& unread) { return unread.file == home.path(info); };
    ASSERT_TRUE(save(records));
    EXPECT_THAT(titles(load()), UnorderedElementsAre("Privat", "Eins", "Arbeit", "Zwei"));
    EXPECT_FALSE(home.exists(folderOf(records[0]->recordKey())));
    // What stood there went, or it would be a copy of what was written.
    for (const LoadedCalendar& calendar : loaded.calendars)
        EXPECT_LE(calendar.files.size(), 1U);
}

/// Of a component that was not closed nobody told where it stands.
TEST_P(CarefulUnread, KeepsAllThatWasReadOfAFileOfWhichOneTextIsGivenUp)
{
    const std::string journal = "BEGIN:VJOURNAL\r\nUID:j\r\nEND:VJOURNAL\r\n";
    const std::string open = "BEGIN:VEVENT\r\nUID:9\r\nSUMMARY:Neun\r\n";
    layOut({{"A", "Privat", {journal + open + event("1", "Eins") + task("2", "Zwei")}}});
    SyncRecordList records = load();
    ASSERT_THAT(titles(records), ElementsAre("Privat", "Eins", "Zwei"));
    records.push_back(record(kConduitTask, std::string(40, 'a'),
                             {{"Title", "Neun"}, {"ParentRecordKey", records[0]->recordKey()}}));
    const std::string file = itemFile("A", 0);
    careful.givesUp = [&](const KTLoss& unread) { return unread.file == home.path(file); };
    const std::string before = store()[file];
    ASSERT_TRUE(save(records));
    const std::string rest = replaced(before, open, "");
    EXPECT_THAT(store()[file], StartsWith(rest.substr(0, rest.find("END:VCALENDAR"))));
    EXPECT_THAT(titles(load()), UnorderedElementsAre("Privat", "Eins", "Zwei", "Neun"));
    EXPECT_THAT(loaded.unread, IsEmpty());
}

}  // namespace
}  // namespace kt::test
