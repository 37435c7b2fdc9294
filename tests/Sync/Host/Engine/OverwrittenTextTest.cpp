#include <algorithm>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Host/Engine/OverwrittenText.h"
#include "tests/Sync/Host/Engine/SyncEngineRules.h"

namespace kt::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

const RecordId kEvent{"ical-event", "e"};

std::vector<OverwrittenText> overwritten(const Dictionary& base, const Dictionary& local,
                                         const Dictionary& server, const Dictionary& merged)
{
    return overwrittenTexts(kEvent, {&base, local, server, merged});
}

TEST(Rule10, NamesTheTextThatGivesWay)
{
    const Dictionary base{{"Title", "Zahnarzt"}, {"Notes", "alt"}};
    const Dictionary local{{"Title", "Zahnarzt"}, {"Notes", "hier"}};
    const Dictionary server{{"Title", "Zahnarzt"}, {"Notes", "dort"}};
    EXPECT_THAT(overwritten(base, local, server, server),
                ElementsAre(OverwrittenText{kEvent, "Zahnarzt", "Notes", "hier"}));
    EXPECT_THAT(overwritten(base, local, server, local),
                ElementsAre(OverwrittenText{kEvent, "Zahnarzt", "Notes", "dort"}));
}

TEST(Rule10, NamesNothingThatNobodyWrote)
{
    const Dictionary base{{"Title", "Zahnarzt"}, {"Notes", "alt"}, {"URL", "a"}};
    const Dictionary changed{{"Title", "Zahnarzt"}, {"Notes", "neu"}, {"URL", "b"}};
    EXPECT_THAT(overwritten(base, base, changed, changed), IsEmpty());
    EXPECT_THAT(overwritten(base, changed, base, changed), IsEmpty());
    EXPECT_THAT(overwritten(base, changed, changed, changed), IsEmpty());
    const Dictionary without{{"Title", "Zahnarzt"}};
    EXPECT_THAT(overwritten(base, without, changed, changed), IsEmpty()) << "a text taken away";
}

TEST(Rule10, WithoutABaseEitherTextWasWritten)
{
    const Dictionary local{{"Title", "Zahnarzt"}, {"Location", "hier"}};
    const Dictionary server{{"Title", "Zahnarzt"}, {"Location", "dort"}};
    EXPECT_THAT(overwrittenTexts(kEvent, {nullptr, local, server, server}),
                ElementsAre(OverwrittenText{kEvent, "Zahnarzt", "Location", "hier"}));
}

TEST(Rule10, ALineForTheLogIsOneLineAndNotTooLong)
{
    EXPECT_EQ(lineForOverwritten({kEvent, "Zahnarzt", "Notes", "erste\r\nzweite"}),
              "'Zahnarzt', Notizen: auf zwei Geräten verschieden, nicht übernommen wurde \"erste  "
              "zweite\"");
    std::string enough;
    for (int count = 0; count < 200; ++count)
        enough += "ä";
    EXPECT_THAT(lineForOverwritten({kEvent, "Zahnarzt", "Title", enough}),
                testing::EndsWith("Titel: auf zwei Geräten verschieden, nicht übernommen wurde \"" +
                                  enough + "\""));
    EXPECT_THAT(lineForOverwritten({kEvent, "Zahnarzt", "Location", enough + "ä"}),
                testing::EndsWith("\"" + enough + "…\""));
}

std::size_t linesOfConflicts(const MemoryHome& home)
{
    return static_cast<std::size_t>(
        std::count_if(home.log.begin(), home.log.end(), [](const std::string& line) {
            return line.find("nicht übernommen wurde") != std::string::npos;
        }));
}

