#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "tests/histories/Shrinking.h"
#include "tests/histories/Verdict.h"

namespace kt::test {
namespace {

// Up to five machines of both layouts, the real plug-in on each, and whatever may happen to them. A
// seed is a history; it is printed with what went wrong and played again with
//     ICALSYNC_SEED=17 ICALSYNC_HISTORIES=1 test_histories
// More of them, from that seed on, through ICALSYNC_HISTORIES; one that is written down, as the
// report shows it, through ICALSYNC_HISTORY, the name of a file. ICALSYNC_STORY tells what happens.

constexpr std::int64_t kFirstSeed = 1;
constexpr std::int64_t kHistories = 40;
constexpr std::int64_t kSecondsToShrink = 60;

std::int64_t numberFromEnvironment(const char* name, std::int64_t otherwise)
{
    const char* text = std::getenv(name);
    return text == nullptr || *text == '\0' ? otherwise : std::atoll(text);
}

History historyOfSeed(std::int64_t seed)
{
    if (const char* path = std::getenv("ICALSYNC_HISTORY")) {
        std::ifstream file(path);
        return historyInText({std::istreambuf_iterator<char>(file), {}});
    }
    return histories()(rc::Random(static_cast<std::uint64_t>(seed)), rc::kNominalSize).value();
}

/// What went wrong, as it is played again, and the smallest history that still goes wrong.
std::string report(std::int64_t seed, const History& history)
{
    const std::chrono::seconds time(numberFromEnvironment("ICALSYNC_SHRINK", kSecondsToShrink));
    const History smallest = shrunk(
        history, [](const History& each) { return !play(each).fault.empty(); }, time);
    const Verdict verdict = play(smallest);
    return "ICALSYNC_SEED=" + std::to_string(seed) + "\n" + play(history).fault + "\nshrunk to\n" +
           description(smallest) + "\n" + verdict.story + verdict.fault;
}

TEST(Histories, EndWithEqualRecordsNothingMissingAndNothingDoubled)
{
    const std::int64_t first = numberFromEnvironment("ICALSYNC_SEED", kFirstSeed);
    const std::int64_t count = numberFromEnvironment("ICALSYNC_HISTORIES", kHistories);
    for (std::int64_t seed = first; seed < first + count; ++seed) {
        const History history = historyOfSeed(seed);
        const Verdict verdict = play(history);
        if (std::getenv("ICALSYNC_STORY") != nullptr)
            std::printf("seed %lld\n%s", static_cast<long long>(seed), verdict.story.c_str());
        EXPECT_TRUE(verdict.fault.empty()) << report(seed, history);
    }
}

TEST(Histories, AreTheSameWheneverTheyArePlayed)
{
    const History history = historyOfSeed(4);
    const Verdict once = play(history);
    EXPECT_EQ(play(history).digest, once.digest);
    EXPECT_EQ(play(history).story, once.story);
}

}  // namespace
}  // namespace kt::test
