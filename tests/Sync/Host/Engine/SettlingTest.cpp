#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Host/Engine/HostSyncRecord.h"
#include "Sync/Host/Engine/Settling.h"
#include "tests/Sync/Host/Engine/HomeModel.h"

namespace kt::test {
namespace {

using testing::ElementsAre;

std::string parentOf(const Dictionary& record)
{
    return record.contains("ParentRecordKey") ? std::string(record["ParentRecordKey"].string())
                                              : "";
}

SyncRecord local(std::string_view conduit, const std::string& key, Dictionary record)
{
    const std::string parent = parentOf(record);
    return std::make_shared<HostSyncRecord>(0, std::move(record), key, parent,
                                            std::string(conduit));
}

HandedRecord handed(std::string_view conduit, const std::string& key, Dictionary record)
{
    const std::string parent = parentOf(record);
    return {{std::string(conduit), key}, parent, std::move(record)};
}

Dictionary taskRecord(const std::string& title, const std::string& due,
                      const std::string& parent = "C")
{
    return {{"Title", title}, {"DueDate", date(due)}, {"ParentRecordKey", parent}};
}

Dictionary calendarRecord(const std::string& title, const std::string& sourceKey)
{
    return {{"Title", title},
            {"Type", "CalendarNode"},
            {"SourceKey", sourceKey},
            {"Order", 0},
            {"Color", "#F00"}};
}

const std::optional<std::string> kNone;

using Names = std::vector<std::optional<std::string>>;

Names paired(const SyncRecordList& store, const std::vector<HandedRecord>& state,
             Looks looks = Looks::count)
{
    return pairWithHanded(store, state, Names(store.size()), looks);
}

TEST(PairWithHanded, GoesByKey)
{
    EXPECT_THAT(paired({local(kConduitTask, "A", taskRecord("a", "20071224")),
                        local(kConduitTask, "B", taskRecord("b", "20071225"))},
                       {handed(kConduitTask, "A", taskRecord("a", "20071226")),
                        handed(kConduitTask, "B", taskRecord("b", "20071227"))}),
                ElementsAre("A", "B"));
}

TEST(PairWithHanded, KnowsACalendarInAnotherFolderByTheTitleThatWasHandedOut)
{
    // "Umbenannt" is agreed under the key of its former title, which another calendar has now.
    const Names names =
        paired({local(kConduitCalendar, "key of Umbenannt", calendarRecord("Umbenannt", "NEW-1")),
                local(kConduitCalendar, "key of Privat", calendarRecord("Privat", "NEW-2"))},
               {handed(kConduitCalendar, "key of Privat", calendarRecord("Umbenannt", "OLD-1")),
                handed(kConduitCalendar, "another key", calendarRecord("Privat", "OLD-2"))},
               Looks::sayNothing);
    EXPECT_THAT(names, ElementsAre("key of Privat", "another key"));
}

TEST(PairWithHanded, TellsEqualKeysApartByContentWhateverTheirOrder)
{
    EXPECT_THAT(paired({local(kConduitTask, "T", taskRecord("Einkaufen", "20071225")),
                        local(kConduitTask, "T", taskRecord("Einkaufen", "20071224"))},
                       {handed(kConduitTask, "T", taskRecord("Einkaufen", "20071224")),
                        handed(kConduitTask, "T-2", taskRecord("Einkaufen", "20071225"))}),
                ElementsAre("T-2", "T"));
}

TEST(PairWithHanded, TellsEqualKeysApartByWhatTheStoreKept)
{
    Dictionary first = taskRecord("Einkaufen", "20071224");
    first.set("Attendees", Array{"verloren"});
    Dictionary second = taskRecord("Einkaufen", "20071225");
    second.set("Attendees", Array{"verloren"});
    EXPECT_THAT(paired({local(kConduitTask, "T", taskRecord("Einkaufen", "20071225")),
                        local(kConduitTask, "T", taskRecord("Einkaufen", "20071224"))},
                       {handed(kConduitTask, "T", first), handed(kConduitTask, "T-2", second)}),
                ElementsAre("T-2", "T"));
}

TEST(PairWithHanded, FindsAnItemUnderAnotherKeyByItsContent)
{
    EXPECT_THAT(paired({local(kConduitTask, "computed", taskRecord("a", "20071224"))},
                       {handed(kConduitTask, "agreed", taskRecord("a", "20071224"))}),
                ElementsAre("agreed"));
}

TEST(PairWithHanded, FindsACalendarUnderAnotherKeyAndItsItemsWithIt)
{
    EXPECT_THAT(paired({local(kConduitCalendar, "computed", calendarRecord("Neu", "S")),
                        local(kConduitTask, "t", taskRecord("a", "20071224", "computed"))},
                       {handed(kConduitCalendar, "agreed", calendarRecord("Alt", "S")),
                        handed(kConduitTask, "T", taskRecord("a", "20071224", "agreed"))}),
                ElementsAre("agreed", "T"));
}

TEST(PairWithHanded, LeavesWhatBelongsToNothing)
{
    EXPECT_THAT(paired({local(kConduitTask, "x", taskRecord("x", "20071224"))},
                       {handed(kConduitTask, "A", taskRecord("a", "20071224"))}),
                ElementsAre(kNone));
}

TEST(PairWithHanded, GivesEveryHandedRecordAwayOnce)
{
    EXPECT_THAT(paired({local(kConduitTask, "A", taskRecord("a", "20071224")),
                        local(kConduitTask, "A", taskRecord("a", "20071224"))},
                       {handed(kConduitTask, "A", taskRecord("a", "20071224"))}),
                ElementsAre("A", kNone));
}

TEST(PairWithHanded, LeavesKeptRecordsAlone)
{
    HandedRecord kept = handed(kConduitTask, "A", taskRecord("a", "20071224"));
    kept.keptAs = kept.id;
    EXPECT_THAT(paired({local(kConduitTask, "A", taskRecord("a", "20071224"))}, {kept}),
                ElementsAre(kNone));
}

TEST(PairWithHanded, KeepsConduitsApart)
{
    EXPECT_THAT(paired({local(kConduitEvent, "A", taskRecord("a", "20071224"))},
                       {handed(kConduitTask, "A", taskRecord("a", "20071224"))}),
                ElementsAre(kNone));
}

TEST(PairWithHandedWhileUnsettled, LeavesWhatIsKnownAndGivesItToNobodyElse)
{
    EXPECT_THAT(pairWithHanded({local(kConduitTask, "K", taskRecord("a", "20071225")),
                                local(kConduitTask, "K", taskRecord("a", "20071225"))},
                               {handed(kConduitTask, "K", taskRecord("a", "20071224")),
                                handed(kConduitTask, "K-2", taskRecord("a", "20071225"))},
                               Names{"K-2", kNone}, Looks::sayNothing),
                ElementsAre("K-2", "K"));
}

TEST(PairWithHandedWhileUnsettled, FindsAnItemInTheCalendarThatIsKnown)
{
    EXPECT_THAT(pairWithHanded({local(kConduitCalendar, "L", calendarRecord("Privat", "s")),
                                local(kConduitTask, "neu", taskRecord("a", "20071224", "L"))},
                               {handed(kConduitCalendar, "C", calendarRecord("Anders", "t")),
                                handed(kConduitTask, "alt", taskRecord("a", "20071224", "C"))},
                               Names{"C", kNone}, Looks::sayNothing),
                ElementsAre("C", "alt"));
}

TEST(PairWithHandedWhileUnsettled, DoesNotTellCalendarsByTheirLooks)
{
    const SyncRecordList store{local(kConduitCalendar, "G", calendarRecord("Garten", "g"))};
    const std::vector<HandedRecord> state{
        handed(kConduitCalendar, "A", calendarRecord("Arbeit", "a"))};
    EXPECT_THAT(paired(store, state), ElementsAre("A"));
    EXPECT_THAT(paired(store, state, Looks::sayNothing), ElementsAre(kNone));
}

}  // namespace
}  // namespace kt::test
