#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Sync/PlugIns/iCal/Calendar/DigestTable.h"

namespace kt {
namespace {

/// A table with the list whose positions it holds.
class DigestTableTest : public testing::Test {
protected:
    std::uint32_t enter(const SHA1Digest& digest)
    {
        const auto position = static_cast<std::uint32_t>(list.size());
        const std::uint32_t known =
            table.enter(digest, position, [&](std::uint32_t at) { return list.at(at); });
        if (known == position)
            list.push_back(digest);
        return known;
    }

    std::vector<SHA1Digest> list;
    DigestTable table;
};

TEST_F(DigestTableTest, GivesThePositionOfAnEqualDigest)
{
    EXPECT_EQ(enter(sha1DigestBytes("a")), 0U);
    EXPECT_EQ(enter(sha1DigestBytes("b")), 1U);
    EXPECT_EQ(enter(sha1DigestBytes("a")), 0U);
    EXPECT_EQ(enter(sha1DigestBytes("c")), 2U);
    EXPECT_EQ(list.size(), 3U);
}

TEST_F(DigestTableTest, TellsDigestsApartThatBeginAlike)
{
    SHA1Digest digest{};
    for (std::uint8_t last = 0; last < 100; ++last) {
        digest.back() = last;
        EXPECT_EQ(enter(digest), last);
    }
    for (std::uint8_t last = 0; last < 100; ++last) {
        digest.back() = last;
        EXPECT_EQ(enter(digest), last);
    }
}

TEST_F(DigestTableTest, FindsEachOfThousandsWhileItGrows)
{
    constexpr std::uint32_t kMany = 5000;
    for (std::uint32_t number = 0; number < kMany; ++number)
        ASSERT_EQ(enter(sha1DigestBytes(std::to_string(number))), number);
    for (std::uint32_t number = 0; number < kMany; ++number)
        ASSERT_EQ(enter(sha1DigestBytes(std::to_string(number))), number);
}

TEST_F(DigestTableTest, KeepsWhatItHoldsWhenRoomIsMade)
{
    enter(sha1DigestBytes("a"));
    table.reserve(10'000);
    enter(sha1DigestBytes("b"));
    table.reserve(0);
    EXPECT_EQ(enter(sha1DigestBytes("a")), 0U);
    EXPECT_EQ(enter(sha1DigestBytes("b")), 1U);
}

}  // namespace
}  // namespace kt