TEST_F(SyncEngineRules, Rule10_OfTwoTitlesTheOneThatGivesWayIsNamedOnce)
{
    givenTwoHomes();
    auto& a = home("a");
    auto& b = home("b");
    fields(a, "Privat", "Zahnarzt").set("Title", "Augenarzt");
    fields(a, "Privat", "Augenarzt").set("DateStamp", date("20080101T100000", "Etc/UTC"));
    fields(b, "Privat", "Zahnarzt").set("Title", "Hautarzt");
    fields(b, "Privat", "Hautarzt").set("DateStamp", date("20080101T110000", "Etc/UTC"));
    syncUntilRest();
    expectEqualHomes();
    EXPECT_EQ(a.store.count("Hautarzt"), 1);
    EXPECT_EQ(a.store.count("Augenarzt") + a.store.count("Zahnarzt"), 0);
    EXPECT_EQ(linesOfConflicts(a) + linesOfConflicts(b), 1U);
    EXPECT_THAT(b.log, Contains("'Hautarzt', Titel: auf zwei Geräten verschieden, nicht übernommen "
                                "wurde \"Augenarzt\""));
    expectRest();
    EXPECT_EQ(linesOfConflicts(a) + linesOfConflicts(b), 1U);
}

TEST_F(SyncEngineRules, Rule10_EditsOfDifferentTextsAreNoConflict)
{
    givenTwoHomes();
    fields(home("a"), "Privat", "Zahnarzt").set("Notes", "Karte");
    fields(home("b"), "Privat", "Zahnarzt").set("Location", "Praxis");
    syncUntilRest();
    EXPECT_EQ(linesOfConflicts(home("a")) + linesOfConflicts(home("b")), 0U);
}

TEST_F(SyncEngineRules, Rule10_ADryRunNamesNothing)
{
    givenTwoHomes();
    fields(home("a"), "Privat", "Zahnarzt").set("Notes", "von a");
    fields(home("b"), "Privat", "Zahnarzt").set("Notes", "von b");
    home("a").sync();
    Wishes dry;
    dry.dryRun = true;
    home("b").sync(dry);
    EXPECT_EQ(linesOfConflicts(home("b")), 0U);
}

TEST_F(SyncEngineRules, Rule10_AtAFirstMeetingTheTextThatGivesWayIsNamed)
{
    auto& a = home("a");
    auto& b = home("b");
    a.telling = b.telling = MemoryHome::Telling::noPlaces;
    a.store.calendars = {
        calendar("Privat", {event("Zahnarzt", "20071224T100000", {{"Location", "von a"}})})};
    b.store.calendars = {
        calendar("Privat", {event("Zahnarzt", "20071224T100000", {{"Location", "von b"}})})};
    syncUntilRest();
    expectEqualHomes();
    EXPECT_EQ(linesOfConflicts(a) + linesOfConflicts(b), 1U);
}

TEST_F(SyncEngineRules, Rule10_AtAFirstMeetingTheNotesOfBothStay)
{
    auto& a = home("a");
    auto& b = home("b");
    a.telling = b.telling = MemoryHome::Telling::noPlaces;
    a.store.calendars = {
        calendar("Privat", {event("Zahnarzt", "20071224T100000", {{"Notes", "von a"}})})};
    b.store.calendars = {
        calendar("Privat", {event("Zahnarzt", "20071224T100000", {{"Notes", "von b"}})})};
    syncUntilRest();
    expectEqualHomes();
    EXPECT_EQ(fields(a, "Privat", "Zahnarzt")["Notes"], Value("von a\\nvon b"));
    EXPECT_EQ(linesOfConflicts(a) + linesOfConflicts(b), 0U);
    expectRest();
}

TEST_F(SyncEngineRules, Rule10_TwoNewEventsOfOneKeyKeepBothNotes)
{
    givenTwoHomes();
    auto& a = home("a");
    auto& b = home("b");
    a.store.calendar("Privat")->items.push_back(
        event("Impfung", "20080110T100000", {{"Notes", "von a"}}));
    b.store.calendar("Privat")->items.push_back(
        event("Impfung", "20080110T100000", {{"Notes", "von b"}}));
    syncUntilRest();
    expectEqualHomes();
    std::string notes;
    for (const HomeItem& item : a.store.calendar("Privat")->items)
        notes += item.fields["Notes"].description() + "\n";
    EXPECT_THAT(notes, testing::HasSubstr("von a"));
    EXPECT_THAT(notes, testing::HasSubstr("von b"));
    expectRest();
}

}  // namespace
}  // namespace kt::test
