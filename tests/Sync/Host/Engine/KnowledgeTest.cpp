#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Host/Engine/Knowledge.h"
#include "tests/Sync/Host/Engine/RowsAndRecords.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class WhatIsKnown : public RowsAndRecords {
protected:
    static RecordId eventId(const std::string& key) { return {std::string(kConduitEvent), key}; }

    static std::vector<std::string> keysOf(const std::vector<AgreedRow>& rows)
    {
        std::vector<std::string> keys;
        for (const AgreedRow& row : rows)
            keys.push_back(row.id.key);
        return keys;
    }
    static std::vector<std::string> keysOf(const std::vector<SeenRow>& rows)
    {
        std::vector<std::string> keys;
        for (const SeenRow& row : rows)
            keys.push_back(row.local.key);
        return keys;
    }
};

TEST_F(WhatIsKnown, OfAPartIsNoMoreThanItAndWhatItsRowsBelongTo)
{
    for (const char* key : {"a", "b", "c", "d"})
        agreeAndSee(taskId(key), withUid(key), in("C"));
    see(taskId("nobody's"), std::nullopt, withUid("n"), in("C"));
    const std::vector<SeenRow> all = Knowledge(state).seen();
    const Knowledge part(state, KnowledgePart{{taskId("d")}, {all[4].row, all[1].row}});
    EXPECT_THAT(keysOf(part.agreed()), ElementsAre("b", "d"));
    EXPECT_THAT(keysOf(part.seen()), ElementsAre("b", "nobody's"));
    EXPECT_EQ(part.agreedRow(taskId("a")), nullptr);
    EXPECT_EQ(part.seenOfAgreed(taskId("b")), &part.seen()[0]);
}

TEST_F(WhatIsKnown, IsTakenFromWhoHasItAlready)
{
    agree(taskId("a"), in("C"));
    std::vector<AgreedRow> rows = Knowledge(state).agreed();
    state.removeAgreed(taskId("a"));
    Knowledge knowledge(state, std::move(rows));
    ASSERT_NE(knowledge.agreedRow(taskId("a")), nullptr);
    EXPECT_THAT(keysOf(knowledge.takeAgreedRows()), ElementsAre("a"));
    EXPECT_THAT(knowledge.agreed(), IsEmpty());
}

TEST_F(WhatIsKnown, NamesACalendarByItsFolder)
{
    see(calendarId("A"), "A", folderAt("a"), titled("A"));
    see(calendarId("B"), "B", folderAt("shared"), titled("B"));
    see(calendarId("C"), "C", folderAt("shared"), titled("C"));
    see(calendarId("D"), "D", folderAt(""), titled("D"));
    const Knowledge knowledge(state);
    EXPECT_EQ(knowledge.seenCalendarIn("a"), &knowledge.seen()[0]);
    EXPECT_EQ(knowledge.seenCalendarIn("shared"), nullptr);
    EXPECT_EQ(knowledge.seenCalendarIn("b"), nullptr);
    EXPECT_EQ(knowledge.seenCalendarIn(""), nullptr);
}

TEST_F(WhatIsKnown, NamesACalendarByTheKeyThatItHad)
{
    see(calendarId("A"), "A-2", folderAt("a2"), titled("A"));
    see(calendarId("A"), "A", folderAt("a"), titled("A"));
    see(calendarId("B"), "B", folderAt("b"), titled("B"));
    see(calendarId("B"), "B-2", folderAt("b2"), titled("B"));
    see(calendarId("C"), std::nullopt, folderAt("c"), titled("C"));
    see(calendarId("C"), "X", folderAt("c2"), titled("C"));
    const Knowledge knowledge(state);
    EXPECT_EQ(knowledge.seenCalendarUnder("A"), &knowledge.seen()[1]) << "its agreed key, too";
    EXPECT_EQ(knowledge.seenCalendarUnder("B"), &knowledge.seen()[2]);
    EXPECT_EQ(knowledge.seenCalendarUnder("C"), &knowledge.seen()[5]) << "it is agreed";
    EXPECT_EQ(knowledge.seenCalendarUnder("A-2"), nullptr);
}

