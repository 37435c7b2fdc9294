#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Sync/Host/Engine/RecordFields.h"
#include "Sync/Host/Engine/RecordMerge.h"
#include "tests/Sync/Host/Engine/HomeModel.h"

namespace kt::test {
namespace {

Dictionary merged(const Dictionary& agreed, const Dictionary& local, const Dictionary& server)
{
    const std::vector<std::string> units = changedUnits(agreed, local);
    return mergedOntoAgreed(agreed, {local, units}, server);
}

struct WinnerRow {
    std::string name;
    Value localSequence;
    Value serverSequence;
    std::optional<std::string> localStamp;
    std::optional<std::string> serverStamp;
    MergeSide winner;
};

Dictionary stamped(const Value& sequence, const std::optional<std::string>& stamp)
{
    Dictionary record;
    record.setIfPresent("Sequence", sequence);
    if (stamp)
        record.set("DateStamp", date(*stamp, "Etc/UTC"));
    return record;
}

class Conflicts : public testing::TestWithParam<WinnerRow> {};

INSTANTIATE_TEST_SUITE_P(
    Rule10, Conflicts,
    testing::Values(
        WinnerRow{"HigherSequenceHere", "2", "1", {}, {}, MergeSide::local},
        WinnerRow{"HigherSequenceThere", "1", "2", {}, {}, MergeSide::server},
        WinnerRow{"SequenceIsAnInteger", "10", "9", {}, {}, MergeSide::local},
        WinnerRow{"NoSequenceIsLowest", "0", Value(), {}, {}, MergeSide::local},
        WinnerRow{"NoSequenceIsLowerThanMinusOne", Value(), "-1", {}, {}, MergeSide::server},
        WinnerRow{"SequenceBeforeStamp", "2", "1", "20071224T100000", "20071225T100000",
                  MergeSide::local},
        WinnerRow{"LaterStampHere", "1", "1", "20071225T100000", "20071224T100000",
                  MergeSide::local},
        WinnerRow{"LaterStampThere", "1", "1", "20071224T100000", "20071225T100000",
                  MergeSide::server},
        WinnerRow{"NoStampIsEarliest", "1", "1", "20071224T100000", {}, MergeSide::local},
        WinnerRow{"TheServerAtLast", "1", "1", "20071224T100000", "20071224T100000",
                  MergeSide::server},
        WinnerRow{"TheServerWithoutAnything", Value(), Value(), {}, {}, MergeSide::server}),
    [](const auto& row) { return row.param.name; });

TEST_P(Conflicts, HaveAWinner)
{
    const WinnerRow& row = GetParam();
    const Dictionary local = stamped(row.localSequence, row.localStamp);
    const Dictionary server = stamped(row.serverSequence, row.serverStamp);
    EXPECT_EQ(winnerOfConflict(local, server), row.winner);
}

struct NotesRow {
    std::string name;
    Value local;
    Value server;
    Value merged;
};

class NewOnBothSides : public testing::TestWithParam<NotesRow> {};

INSTANTIATE_TEST_SUITE_P(Notes, NewOnBothSides,
                         testing::Values(NotesRow{"OnlyHere", "a", Value(), "a"},
                                         NotesRow{"OnlyThere", Value(), "b", "b"},
                                         NotesRow{"Equal", "a", "a", "a"},
                                         NotesRow{"Both", "a", "b", "b\\na"},
                                         NotesRow{"HereHoldsThere", "a and b", "b", "a and b"},
                                         NotesRow{"ThereHoldsHere", "b", "a and b", "a and b"},
                                         NotesRow{"AnEmptyOne", "a", "", "a"}),
                         [](const auto& row) { return row.param.name; });

TEST_P(NewOnBothSides, KeepsTheNotesOfBoth)
{
    Dictionary local{{"Title", "Zahnarzt"}};
    Dictionary server = local;
    local.setIfPresent("Notes", GetParam().local);
    server.setIfPresent("Notes", GetParam().server);
    EXPECT_EQ(mergedAsNew(local, server)["Notes"], GetParam().merged);
}

TEST(EnteredTwice, PutsTheWinnersNotesFirst)
{
    Dictionary local = stamped("2", "20080101T100000");
    Dictionary server = stamped("1", "20080101T100000");
    local.set("Notes", "a");
    server.set("Notes", "b");
    EXPECT_EQ(mergedAsNew(local, server)["Notes"], Value("a\\nb"));
}

TEST(EarlierState, IsToldBySequenceThenStamp)
{
    const Dictionary first = stamped("1", "20080101T100000");
    const Dictionary stampedLater = stamped("1", "20080102T100000");
    const Dictionary second = stamped("2", "20080101T090000");
    EXPECT_TRUE(isEarlier(first, stampedLater));
    EXPECT_FALSE(isEarlier(stampedLater, first));
    EXPECT_TRUE(isEarlier(stampedLater, second));
    EXPECT_FALSE(isEarlier(first, first));
    EXPECT_FALSE(isEarlier(Dictionary{}, Dictionary{{"DateStamp", date("20080101T100000")}}))
        << "no stamp says nothing";
    EXPECT_FALSE(isEarlier(stamped(Value(), "20080101T100000"), first)) << "nor no sequence";
}

TEST(Conflicts, CompareStampsAsInstants)
{
    const Dictionary local{{"DateStamp", date("20071224T100000", "Asia/Tokyo")}};
    const Dictionary server{{"DateStamp", date("20071224T050000", "Etc/UTC")}};
    EXPECT_EQ(winnerOfConflict(local, server), MergeSide::server);
}

TEST(Rule7, ChangesOfBothSidesMeetOnTheAgreedRecord)
{
    const Dictionary agreed{{"Title", "Zahnarzt"}, {"Notes", "alt"}};
    EXPECT_EQ(merged(agreed, {{"Title", "Zahnarzt"}, {"Notes", "neu"}},
                     {{"Title", "Zahnarzt"}, {"Notes", "alt"}, {"Location", "Praxis"}}),
              (Dictionary{{"Title", "Zahnarzt"}, {"Notes", "neu"}, {"Location", "Praxis"}}));
}

TEST(Rule7, AFieldRemovedHereIsRemoved)
{
    const Dictionary agreed{{"Title", "a"}, {"Notes", "n"}};
    EXPECT_EQ(merged(agreed, {{"Title", "a"}}, agreed), (Dictionary{{"Title", "a"}}));
}

TEST(Rule7, AFieldRemovedThereIsRemoved)
{
    const Dictionary agreed{{"Title", "a"}, {"Notes", "n"}};
    EXPECT_EQ(merged(agreed, agreed, {{"Title", "a"}}), (Dictionary{{"Title", "a"}}));
}

TEST(Rule8, StartAndEndAreTakenTogether)
{
    const Dictionary agreed{{"StartDate", 1}, {"EndDate", 2}, {"Sequence", "1"}};
    // Here the start moved, there the end: one of the two, not a mixture.
    EXPECT_EQ(merged(agreed, {{"StartDate", 0}, {"EndDate", 2}, {"Sequence", "2"}},
                     {{"StartDate", 1}, {"EndDate", 5}, {"Sequence", "1"}}),
              (Dictionary{{"StartDate", 0}, {"EndDate", 2}, {"Sequence", "2"}}));
}

TEST(Rule10, BothChangedOneFieldAndTheLoserKeepsItsOtherChanges)
{
    const Dictionary agreed{{"Title", "a"}, {"Notes", "n"}, {"Sequence", "1"}};
    EXPECT_EQ(merged(agreed, {{"Title", "a"}, {"Notes", "hier"}, {"URL", "u"}, {"Sequence", "1"}},
                     {{"Title", "a"}, {"Notes", "dort"}, {"Location", "l"}, {"Sequence", "1"}}),
              (Dictionary{{"Title", "a"},
                          {"Notes", "dort"},
                          {"URL", "u"},
                          {"Location", "l"},
                          {"Sequence", "1"}}));
}

TEST(Rule10, TheSameChangeOnBothSidesIsNoConflict)
{
    const Dictionary agreed{{"Title", "a"}};
    EXPECT_EQ(merged(agreed, {{"Title", "b"}}, {{"Title", "b"}}), (Dictionary{{"Title", "b"}}));
}

TEST(Rule12, WhatOnlyOneSideHasIsTaken)
{
    EXPECT_EQ(mergedWithoutBase({{"Title", "a"}, {"Notes", "n"}},
                                {{"Title", "a"}, {"Location", "l"}}),
              (Dictionary{{"Title", "a"}, {"Location", "l"}, {"Notes", "n"}}));
}

TEST(Rule12, WhatDiffersGoesToTheWinner)
{
    const Dictionary local{{"Title", "a"}, {"Notes", "hier"}, {"Sequence", "2"}};
    const Dictionary server{{"Title", "a"}, {"Notes", "dort"}, {"Sequence", "1"}};
    EXPECT_EQ(mergedWithoutBase(local, server), local);
    EXPECT_EQ(mergedWithoutBase(server, local), local);
}

TEST(Rule12, PartsOfAUnitThatDoNotContradictStandTogether)
{
    EXPECT_EQ(mergedWithoutBase({{"Completed", false}, {"DueDate", 24}}, {{"Completed", false}}),
              (Dictionary{{"Completed", false}, {"DueDate", 24}}));
}

TEST(Rule12, AnEndAndADurationNeverStandTogether)
{
    EXPECT_EQ(mergedWithoutBase({{"StartDate", 1}, {"Duration", 5}},
                                {{"StartDate", 1}, {"EndDate", 2}}),
              (Dictionary{{"StartDate", 1}, {"EndDate", 2}}));
}

}  // namespace
}  // namespace kt::test
