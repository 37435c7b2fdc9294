#include <string>
#include <string_view>

#include "tests/Sync/Host/Engine/SyncEngineRules.h"

namespace kt::test {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

TEST_F(SyncEngineRules, Rule1_ARefusedRecordOfTheServerIsNotHandedOutAndNamedOnce)
{
    givenTwoHomes();
    auto& a = home("a");
    writeToServer({"ical-event", "X"}, {{"Notes", "ohne Titel"}, {"ParentRecordKey", "C"}});
    const SyncRunSummary summary = a.sync();
    EXPECT_EQ(summary.startResult, 1);
    EXPECT_EQ(summary.refused, 1U);
    const std::string line =
        "Der Datensatz 'X' (ical-event) des Servers ist unvollständig oder fehlerhaft und wird "
        "nicht übernommen";
    EXPECT_THAT(a.log, Contains(line).Times(1));
    a.sync();
    EXPECT_THAT(a.log, Contains(line).Times(1));
    EXPECT_THAT(liveOnServer(), Contains(RecordId{"ical-event", "X"}));
    EXPECT_TRUE(a.sync(full()).settled);
    EXPECT_THAT(a.pulled, IsEmpty());
}

// Records that no store can be written from, some of which another home has in its own.
class RefusedByThisVersion : public SyncEngineRules {
protected:
    // The record of that title as another version of the program writes it over what all have.
    void givenTheServerHasAnotherForm(std::string_view conduit, const std::string& title,
                                      const std::string& field, const Value& value)
    {
        givenTwoHomes();
        id = idOf(conduit, title);
        other = recordOnServer(id);
        other.set("Color", "#123456");
        other.set(field, value);
        writeToServer(id, other);
    }

    RecordId idOf(std::string_view conduit, const std::string& title)
    {
        LocalState state = home("a").openState();
        for (const AgreedRow& row : state.agreedRows()) {
            if (row.id.conduit == conduit && state.agreedRecord(row.id)["Title"] == Value(title))
                return row.id;
        }
        ADD_FAILURE() << title << " is not agreed";
        return {};
    }

    // Somebody puts it right.
    void writeItReadable(const std::string& field, const Value& value)
    {
        other.set(field, value);
        writeToServer(id, other);
    }