TEST_F(WhatIsKnown, TranslatesTheKeysOfCalendars)
{
    see(calendarId("local"), "agreed", folderAt("a"), titled("A"));
    see(calendarId("same"), "same", folderAt("b"), titled("B"));
    see(calendarId("same"), "same-2", folderAt("c"), titled("B"));
    see(taskId("item"), "item-2", withUid("u"), in("local"));
    const Knowledge knowledge(state);
    EXPECT_EQ(knowledge.agreedCalendarKey("local"), "agreed");
    EXPECT_EQ(knowledge.localCalendarKey("agreed"), "local");
    EXPECT_EQ(knowledge.agreedCalendarKey("same"), "same");
    EXPECT_EQ(knowledge.localCalendarKey("same-2"), "same");
    EXPECT_EQ(knowledge.agreedCalendarKey("item"), "item");
    EXPECT_EQ(knowledge.localCalendarKey("item-2"), "item-2");
}

TEST_F(WhatIsKnown, PutsAgreedKeysIntoARecord)
{
    see(calendarId("local"), "agreed", folderAt("a"), titled("A"));
    see(eventId("series"), "series-2", withUid("s2"), in("local"));
    see(eventId("other"), "other-2", withUid("o2"), in("local"));
    see(eventId("other"), "other", withUid("o"), in("local"));
    see(taskId("task"), "task-2", withUid("t"), in("local"));
    const Knowledge knowledge(state);
    const auto translated = [&](const std::string& series) {
        Dictionary record = in("local");
        record.set("RecurrenceParentRecordKey", series);
        return knowledge.underAgreedKeys(record);
    };
    EXPECT_EQ(translated("series")["ParentRecordKey"], Value("agreed"));
    EXPECT_EQ(translated("series")["RecurrenceParentRecordKey"], Value("series-2"));
    EXPECT_EQ(translated("other")["RecurrenceParentRecordKey"], Value("other"));
    EXPECT_EQ(translated("task")["RecurrenceParentRecordKey"], Value("task"));
}

TEST_F(WhatIsKnown, TellsUnreadRecordsApartByWhoseTheyAre)
{
    using Whose = UnreadRow::Whose;
    state.setUnread({Whose::agreed, taskId("a"), 1});
    state.setUnread({Whose::kept, taskId("k"), 1});
    state.setUnread({Whose::moved, taskId("m"), 1});
    const Knowledge knowledge(state);
    EXPECT_NE(knowledge.unreadRow(Whose::agreed, taskId("a")), nullptr);
    EXPECT_NE(knowledge.unreadRow(Whose::agreed, taskId("m")), nullptr);
    EXPECT_EQ(knowledge.unreadRow(Whose::agreed, taskId("k")), nullptr);
    EXPECT_NE(knowledge.unreadRow(Whose::kept, taskId("k")), nullptr);
    EXPECT_EQ(knowledge.unreadRow(Whose::kept, taskId("a")), nullptr);
}

TEST_F(WhatIsKnown, NamesTheCalendarsThatWereOff)
{
    keep(calendarId("local"), "agreed", folderAt("a"), titled("A"));
    keep(taskId("task"), std::nullopt, withUid("u"), in("elsewhere"));
    const Knowledge knowledge(state);
    EXPECT_TRUE(knowledge.switchedOff().hasLocal("local"));
    EXPECT_TRUE(knowledge.switchedOff().hasAgreed("agreed"));
    EXPECT_FALSE(knowledge.switchedOff().hasLocal("task"));
    EXPECT_FALSE(knowledge.switchedOff().hasLocal("elsewhere"));
}

}  // namespace
}  // namespace kt::test
