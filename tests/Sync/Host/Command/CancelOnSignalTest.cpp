#include <csignal>

#include <gtest/gtest.h>

#include "Sync/Host/Command/CancelOnSignal.h"
#include "tests/support/SmallPlugin.h"

namespace kt {
namespace {

class CountingPlugin : public test::SmallPlugin {
public:
    CountingPlugin() : SmallPlugin(nullptr) {}
    bool cancelSync() override { return ++cancels > 0; }

    int cancels = 0;
};

class CancelOnSignalTest : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(Signals, CancelOnSignalTest, testing::Values(SIGINT, SIGTERM));

TEST_P(CancelOnSignalTest, TheFirstSignalCancelsTheRun)
{
    CountingPlugin plugin;
    const CancelOnSignal cancel(plugin);
    std::raise(GetParam());
    EXPECT_EQ(plugin.cancels, 1);
}

TEST_P(CancelOnSignalTest, ASecondOneEndsTheProgram)
{
    EXPECT_EXIT(
        {
            CountingPlugin plugin;
            const CancelOnSignal cancel(plugin);
            std::raise(GetParam());
            std::raise(GetParam());
        },
        testing::KilledBySignal(GetParam()), "");
}

TEST_P(CancelOnSignalTest, AfterwardsSignalsAreAsBefore)
{
    {
        CountingPlugin plugin;
        const CancelOnSignal cancel(plugin);
    }
    struct sigaction action {};
    ::sigaction(GetParam(), nullptr, &action);
    EXPECT_EQ(action.sa_handler, SIG_DFL);
}

}  // namespace
}  // namespace kt
