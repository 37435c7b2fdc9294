#include "tests/Sync/PlugIns/iCal/CarefulFixture.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

// The host knows which item of the store a record is that it hands out.
class CarefulIdentity : public CarefulFixture {
protected:
    /// Hands out another record for one of the load, and says so.
    void handOut(SyncRecord& place, Dictionary fields, const std::string& key)
    {
        const SyncRecord stored = place;
        _held.push_back(stored);
        place = record(stored->conduit(), key, std::move(fields));
        careful.stored[place.get()] = stored.get();
    }

private:
    SyncRecordList _held;
};

INSTANTIATE_TEST_SUITE_P(Layouts, CarefulIdentity, ::testing::Values(4, 5));

TEST_P(CarefulIdentity, FindsAnItemWhateverWasEdited)
{
    layOut({{"A", "Privat", {event("1", "Eins"), event("2", "Zwei"), event("3", "Drei")}}});
    SyncRecordList records = load();
    const auto before = store();
    SyncRecord& changed = records[positionOf(records, "Zwei")];
    Dictionary fields = changed->record();
    fields.set("Title", "Ganz anders");
    fields.set("StartDate", date("20090101T080000"));
    fields.set("EndDate", date("20090101T090000"));
    fields.set("Notes", "verschoben");
    handOut(changed, fields, std::string(40, 'a'));
    ASSERT_TRUE(save(records));
    const std::string file = itemFile("A", 1);
    EXPECT_THAT(differing(before, store()), ElementsAre(file));
    const std::string text = store()[file];
    EXPECT_THAT(text, HasSubstr("UID:2\r\nCLASS:PRIVATE\r\n"));
    EXPECT_THAT(text, HasSubstr("SUMMARY:Ganz anders\r\n"));
    EXPECT_THAT(text, Not(HasSubstr("Zwei")));
}

TEST_P(CarefulIdentity, TellsTwoApartThatHaveSwappedTheirTitles)
{
    layOut({{"A",
             "Privat",
             {task("1", "Eins", "CATEGORIES:erste\r\n"),
              task("2", "Zwei", "CATEGORIES:zweite\r\n")}}});
    SyncRecordList records = load();
    SyncRecord& one = records[positionOf(records, "Eins")];
    SyncRecord& two = records[positionOf(records, "Zwei")];
    const std::string keys[] = {one->recordKey(), two->recordKey()};
    Dictionary first = one->record();
    Dictionary second = two->record();
    first.set("Title", "Zwei");
    second.set("Title", "Eins");
    handOut(one, first, keys[0]);
    handOut(two, second, keys[1]);
    ASSERT_TRUE(save(records));
    EXPECT_THAT(store()[itemFile("A", 0)],
                HasSubstr("UID:1\r\nSUMMARY:Zwei\r\nCATEGORIES:erste\r\n"));
    EXPECT_THAT(store()[itemFile("A", 1)],
                HasSubstr("UID:2\r\nSUMMARY:Eins\r\nCATEGORIES:zweite\r\n"));
}

TEST_P(CarefulIdentity, ANewItemTakesNoTextOfOneThatIsGone)
{
    layOut({{"A", "Privat", {task("1", "Eins", "CATEGORIES:erste\r\n"), task("2", "Zwei")}}});
    SyncRecordList records = load();
    SyncRecord& gone = records[positionOf(records, "Eins")];
    Dictionary fields = gone->record();
    fields.set("Title", "Drei");
    gone = record(gone->conduit(), std::string(40, 'c'), fields);
    careful.stored[gone.get()] = gone.get();
    ASSERT_TRUE(save(records));
    for (const auto& [path, text] : store())
        EXPECT_THAT(text, Not(HasSubstr("CATEGORIES:erste"))) << path;
    EXPECT_THAT(titles(load()), ::testing::UnorderedElementsAre("Privat", "Zwei", "Drei"));
}

TEST_P(CarefulIdentity, AnItemThatMovesBringsItsTextAlong)
{
    layOut({{"A", "Privat", {event("1", "Eins", "CATEGORIES:alt\r\n"), event("2", "Zwei")}},
            {"B", "Arbeit", {event("3", "Drei")}}});
    SyncRecordList records = load();
    SyncRecord& moved = records[positionOf(records, "Eins")];
    Dictionary fields = moved->record();
    fields.set("ParentRecordKey", records[positionOf(records, "Arbeit")]->recordKey());
    fields.set("Location", "Kiel");
    handOut(moved, fields, moved->recordKey());
    ASSERT_TRUE(save(records));
    std::string there;
    for (const auto& [path, text] : store()) {
        if (path.starts_with(folderOf("B")))
            there += text;
        else
            EXPECT_THAT(text, Not(HasSubstr("UID:1\r\n"))) << path;
    }
    EXPECT_THAT(there, HasSubstr("UID:1\r\nCLASS:PRIVATE\r\nSUMMARY;LANGUAGE=de:Eins\r\n"));
    EXPECT_THAT(there, HasSubstr("CATEGORIES:alt\r\n"));
    EXPECT_THAT(there, HasSubstr("LOCATION:Kiel\r\n"));
    EXPECT_THAT(titles(load()),
                ::testing::UnorderedElementsAre("Privat", "Arbeit", "Eins", "Zwei", "Drei"));
}

}  // namespace
}  // namespace kt::test
