// Which folders of the 10.5 store are calendars, which groups, and who belongs to whom.

#include "tests/Sync/PlugIns/iCal/Calendar/Layout105ReaderFixture.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct FolderNameRow {
    const char* folder;
    std::optional<std::int32_t> calendarType;  // null: ignored
    friend void PrintTo(const FolderNameRow& row, std::ostream* out) { *out << row.folder; }
};
class Layout105FolderEnding : public Layout105Reader,
                              public ::testing::WithParamInterface<FolderNameRow> {};
INSTANTIATE_TEST_SUITE_P(Names, Layout105FolderEnding,
                         ::testing::Values(FolderNameRow{"A.calendar", kCalendarTypeNode},
                                           FolderNameRow{"A.group", kCalendarTypeGroup},
                                           FolderNameRow{"A.group.calendar", kCalendarTypeNode},
                                           FolderNameRow{"A.calendar.group", kCalendarTypeGroup},
                                           FolderNameRow{"A.calendar.alt", std::nullopt},
                                           FolderNameRow{"A.group.alt", std::nullopt},
                                           FolderNameRow{"A.imap", std::nullopt},
                                           FolderNameRow{"calendar", std::nullopt},
                                           FolderNameRow{"A.Calendar", std::nullopt}));

TEST_P(Layout105FolderEnding, SaysWhatTheFolderIs)
{
    writeFolder(GetParam().folder, without(calendarInfo("A", "Arbeit"), "Type"));
    const auto calendar = readTitled("Arbeit");
    EXPECT_EQ(calendar ? std::optional(calendar->calendarType()) : std::nullopt,
              GetParam().calendarType);
}

// Groups inside groups, and calendars in two of them.

class Layout105NestedGroup : public Layout105Reader,
                             public ::testing::WithParamInterface<const char*> {};
INSTANTIATE_TEST_SUITE_P(OuterFolders, Layout105NestedGroup,
                         ::testing::Values("A.group", "Z.group"));

TEST_P(Layout105NestedGroup, BelongsToTheGroupThatListsItInWhicheverOrderTheyAreRead)
{
    writeFolder(GetParam(), groupInfo("AUSSEN", "Außen", {"INNEN"}));
    writeFolder("M.group", groupInfo("INNEN", "Innen", {"B"}));
    writeCalendar("B", "Arbeit");
    const auto parsed = readStore();
    EXPECT_EQ(titled(parsed, "Innen")->parentRecordKey(), titled(parsed, "Außen")->recordKey());
    EXPECT_EQ(titled(parsed, "Arbeit")->parentRecordKey(), titled(parsed, "Innen")->recordKey());
}

class Layout105TwoGroups : public Layout105Reader,
                           public ::testing::WithParamInterface<const char*> {};
INSTANTIATE_TEST_SUITE_P(Members, Layout105TwoGroups, ::testing::Values("A", "H", "Z"));

TEST_P(Layout105TwoGroups, OfOneMemberTheOneReadLastHasIt)
{
    writeCalendar(GetParam(), "Arbeit");
    writeFolder("G.group", groupInfo("G", "Erste", {GetParam()}));
    writeFolder("I.group", groupInfo("I", "Zweite", {GetParam()}));
    const auto parsed = readStore();
    // A member between the groups has got its parent before the second one is read.
    EXPECT_EQ(titled(parsed, "Arbeit")->parentRecordKey(), titled(parsed, "Zweite")->recordKey());
}

// Sharing that cannot be read.

TEST_F(Layout105Reader, LogsThePropertyListAndTheExceptionOfAPublicationOfTheWrongKind)
{
    const Dictionary info = with(calendarInfo("A", "Arbeit"), "Publication", "kein Wörterbuch");
    readOne(info);
    EXPECT_THAT(host.fileLog(),
                ElementsAre("[KTSyncCalendarStore parseMacOS105Calendars(Publication)]:\n" +
                            info.description() + "\nWörterbuch erwartet, Text gefunden"));
    EXPECT_THAT(platform.consoleLines(), IsEmpty());
}

}  // namespace
}  // namespace kt::test
