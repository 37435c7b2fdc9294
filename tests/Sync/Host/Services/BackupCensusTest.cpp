#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/PropertyList.h"
#include "Sync/Host/Services/BackupCensus.h"

namespace kt {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(BackupCensus, CountsWhateverTheBlocks)
{
    const std::string text =
        "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nDESCRIPTION:BEGIN:VEVENT\r\n" + std::string(200, 'x') +
        "\r\nEND:VEVENT\r\nBEGIN:VEVENTS\r\nBEGIN:VTODO\nEND:VTODO\nBEGIN:VALARM\r\n";
    for (std::size_t block = 1; block <= text.size(); ++block) {
        BackupCensus census;
        for (std::size_t begin = 0; begin < text.size(); begin += block)
            census.add("Calendars/A.calendar/Events/1.ics", text.substr(begin, block));
        EXPECT_EQ(census.calendars().front().items, 2U) << block;
    }
}

struct PathRow {
    const char* path;
    bool counts;
};
class CensusPath : public testing::TestWithParam<PathRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, CensusPath,
    testing::Values(PathRow{"Calendars/A.calendar/Info.plist", true},
                    PathRow{"Calendars/A.calendar/Events/x.ics", true},
                    PathRow{"iCal/Sources/A.calendar/corestorage.ics", true},
                    PathRow{"iCal/Sources.bak/A.calendar/corestorage.ics", false},
                    PathRow{"Calendars/A.calendar/x.ics", false},
                    PathRow{"Calendars/A.calendar/Events/x.txt", false},
                    PathRow{"Calendars/G.group/Info.plist", false},
                    PathRow{"A.calendar/Info.plist", false}, PathRow{"Calendars/x.ics", false}));

TEST_P(CensusPath, IsOfACalendarOrNot)
{
    EXPECT_EQ(BackupCensus::counts(GetParam().path), GetParam().counts);
}

TEST(BackupCensus, KnowsACalendarByItsDescriptionElseByItsFolder)
{
    BackupCensus census;
    census.add("Calendars/A.calendar/Info.plist",
               xmlPropertyList(Dictionary{{"Key", "ANDERS"}, {"Title", "Privat"}}));
    census.add("Calendars/B.calendar/Info.plist", "kaputt");
    EXPECT_THAT(census.calendars(),
                ElementsAre(BackupCalendar{"Calendars/A.calendar", "Privat", "ANDERS",
                                           "dfebaa6f40bbf05414e5adfe8101652919a636c7", 0},
                            BackupCalendar{"Calendars/B.calendar", "", "B", "", 0}));
    EXPECT_THAT(BackupCensus().calendars(), IsEmpty());
}

}  // namespace
}  // namespace kt
