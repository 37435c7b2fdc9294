#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/HostInterface/Guard.h"
#include "tests/support/ExceptionOf.h"
#include "tests/support/RecordingFileLogger.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

[[noreturn]] void fail() { throw Exception(NSGenericException, "Grund"); }

TEST(Guard, GivesTheResultOfItsBodyAndLogsNothing)
{
    RecordingFileLogger logger;
    EXPECT_EQ(guarded(&logger, "%@", [] { return 7; }), 7);
    EXPECT_EQ(guarded(
                  &logger, "%@%@", [] { return "x"; }, [] { return 8; }),
              8);
    EXPECT_THAT(logger.entries(), IsEmpty());
}

TEST(Guard, LogsAnExceptionAndThrowsItOn)
{
    RecordingFileLogger logger;
    EXPECT_EQ(exceptionOf([&] { guarded(&logger, "[a]: %@", fail); }), "NSGenericException: Grund");
    EXPECT_THAT(logger.entries(), ElementsAre("[a]: Grund"));
}

TEST(Guard, LogsTheContextAsItWasWhenTheBodyFailed)
{
    RecordingFileLogger logger;
    std::string state = "before";
    const auto body = [&] {
        state = "after";
        fail();
    };
    EXPECT_EQ(exceptionOf([&] {
                  guarded(
                      &logger, "%@: %@", [&] { return state; }, body);
              }),
              "NSGenericException: Grund");
    EXPECT_THAT(logger.entries(), ElementsAre("after: Grund"));
}

TEST(Guard, ThrowsOnWithoutALogger)
{
    EXPECT_EQ(exceptionOf([] { guarded(nullptr, "%@", fail); }), "NSGenericException: Grund");
}

TEST(Guard, LetsWhatIsNoExceptionPassUntouched)
{
    RecordingFileLogger logger;
    const auto throwNumber = [] { throw 7; };
    bool hasFailed = false;
    EXPECT_THROW(guarded(&logger, "%@", throwNumber), int);
    EXPECT_THROW(guarded(
                     &logger, "%@%@", [] { return "x"; }, throwNumber),
                 int);
    EXPECT_THROW(guardedOr(throwNumber, [&](const Exception&) { hasFailed = true; }), int);
    EXPECT_FALSE(hasFailed);
    EXPECT_THAT(logger.entries(), IsEmpty());
}

TEST(Guard, PutsAnotherResultInThePlaceOfAFailedOne)
{
    const auto reasonOf = [](const Exception& exception) { return exception.reason(); };
    EXPECT_EQ(guardedOr([] { return std::string("gut"); }, reasonOf), "gut");
    EXPECT_EQ(guardedOr([]() -> std::string { fail(); }, reasonOf), "Grund");
}

}  // namespace
}  // namespace kt::test
