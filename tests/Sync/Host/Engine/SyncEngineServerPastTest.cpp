#include <algorithm>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/Sync/Host/Engine/SyncEngineRules.h"

namespace kt::test {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

// The server's file is put back from an older copy, and another device writes into that before this
// one comes again.
class PutBackServer : public SyncEngineRules, public testing::WithParamInterface<int> {
protected:
    void SetUp() override
    {
        givenTwoHomes();
        copy = *folder.read("server.db");
    }
    void putBack() { folder.write("server.db", copy); }

    // That many runs of b that send something.
    void growBy(int revisions)
    {
        for (int count = 0; count < revisions; ++count) {
            fields(b, "Arbeit", "Sitzung").set("URL", "http://" + std::to_string(count));
            EXPECT_EQ(b.sync().sent, 1U);
        }
    }
    void expectAllAtRest()
    {
        syncUntilRest();
        expectEqualHomes();
        expectRest();
    }
    static std::size_t linesWith(const MemoryHome& home, const std::string& text)
    {
        return static_cast<std::size_t>(
            std::count_if(home.log.begin(), home.log.end(), [&](const std::string& line) {
                return line.find(text) != std::string::npos;
            }));
    }

    std::string copy;
    MemoryHome& a = home("a");
    MemoryHome& b = home("b");
};

// How far the server has grown when a comes: not as far as it was, just as far, farther.
INSTANTIATE_TEST_SUITE_P(GrownBy, PutBackServer, testing::Values(0, 1, 2, 5));

TEST_P(PutBackServer, Rule21_NothingOfEitherDeviceIsOverwrittenUnseen)
{
    fields(a, "Privat", "Zahnarzt").set("Notes", "von a");
    a.sync();
    fields(a, "Privat", "Einkaufen").set("Notes", "von a");
    a.store.calendar("Privat")->items.push_back(task("neu bei a"));
    a.sync();
    putBack();
    fields(b, "Privat", "Zahnarzt").set("Location", "von b");
    b.sync();
    growBy(GetParam());
    fields(a, "Privat", "Zahnarzt").set("URL", "http://von.a");
    a.sync();
    expectAllAtRest();
    for (MemoryHome* each : {&a, &b}) {
        EXPECT_EQ(fields(*each, "Privat", "Zahnarzt")["Notes"], Value("von a"));
        EXPECT_EQ(fields(*each, "Privat", "Zahnarzt")["Location"], Value("von b"));
        EXPECT_EQ(fields(*each, "Privat", "Zahnarzt")["URL"], Value("http://von.a"));
        EXPECT_EQ(fields(*each, "Privat", "Einkaufen")["Notes"], Value("von a"));
        EXPECT_EQ(each->store.count("neu bei a"), 1);
    }
}

TEST_P(PutBackServer, Rule21_OfTwoTextsTheOneThatGivesWayIsNamed)
{
    fields(a, "Privat", "Zahnarzt").set("Notes", "von a");
    fields(a, "Privat", "Zahnarzt").set("Sequence", "3");
    a.sync();
    fields(a, "Privat", "Zahnarzt").set("URL", "http://von.a");
    a.sync();
    putBack();
    fields(b, "Privat", "Zahnarzt").set("Notes", "von b");
    fields(b, "Privat", "Zahnarzt").set("Sequence", "2");
    b.sync();
    growBy(GetParam());
    fields(a, "Privat", "Zahnarzt").set("Location", "Praxis");
    a.sync();
    expectAllAtRest();
    EXPECT_EQ(fields(b, "Privat", "Zahnarzt")["Notes"], Value("von a"));
    EXPECT_EQ(linesWith(a, "nicht übernommen wurde \"von b\""), 1U);
    EXPECT_LE(linesWith(b, "nicht übernommen wurde \"von b\""), 1U) << "once each";
}

TEST_P(PutBackServer, Rule21_ItIsFoundOutByOneWhoChangedNothing)
{
    fields(a, "Privat", "Zahnarzt").set("Notes", "von a");
    a.sync();
    putBack();
    growBy(GetParam() + 2);
    const SyncRunSummary summary = a.sync();
    EXPECT_EQ(summary.startResult, 6);
    EXPECT_THAT(summary.notices, Contains(HasSubstr("einen älteren Stand")));
    expectAllAtRest();
    EXPECT_EQ(fields(b, "Privat", "Zahnarzt")["Notes"], Value("von a"));
    EXPECT_EQ(linesWith(a, "einen älteren Stand"), 1U);
    EXPECT_EQ(linesWith(b, "einen älteren Stand"), 0U) << "it knew no other";
}

TEST_P(PutBackServer, Rule21_WhatWasAddedSinceIsNotTakenForDeleted)
{
    a.store.calendar("Privat")->items.push_back(task("neu bei a"));
    a.sync();
    b.sync();
    putBack();
    // A device that knows nothing of what was.
    auto& c = home("c");
    c.store.calendars = {calendar("Fremd", {task("fremd")})};
    for (int count = 0; count < GetParam() + 3; ++count) {
        fields(c, "Fremd", "fremd").set("Notes", std::to_string(count));
        c.sync();
    }
    expectAllAtRest();
    EXPECT_EQ(c.store.count("neu bei a"), 1);
    EXPECT_EQ(a.store.count("neu bei a"), 1);
}

TEST_F(SyncEngineRules, Rule21_AnEditMeetsWhatWasWrittenUnderTheRevisionThatItWasAgreedUnder)
{
    givenTwoHomes();
    auto& a = home("a");
    auto& b = home("b");
    const auto copy = *folder.read("server.db");
    fields(a, "Privat", "Zahnarzt").set("Notes", "von a");
    a.sync();
    folder.write("server.db", copy);
    fields(b, "Privat", "Zahnarzt").set("Location", "von b");
    b.sync();
    fields(a, "Privat", "Zahnarzt").set("URL", "http://von.a");
    const SyncRunSummary summary = a.sync();
    EXPECT_EQ(summary.startResult, 1) << "no revision says so";
    EXPECT_EQ(summary.sent, 1U);
    EXPECT_THAT(summary.notices, SizeIs(1));
    EXPECT_EQ(a.sync().startResult, 6) << "the rest is owed";
    syncUntilRest();
    expectEqualHomes();
    for (MemoryHome* each : {&a, &b}) {
        EXPECT_EQ(fields(*each, "Privat", "Zahnarzt")["Notes"], Value("von a"));
        EXPECT_EQ(fields(*each, "Privat", "Zahnarzt")["Location"], Value("von b"));
        EXPECT_EQ(fields(*each, "Privat", "Zahnarzt")["URL"], Value("http://von.a"));
    }
    expectRest();
}

// The few records that are asked about before are as they were.
TEST_F(SyncEngineRules, Rule21_WhatTheRunBroughtThatFindsItOutComesDownAtOnce)
{
    givenTwoHomes();
    auto& a = home("a");
    auto& b = home("b");
    const auto copy = *folder.read("server.db");
    const auto enterMany = [](MemoryHome& home) {
        for (const char number : std::string("12345678"))
            home.store.calendar("Privat")->items.push_back(
                event(std::string("Termin ") + number, "20080101T100000"));
    };
    enterMany(a);
    fields(a, "Privat", "Einkaufen").set("Notes", "von a");
    a.sync();
    folder.write("server.db", copy);
    enterMany(b);
    fields(b, "Privat", "Einkaufen").set("Priority", "3");
    b.sync();
    b.store.calendar("Privat")->items.push_back(task("Blumen"));
    removeItem(b, "Arbeit", "Sitzung");
    b.sync();
    fields(a, "Privat", "Einkaufen").set("URL", "http://von.a");
    const SyncRunSummary summary = a.sync();
    EXPECT_EQ(summary.startResult, 5) << "no revision says so";
    EXPECT_THAT(summary.notices, SizeIs(1));
    EXPECT_EQ(a.store.count("Blumen"), 1);
    EXPECT_EQ(a.store.count("Sitzung"), 1) << "nothing counts as deleted";
    syncUntilRest();
    expectEqualHomes();
    EXPECT_EQ(fields(b, "Privat", "Einkaufen")["Notes"], Value("von a"));
    EXPECT_EQ(fields(a, "Privat", "Einkaufen")["Priority"], Value("3"));
}

TEST_P(PutBackServer, Rule21_WhatWasEnteredUnderTheSameKeySinceIsAnotherItem)
{
    a.store.calendar("Privat")->items.push_back(task("Anrufen"));
    fields(a, "Privat", "Anrufen").set("Notes", "von a");
    a.sync();
    putBack();
    b.store.calendar("Privat")->items.push_back(task("Anrufen"));
    fields(b, "Privat", "Anrufen").set("Notes", "von b");
    b.sync();
    growBy(GetParam());
    fields(a, "Privat", "Anrufen").set("URL", "http://von.a");
    expectAllAtRest();
    for (MemoryHome* each : {&a, &b}) {
        std::string notes;
        for (const auto& item : each->store.calendar("Privat")->items)
            notes += item.fields["Notes"].description() + "\n";
        EXPECT_THAT(notes, HasSubstr("von a"));
        EXPECT_THAT(notes, HasSubstr("von b"));
    }
}

TEST_P(PutBackServer, Rule21_AnOlderCopyOfAnItemAddsNothingToWhatItHasBecome)
{
    fields(a, "Privat", "Einkaufen").set("Notes", "erst dies");
    a.sync();
    b.sync();
    copy = *folder.read("server.db");
    fields(a, "Privat", "Einkaufen").set("Notes", "dann das");
    fields(a, "Privat", "Einkaufen").set("Sequence", "7");
    a.sync();
    putBack();
    growBy(GetParam() + 2);
    expectAllAtRest();
    for (MemoryHome* each : {&a, &b})
        EXPECT_EQ(fields(*each, "Privat", "Einkaufen")["Notes"], Value("dann das"));
}

TEST_P(PutBackServer, Rule21_ATitleThatACalendarHadOnceDoesNotComeBack)
{
    a.store.calendar("Privat")->title = "Zuhause";
    a.sync();
    b.sync();
    putBack();
    fields(b, "Arbeit", "Sitzung").set("URL", "http://von.b");
    b.sync();
    growBy(GetParam());
    a.sync(full());
    expectAllAtRest();
    for (MemoryHome* each : {&a, &b}) {
        EXPECT_NE(each->store.calendar("Zuhause"), nullptr);
        EXPECT_EQ(each->store.calendar("Privat"), nullptr);
    }
}

TEST_F(SyncEngineRules, Rule21_ADeletionDoesNotGoOverWhatWasWrittenSince)
{
    givenTwoHomes();
    auto& a = home("a");
    auto& b = home("b");
    const auto copy = *folder.read("server.db");
    fields(a, "Privat", "Zahnarzt").set("Notes", "von a");
    a.sync();
    folder.write("server.db", copy);
    fields(b, "Privat", "Zahnarzt").set("Location", "von b");
    b.sync();
    removeItem(a, "Privat", "Zahnarzt");
    EXPECT_EQ(a.sync().deletedOnServer, 0U);
    syncUntilRest();
    expectEqualHomes();
    ASSERT_NE(a.store.item("Privat", "Zahnarzt"), nullptr);
    EXPECT_EQ(fields(a, "Privat", "Zahnarzt")["Location"], Value("von b"));
    expectRest();
}

TEST_F(SyncEngineRules, Rule21_OfAServerWithItsPastNothingIsSaid)
{
    givenTwoHomes();
    for (int round = 0; round < 3; ++round) {
        for (const char* name : {"a", "b"}) {
            fields(home(name), "Privat", "Zahnarzt").set("Notes", name + std::to_string(round));
            EXPECT_THAT(home(name).sync().notices, IsEmpty());
        }
    }
    removeItem(home("a"), "Privat", "Zahnarzt");
    syncUntilRest();
    for (const auto& each : homes)
        EXPECT_THAT(each->sync(full()).notices, IsEmpty());
}

TEST_F(SyncEngineRules, Rule21_WhatWasDeletedInASwitchedOffCalendarIsNotHalfForgottenOnANewServer)
{
    givenTwoHomes();
    auto& a = home("a");
    auto& b = home("b");
    a.switchOff("Arbeit");
    a.sync();
    removeItem(a, "Arbeit", "Sitzung");
    a.sync();
    folder.remove("server.db");
    a.sync();
    b.sync();
    a.switchOn("Arbeit");
    syncUntilRest();
    expectEqualHomes();
    EXPECT_EQ(a.store.count("Sitzung") + b.store.count("Sitzung"), 0);
    expectRest();
}

}  // namespace
}  // namespace kt::test
