// What becomes of the text of an item that changed.

#include "tests/Sync/PlugIns/iCal/CarefulFixture.h"

namespace kt::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

class CarefulItemText : public CarefulFixture {};

INSTANTIATE_TEST_SUITE_P(Layouts, CarefulItemText, ::testing::Values(4, 5));

TEST_P(CarefulItemText, LeavesNoLineThatGainsaysAChangedStatusOrDate)
{
    const std::string open = "CATEGORIES:GELD\r\nSTATUS:IN-PROCESS\r\nDUE:bald\r\n";
    layOut({{"A", "Privat", {task("1", "Steuer", open)}}});
    SyncRecordList records = load();
    const std::string file = itemFile("A", 0);
    const auto before = store();
    SyncRecord& changed = records[positionOf(records, "Steuer")];
    changed = with(changed, "CompletedDate", date("20080105T100000Z"));
    changed = with(changed, "DueDate", date("20080106T100000Z"));
    changed = with(changed, "Completed", true);
    ASSERT_TRUE(save(records));
    EXPECT_EQ(store()[file], replaced(before.at(file), open,
                                      "CATEGORIES:GELD\r\nSTATUS:COMPLETED\r\n"
                                      "DUE:20080106T100000Z\r\nCOMPLETED:20080105T100000Z\r\n"));
    records = load();
    EXPECT_EQ(records[positionOf(records, "Steuer")]->record()["Completed"], Value(true));
}

TEST_P(CarefulItemText, FollowsATaskThatWasCompletedAtNoKnownTime)
{
    const std::string done = "STATUS:COMPLETED\r\nCATEGORIES:GELD\r\n";
    layOut({{"A", "Privat", {task("1", "Steuer", done)}}});
    const std::string file = itemFile("A", 0);
    const auto before = store();
    SyncRecordList records = load();
    const std::size_t position = positionOf(records, "Steuer");
    ASSERT_EQ(records[position]->record()["Completed"], Value(true));
    records[position] = with(records[position], "Notes", "n");
    ASSERT_TRUE(save(records));
    EXPECT_EQ(store()[file], replaced(before.at(file), done, done + "DESCRIPTION:n\r\n"));

    records = load();
    records[position] = with(records[position], "Completed", false);
    ASSERT_TRUE(save(records));
    EXPECT_EQ(store()[file],
              replaced(before.at(file), done, "CATEGORIES:GELD\r\nDESCRIPTION:n\r\n"));
}

TEST_P(CarefulItemText, LeavesNoExceptionDateThatWasTakenBack)
{
    layOut({{"A",
             "Privat",
             {event("1", "Reihe",
                    "RRULE:FREQ=DAILY\r\nEXDATE:20071225T100000,20071226T100000\r\n")}}});
    SyncRecordList records = load();
    const std::size_t position = positionOf(records, "Reihe");
    const Array dates = records[position]->record()["ExceptionDates"].array();
    ASSERT_EQ(dates.size(), 2U);
    records[position] = with(records[position], "ExceptionDates", Array{dates[1]});
    ASSERT_TRUE(save(records));
    const std::string text = store()[itemFile("A", 0)];
    EXPECT_THAT(text, Not(HasSubstr("20071225T100000")));
    EXPECT_THAT(text, HasSubstr("20071226T100000\r\n"));
}

/// Wherever another program folds it.
TEST_P(CarefulItemText, KeepsTheLineOfAnAttendeeWhenAnotherOneChanges)
{
    const std::string line =
        "ATTENDEE;CN=\"Max\";PARTSTAT=ACCEPTED;ROLE=REQ-PARTICIPANT;"
        "CUTYPE=INDIVIDUAL;RSVP=TRUE:mailto:max@example.invalid";
    for (std::size_t fold = 1; fold < line.size(); ++fold) {
        const std::string folded = line.substr(0, fold) + "\r\n " + line.substr(fold) + "\r\n";
        layOut({{"A",
                 "Privat",
                 {event("1", "Eins", folded + "ATTENDEE;PARTSTAT=NEEDS-ACTION:mailto:eva\r\n")}}});
        SyncRecordList records = load();
        const std::size_t position = positionOf(records, "Eins");
        const Value& stored = records[position]->record()["Attendees"];
        if (!stored.isArray() || stored.array().size() != 2U)
            continue;  // folded inside its name
        Array attendees = stored.array();
        Dictionary eva = attendees[1].dictionary();
        eva.set("Status", "PARTSTAT=ACCEPTED");
        attendees[1] = eva;
        records[position] = with(records[position], "Attendees", attendees);
        const auto before = store();
        ASSERT_TRUE(save(records)) << fold;
        EXPECT_EQ(store()[itemFile("A", 0)],
                  replaced(before.at(itemFile("A", 0)), "NEEDS-ACTION", "ACCEPTED"))
            << fold;
    }
}

TEST_P(CarefulItemText, KeepsWhatElseAnAlarmHoldsThatChanged)
{
    const std::string alarm =
        "BEGIN:VALARM\r\nACTION:DISPLAY\r\nDESCRIPTION:Los\r\n"
        "X-WR-ALARMUID:abc\r\nTRIGGER:-PT15M\r\nEND:VALARM\r\n";
    layOut({{"A", "Privat", {event("1", "Eins", alarm)}}});
    SyncRecordList records = load();
    const std::size_t position = positionOf(records, "Eins");
    Array alarms = records[position]->record()["Alarms"].array();
    Dictionary changed = alarms[0].dictionary();
    changed.set("RelativeTrigger", "-PT30M");
    alarms[0] = changed;
    records[position] = with(records[position], "Alarms", alarms);
    const auto before = store();
    ASSERT_TRUE(save(records));
    EXPECT_EQ(store()[itemFile("A", 0)], replaced(before.at(itemFile("A", 0)), "-PT15M", "-PT30M"));
}

}  // namespace
}  // namespace kt::test
