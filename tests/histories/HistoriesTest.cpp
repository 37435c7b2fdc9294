#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "tests/histories/Verdict.h"

namespace kt::test {
namespace {

// Up to five machines of both layouts, the real plug-in on each, and whatever may happen to them. A
// seed is a history; it is printed with what went wrong and played again with
//     ICALSYNC_SEED=17 ICALSYNC_HISTORIES=1 test_histories
// More of them, from that seed on, through ICALSYNC_HISTORIES.

constexpr std::int64_t kFirstSeed = 1;
constexpr std::int64_t kHistories = 20;
constexpr auto kTimeToShrink = std::chrono::minutes(2);

std::int64_t numberFromEnvironment(const char* name, std::int64_t otherwise)
{
    const char* text = std::getenv(name);
    return text == nullptr || *text == '\0' ? otherwise : std::atoll(text);
}

rc::Shrinkable<History> historyOfSeed(std::int64_t seed)
{
    return histories()(rc::Random(static_cast<std::uint64_t>(seed)), rc::kNominalSize);
}

/// The smallest history found in time that still ends wrong.
std::pair<History, Verdict> shrunk(rc::Shrinkable<History> failing, Verdict verdict)
{
    const auto end = std::chrono::steady_clock::now() + kTimeToShrink;
    for (bool isSmaller = true; isSmaller;) {
        isSmaller = false;
        auto candidates = failing.shrinks();
        while (auto candidate = candidates.next()) {
            if (std::chrono::steady_clock::now() > end)
                return {failing.value(), verdict};
            Verdict smaller = play(candidate->value());
            if (smaller.fault.empty())
                continue;
            failing = *candidate;
            verdict = std::move(smaller);
            isSmaller = true;
            break;
        }
    }
    return {failing.value(), verdict};
}

TEST(Histories, EndWithEqualRecordsNothingMissingAndNothingDoubled)
{
    const std::int64_t first = numberFromEnvironment("ICALSYNC_SEED", kFirstSeed);
    const std::int64_t count = numberFromEnvironment("ICALSYNC_HISTORIES", kHistories);
    for (std::int64_t seed = first; seed < first + count; ++seed) {
        const auto history = historyOfSeed(seed);
        Verdict verdict = play(history.value());
        if (std::getenv("ICALSYNC_STORY") != nullptr)
            std::printf("seed %lld\n%s", static_cast<long long>(seed), verdict.story.c_str());
        if (verdict.fault.empty())
            continue;
        const std::string before = verdict.fault;
        const auto [smallest, fault] = shrunk(history, std::move(verdict));
        FAIL() << "ICALSYNC_SEED=" << seed << "\n"
               << before << "\nshrunk to " << description(smallest) << "\n"
               << fault.story << fault.fault;
    }
}

TEST(Histories, AreTheSameWheneverTheyArePlayed)
{
    const History history = historyOfSeed(4).value();
    const Verdict once = play(history);
    EXPECT_EQ(play(history).digest, once.digest);
    EXPECT_EQ(play(history).story, once.story);
}

}  // namespace
}  // namespace kt::test
