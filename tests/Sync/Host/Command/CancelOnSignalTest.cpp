#include <csignal>

#include <gtest/gtest.h>

#include "Sync/Host/Command/CancelOnSignal.h"
#include "tests/support/SmallPlugin.h"

namespace kt {
namespace {

constexpr const char* kPatience = "einen Moment noch\n";

class CountingPlugin : public test::SmallPlugin {
public:
    CountingPlugin() : SmallPlugin(nullptr) {}
    bool cancelSync() override { return ++cancels > 0; }

    int cancels = 0;
};

class CancelOnSignalTest : public testing::TestWithParam<int> {
protected:
    StopWish wish;
};
INSTANTIATE_TEST_SUITE_P(Signals, CancelOnSignalTest, testing::Values(SIGINT, SIGTERM));

TEST_P(CancelOnSignalTest, TheFirstSignalIsTheWishAndIsPassedOn)
{
    CountingPlugin plugin;
    const StopWish::Listener listener(wish, plugin);
    const CancelOnSignal cancel(wish, kPatience);
    EXPECT_FALSE(wish.isThere());
    std::raise(GetParam());
    EXPECT_TRUE(wish.isThere());
    EXPECT_EQ(plugin.cancels, 1);
}

TEST_P(CancelOnSignalTest, WithoutAListenerTheWishIsKept)
{
    const CancelOnSignal cancel(wish, kPatience);
    std::raise(GetParam());
    EXPECT_TRUE(wish.isThere());
}

TEST_P(CancelOnSignalTest, TheFirstSignalSaysNothing)
{
    const CancelOnSignal cancel(wish, kPatience);
    testing::internal::CaptureStderr();
    std::raise(GetParam());
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_P(CancelOnSignalTest, TheSecondOneAsksForPatienceAndTheRunGoesOn)
{
    EXPECT_EXIT(
        {
            const CancelOnSignal cancel(wish, kPatience);
            std::raise(GetParam());
            std::raise(GetParam());
            std::_Exit(7);
        },
        testing::ExitedWithCode(7), kPatience);
}

TEST_P(CancelOnSignalTest, TheThirdOneEndsTheProgram)
{
    EXPECT_EXIT(
        {
            const CancelOnSignal cancel(wish, kPatience);
            std::raise(GetParam());
            std::raise(GetParam());
            std::raise(GetParam());
            std::_Exit(7);
        },
        testing::KilledBySignal(GetParam()), kPatience);
}

TEST_P(CancelOnSignalTest, BothSignalsCountTogether)
{
    EXPECT_EXIT(
        {
            const CancelOnSignal cancel(wish, kPatience);
            std::raise(SIGINT);
            std::raise(SIGTERM);
            std::raise(GetParam());
            std::_Exit(7);
        },
        testing::KilledBySignal(GetParam()), kPatience);
}

TEST_P(CancelOnSignalTest, AfterwardsSignalsAreAsBefore)
{
    {
        const CancelOnSignal cancel(wish, kPatience);
    }
    struct sigaction action {};
    ::sigaction(GetParam(), nullptr, &action);
    EXPECT_EQ(action.sa_handler, SIG_DFL);
}

}  // namespace
}  // namespace kt
