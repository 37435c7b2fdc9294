#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "Sync/Host/Engine/StartResult.h"

namespace kt::test {
namespace {

struct Row {
    std::string name;
    std::function<void(StartFacts&)> set;
    StartResult answer;
};

StartFacts factsOf(const Row& row)
{
    StartFacts facts;
    row.set(facts);
    return facts;
}

class StartAnswers : public testing::TestWithParam<Row> {};

INSTANTIATE_TEST_SUITE_P(
    Rule4, StartAnswers,
    testing::Values(
        Row{"NothingInParticular", [](StartFacts&) {}, StartResult::onlyUp},
        Row{"NoServer", [](StartFacts& facts) { facts.isReachable = false; },
            StartResult::noSession},
        Row{"NoServerEvenForSettling",
            [](StartFacts& facts) { facts.isReachable = false, facts.isSettling = true; },
            StartResult::noSession},
        Row{"AccountOff",
            [](StartFacts& facts) { facts.isAccountOff = true, facts.wantsServer = true; },
            StartResult::accountOff},
        Row{"Settling", [](StartFacts& facts) { facts.isSettling = true, facts.hasMark = true; },
            StartResult::onlyUp},
        Row{"Losses",
            [](StartFacts& facts) {
                facts.isUnsafe = true, facts.wantsServer = true, facts.hasNews = true;
            },
            StartResult::onlyUp},
        Row{"LossesAtAFirstMeetingWithAnEmptyServer",
            [](StartFacts& facts) {
                facts.isUnsafe = true, facts.isFirstMeeting = true, facts.serverHoldsNothing = true;
            },
            StartResult::onlyUp},
        Row{"LossesWithAMark",
            [](StartFacts& facts) { facts.isUnsafe = true, facts.hasMark = true; },
            StartResult::full},
        Row{"TheServersStateWantedLater", [](StartFacts& facts) { facts.wantsServer = true; },
            StartResult::overwrittenLater},
        Row{"TheServersStateWantedAtFirst",
            [](StartFacts& facts) { facts.wantsServer = true, facts.isFirstMeeting = true; },
            StartResult::overwrittenAtFirst},
        Row{"TheServersStateWantedBeforeFirstUpload",
            [](StartFacts& facts) { facts.wantsServer = true, facts.serverHoldsNothing = true; },
            StartResult::overwrittenLater},
        Row{"EmptyServer",
            [](StartFacts& facts) { facts.serverHoldsNothing = true, facts.isFirstMeeting = true; },
            StartResult::firstUpload},
        Row{"EmptyServerAndMark",
            [](StartFacts& facts) { facts.serverHoldsNothing = true, facts.hasMark = true; },
            StartResult::full},
        Row{"Mark", [](StartFacts& facts) { facts.hasMark = true; }, StartResult::full},
        Row{"Owed", [](StartFacts& facts) { facts.isOwed = true; }, StartResult::full},
        Row{"Mode6", [](StartFacts& facts) { facts.asksForFull = true; }, StartResult::full},
        Row{"FirstMeeting", [](StartFacts& facts) { facts.isFirstMeeting = true; },
            StartResult::full},
        Row{"UnknownServer", [](StartFacts& facts) { facts.isUnknownServer = true; },
            StartResult::full},
        Row{"OtherStore", [](StartFacts& facts) { facts.isOtherStore = true; }, StartResult::full},
        Row{"OlderServer", [](StartFacts& facts) { facts.isServerOlder = true; },
            StartResult::full},
        Row{"FullBeforeNews", [](StartFacts& facts) { facts.isOwed = true, facts.hasNews = true; },
            StartResult::full},
        Row{"News", [](StartFacts& facts) { facts.hasNews = true; }, StartResult::incremental}),
    [](const auto& row) { return row.param.name; });

TEST_P(StartAnswers, AreTheFirstThatApplies)
{
    EXPECT_EQ(startResult(factsOf(GetParam())), GetParam().answer);
}

// Whatever else is true, 3 and 4 need the user.
TEST(Rule5, NobodyButTheUserOverwrites)
{
    constexpr unsigned kCombinations = 1U << 11U;
    for (unsigned bits = 0; bits < kCombinations; ++bits) {
        const auto bit = [&](unsigned place) { return (bits >> place & 1U) != 0; };
        StartFacts facts;
        facts.isAccountOff = bit(0);
        facts.isSettling = bit(1);
        facts.isUnsafe = bit(2);
        facts.hasMark = bit(3);
        facts.isFirstMeeting = bit(4);
        facts.serverHoldsNothing = bit(5);
        facts.asksForFull = bit(6);
        facts.isOwed = bit(7);
        facts.isUnknownServer = bit(8);
        facts.isServerOlder = bit(9);
        facts.hasNews = bit(10);
        const StartResult answer = startResult(facts);
        EXPECT_NE(answer, StartResult::overwrittenAtFirst);
        EXPECT_NE(answer, StartResult::overwrittenLater);
    }
}

TEST(Rule5, AFullComparisonAnsweredWith1IsOwed)
{
    StartFacts facts;
    facts.asksForFull = true;
    facts.isUnsafe = true;
    EXPECT_TRUE(isOwedAfter(startResult(facts), facts));
    facts.isUnsafe = false;
    EXPECT_FALSE(isOwedAfter(startResult(facts), facts));
}

TEST(Rule5, AFirstMeetingAnsweredWith1IsOwedAsWell)
{
    for (bool StartFacts::*meets :
         {&StartFacts::isFirstMeeting, &StartFacts::isUnknownServer, &StartFacts::isServerOlder}) {
        StartFacts facts;
        facts.*meets = true;
        facts.isUnsafe = true;
        EXPECT_TRUE(isOwedAfter(startResult(facts), facts));
        facts.isUnsafe = false;
        EXPECT_FALSE(isOwedAfter(startResult(facts), facts));
    }
}

TEST(Rule5, WhatIsOwedStaysOwedUntilItIsMade)
{
    StartFacts facts;
    facts.isOwed = true;
    facts.isUnsafe = true;
    EXPECT_TRUE(isOwedAfter(startResult(facts), facts));
    facts.isUnsafe = false;
    EXPECT_FALSE(isOwedAfter(startResult(facts), facts));
}

TEST(Rule5, ASettlingRunOwesNothingNew)
{
    StartFacts facts;
    facts.isSettling = true;
    facts.asksForFull = true;
    EXPECT_FALSE(isOwedAfter(startResult(facts), facts));
}

}  // namespace
}  // namespace kt::test
