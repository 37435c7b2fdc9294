#include <string>

#include <gtest/gtest.h>

#include "tests/histories/Verdict.h"

namespace kt::test {
namespace {

// Histories that once ended wrong, each as small as it could be made.

struct Found {
    const char* name;
    History history;
};

class FoundHistory : public testing::TestWithParam<Found> {};

TEST_P(FoundHistory, EndsWell)
{
    const Verdict verdict = play(GetParam().history);
    EXPECT_EQ(verdict.fault, "") << verdict.story;
}

INSTANTIATE_TEST_SUITE_P(
    Once, FoundHistory,
    testing::Values(
        Found{"TheDescriptionOfANew104CalendarCouldNotBeWritten",
              {2,
               {{Do::addItem, 0, 0, 0},
                {Do::sync, 1, 0, 0},
                {Do::sync, 0, 0, 0},
                {Do::syncFailing, 1, 10, 0}}}},
        Found{"ATaskWasReplacedByAnotherOfItsTitleAndThenEditedElsewhere",
              {2,
               {{Do::addItem, 0, 0, 0},
                {Do::sync, 0, 0, 0},
                {Do::sync, 1, 0, 0},
                {Do::remove, 0, 0, 0},
                {Do::addItem, 0, 0, 0},
                {Do::edit, 1, 0, 1},
                {Do::sync, 1, 0, 0},
                {Do::sync, 0, 0, 0}}}},
        Found{"ARewriteWasCutBetweenTheNewPlaceOfAMovedItemAndItsOldOne",
              {2,
               {{Do::addItem, 0, 0, 0},
                {Do::addCalendar, 0, 0, 0},
                {Do::sync, 0, 0, 0},
                {Do::sync, 1, 0, 0},
                {Do::move, 0, 0, 1},
                {Do::sync, 0, 0, 0},
                {Do::syncKilled, 1, 17, 0}}}},
        Found{"AnItemOfASwitchedOffCalendarWasGivenAnotherTitleBeforeTheRewriteWasSettled",
              {2,
               {{Do::addItem, 0, 0, 0},
                {Do::sync, 0, 0, 0},
                {Do::toggle, 0, 0, 0},
                {Do::syncKilled, 0, 4, 0},
                {Do::edit, 0, 0, 0}}}},
        Found{"ASwitchedOffCalendarWasDeletedAndCameBackWithAnItemThatWasMovedIntoIt",
              {2,
               {{Do::addCalendar, 0, 0, 0},
                {Do::addItem, 0, 0, 0},
                {Do::sync, 0, 0, 0},
                {Do::sync, 1, 0, 0},
                {Do::toggle, 0, 1, 0},
                {Do::removeAnyCalendar, 0, 1, 0},
                {Do::move, 1, 0, 1},
                {Do::sync, 1, 0, 0},
                {Do::sync, 0, 0, 0},
                {Do::toggle, 0, 1, 0}}}},
        Found{"ACalendarCameWhileItWasSwitchedOffAndItsTaskWasGivenAnotherTitle",
              {2,
               {{Do::copyStore, 1, 0, 0},
                {Do::addItem, 1, 0, 0},
                {Do::addItem, 0, 0, 0},
                {Do::toggle, 1, 0, 0},
                {Do::sync, 0, 0, 0},
                {Do::putStoreBack, 1, 0, 0},
                {Do::edit, 0, 0, 0}}}},
        Found{"ARenamedCalendarCameAfterTheRewriteThatFirstBroughtItHadFailed",
              {2,
               {{Do::sync, 1, 0, 0},
                {Do::sync, 0, 0, 0},
                {Do::syncWithoutRoom, 1, 12, 0},
                {Do::rename, 4, 0, 0},
                {Do::addItem, 1, 0, 0},
                {Do::addCalendar, 0, 0, 0},
                {Do::syncCancelled, 4, 14, 0},
                {Do::syncKilled, 1, 39, 0},
                {Do::addItem, 1, 10, 0}}}},
        Found{"ARenamedCalendarMetANewOneOfItsFormerTitle",
              {2,
               {{Do::sync, 0, 0, 0},
                {Do::rename, 0, 0, 0},
                {Do::addItem, 1, 0, 1},
                {Do::addCalendar, 1, 0, 0},
                {Do::sync, 0, 0, 0},
                {Do::sync, 1, 0, 0},
                {Do::addItem, 1, 57, 0}}}}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace kt::test