    RecordId id;
    Dictionary other;
};

TEST_F(RefusedByThisVersion, Rule1_ItStaysOnTheServerAsItIsAndTheRewriteGoesOnWithoutIt)
{
    givenTheServerHasAnotherForm(kConduitCalendar, "Arbeit", "Publisher", "http://example.invalid");
    auto& b = home("b");
    home("a").store.calendar("Privat")->items.push_back(task("Blumen"));
    home("a").sync();
    const SyncRunSummary summary = b.sync();
    EXPECT_TRUE(summary.settled);
    EXPECT_EQ(summary.refused, 1U);
    EXPECT_THAT(b.log, Contains(HasSubstr("'" + id.key + "' (ical-calendar)")).Times(1));
    EXPECT_EQ(b.store.count("Blumen"), 1);
    EXPECT_EQ(b.store.count("Sitzung"), 1);
    expectRest();
    EXPECT_EQ(recordOnServer(id), other);
}

TEST_F(RefusedByThisVersion, Rule1_AnEditOfThisDeviceDoesNotReplaceIt)
{
    givenTheServerHasAnotherForm(kConduitTask, "Einkaufen", "DueDate", "morgen");
    auto& a = home("a");
    fields(a, "Privat", "Einkaufen").set("Notes", "Milch");
    EXPECT_EQ(a.sync().sent, 0U);
    EXPECT_EQ(recordOnServer(id), other);
    // It outlives rewrites, and meets the server's record once that can be taken.
    EXPECT_TRUE(a.sync(full()).settled);
    EXPECT_EQ(fields(a, "Privat", "Einkaufen")["Notes"], Value("Milch"));
    EXPECT_EQ(a.sync().startResult, 1);
    EXPECT_EQ(recordOnServer(id), other);
    writeItReadable("DueDate", date("20071225"));
    syncUntilRest();
    for (const char* name : {"a", "b"}) {
        EXPECT_EQ(fields(home(name), "Privat", "Einkaufen")["Notes"], Value("Milch")) << name;
        EXPECT_EQ(fields(home(name), "Privat", "Einkaufen")["DueDate"], Value(date("20071225")));
    }
    expectRest();
}

TEST_F(RefusedByThisVersion, Rule1_AnEditThatWaitsForItOutlivesItsDeletion)
{
    givenTheServerHasAnotherForm(kConduitTask, "Einkaufen", "DueDate", "morgen");
    fields(home("a"), "Privat", "Einkaufen").set("Notes", "Milch");
    home("a").sync();
    auto opened =
        syncServerWithURL(serverUrl())->openSession("default", "other", ServerAccess::readWrite);
    ServerWrite deletion;
    deletion.id = id;
    deletion.isDeletion = true;
    opened.session->write({&deletion, 1});
    opened.session->commit();
    opened.session.reset();
    syncUntilRest();
    ASSERT_EQ(home("b").store.count("Einkaufen"), 1);
    EXPECT_EQ(fields(home("b"), "Privat", "Einkaufen")["Notes"], Value("Milch"));
    expectRest();
    expectEqualHomes();
}

TEST_F(RefusedByThisVersion, Rule1_ADeletionOfThisDeviceDoesNotReplaceIt)
{
    givenTheServerHasAnotherForm(kConduitTask, "Einkaufen", "DueDate", "morgen");
    auto& a = home("a");
    removeItem(a, "Privat", "Einkaufen");
    EXPECT_EQ(a.sync().deletedOnServer, 0U);
    EXPECT_EQ(recordOnServer(id), other);
    EXPECT_THAT(liveOnServer(), Contains(id));
    // The server's record is an edit, which beats the deletion.
    EXPECT_EQ(a.sync().startResult, 6);
    EXPECT_EQ(a.store.count("Einkaufen"), 1);
    expectRest();
    EXPECT_THAT(liveOnServer(), Contains(id));
}

TEST_F(RefusedByThisVersion, Rule1_ANewNumberAmongCalendarsDoesNotReplaceIt)
{
    home("a").store.calendars = {calendar("Privat"), calendar("Arbeit")};
    home("a").store.calendar("Arbeit")->order = 7;
    auto& b = home("b", Layout::tiger);  // counts calendars in its own way
    syncUntilRest();
    id = idOf(kConduitCalendar, "Arbeit");
    other = recordOnServer(id);
    other.set("Publisher", "http://example.invalid");
    writeToServer(id, other);
    b.store.calendar("Arbeit")->color = "#00FF00";
    b.store.calendars.push_back(calendar("Garten"));
    b.store.calendar("Garten")->order = 2;
    b.sync();
    EXPECT_EQ(recordOnServer(id), other);
}

TEST_F(RefusedByThisVersion, Rule1_ANewRecordOfThatNameStaysHereUntilItCanBeTaken)
{
    givenTheServerHasAnotherForm(kConduitTask, "Einkaufen", "DueDate", "morgen");
    auto& c = home("c");
    c.store.calendars = {calendar("Privat", {task("Einkaufen", {{"Notes", "Milch"}})})};
    c.sync();
    EXPECT_EQ(c.store.count("Einkaufen"), 1);
    EXPECT_EQ(c.store.count("Zahnarzt"), 1);
    expectRest();
    EXPECT_EQ(recordOnServer(id), other);
    writeItReadable("DueDate", date("20071225"));
    syncUntilRest();
    expectEqualHomes();
    EXPECT_EQ(fields(c, "Privat", "Einkaufen")["Notes"], Value("Milch"));
    EXPECT_EQ(fields(home("a"), "Privat", "Einkaufen")["DueDate"], Value(date("20071225")));
    expectRest();
}

}  // namespace
}  // namespace kt::test
