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

}  // namespace
}  // namespace kt::test
