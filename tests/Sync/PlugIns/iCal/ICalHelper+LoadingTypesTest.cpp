// What loading does with calendars of each type, switched on and off.

#include "tests/Sync/PlugIns/iCal/LoadingFixture.h"

namespace kt::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

struct TypeRow {
    const char* type;  // as an Info.plist names it
    std::int32_t calendarType;
    std::vector<std::string> records;
    friend void PrintTo(const TypeRow& row, std::ostream* out) { *out << row.type; }
};
class LoadingOfType : public Loading, public ::testing::WithParamInterface<TypeRow> {
protected:
    LoadingOfType() { writeCalendarThatIsSelected(true); }

    void writeCalendarThatIsSelected(bool isSelected)
    {
        writeFolder("A.calendar", with(with(calendarInfo("A", "Eins"), "Type", GetParam().type),
                                       "Checked", isSelected));
        writeItems("A", "1.ics", eventLines("Termin") + taskLines("Aufgabe"));
    }
    std::int32_t itemsOf(const std::string& conduit) const
    {
        const auto isOfConduit = [&](const std::string& record) {
            return record.starts_with(conduit);
        };
        return static_cast<std::int32_t>(
            std::count_if(GetParam().records.begin(), GetParam().records.end(), isOfConduit));
    }
    const std::string key = keyOf("Eins", GetParam().calendarType);
};
INSTANTIATE_TEST_SUITE_P(
    Types, LoadingOfType,
    ::testing::Values(TypeRow{"Local",
                              kCalendarTypeNode,
                              {"ical-calendar Eins", "ical-event Termin", "ical-task Aufgabe"}},
                      TypeRow{"Subscription",
                              kCalendarTypeSubscriber,
                              {"ical-calendar Eins", "ical-event Termin", "ical-task Aufgabe"}},
                      TypeRow{"Birthday", kCalendarTypeBirthday, {"ical-calendar Eins"}}));

TEST_P(LoadingOfType, SwitchesItOnWhenItIsSeenForTheFirstTimeAndCountsIt)
{
    EXPECT_EQ(titles(loaded()), GetParam().records);
    EXPECT_EQ(activated[key], Value(1));
    EXPECT_THAT(host.messages(), Contains("Kalender 'Eins' wurde aktiviert"));
    EXPECT_THAT(keysToSync, ElementsAre(key));
    EXPECT_EQ(numCalendars, 1);
    EXPECT_EQ(numEvents, itemsOf("ical-event"));
    EXPECT_EQ(numTasks, itemsOf("ical-task"));
    EXPECT_EQ(numSkippedCalendars, 0);
}

TEST_P(LoadingOfType, PutsASwitchedOffOneAsideAndCountsItAsSkipped)
{
    activated.set(key, 0);
    EXPECT_THAT(loaded(), IsEmpty());
    EXPECT_EQ(titles(skipped), GetParam().records);
    EXPECT_EQ(numSkippedCalendars, 1);
    EXPECT_EQ(numCalendars, 0);
    EXPECT_EQ(numEvents, 0);
    EXPECT_EQ(numTasks, 0);
    EXPECT_THAT(keysToSync, IsEmpty());
}

TEST_P(LoadingOfType, RemembersThatItIsNotSelected)
{
    writeCalendarThatIsSelected(false);
    loaded();
    EXPECT_THAT(notSelected, UnorderedElementsAre(key));
}

TEST_F(Loading, GivesExactlyOneRecordForAGroup)
{
    writeFolder("G.group", groupInfo("G", "Gruppe", {}));
    writeItems("G", "1.ics", eventLines("Termin") + taskLines("Aufgabe"));
    EXPECT_THAT(titles(loaded()), ElementsAre("ical-calendar Gruppe"));
    EXPECT_EQ(numCalendars, 1);
    EXPECT_EQ(numEvents, 0);
    EXPECT_EQ(numTasks, 0);
}

struct SwitchRow {
    Value value;
    bool isOn;
};
class LoadingSwitch : public Loading, public ::testing::WithParamInterface<SwitchRow> {};
INSTANTIATE_TEST_SUITE_P(Values, LoadingSwitch,
                         ::testing::Values(SwitchRow{1, true}, SwitchRow{2, true},
                                           SwitchRow{-1, true}, SwitchRow{0.5, true},
                                           SwitchRow{true, true}, SwitchRow{0, false},
                                           SwitchRow{0.0, false}, SwitchRow{false, false}));

TEST_P(LoadingSwitch, IsOnForEveryNumberButNought)
{
    writeCalendar("A", "Arbeit");
    activated.set(keyOf("Arbeit"), GetParam().value);
    EXPECT_EQ(loaded().size(), GetParam().isOn ? 1U : 0U);
    EXPECT_EQ(numSkippedCalendars, GetParam().isOn ? 0 : 1);
    EXPECT_EQ(activated[keyOf("Arbeit")], GetParam().value);
}

}  // namespace
}  // namespace kt::test
