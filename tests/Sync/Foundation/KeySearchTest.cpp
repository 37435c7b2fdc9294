#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Sync/Foundation/KeySearch.h"

namespace kt {
namespace {

std::size_t positionIn(const std::vector<std::string>& keys, std::string_view key)
{
    return positionOfKey(keys, key,
                         [](const std::string& entry) { return std::string_view(entry); });
}

TEST(KeySearch, FindsTheFirstEqualKeyAmongKeysThatAreAlike)
{
    const std::vector<std::string> keys{"Titel", "Tisch", "Titel ", "", "titel", "Titel"};
    EXPECT_EQ(positionIn(keys, "Titel"), 0U);
    EXPECT_EQ(positionIn(keys, "Tisch"), 1U);
    EXPECT_EQ(positionIn(keys, "Titel "), 2U);
    EXPECT_EQ(positionIn(keys, ""), 3U);
    EXPECT_EQ(positionIn(keys, "titel"), 4U);
}

TEST(KeySearch, GivesTheNumberOfEntriesForAKeyThatIsNone)
{
    EXPECT_EQ(positionIn({}, "a"), 0U);
    EXPECT_EQ(positionIn({"b", "ab", "A"}, "a"), 3U);
    EXPECT_EQ(positionIn({"b"}, ""), 1U);
}

TEST(KeySearch, ComparesBytesBehindANul)
{
    EXPECT_EQ(positionIn({std::string("a\0b", 3), std::string("a\0c", 3)},
                         std::string_view("a\0c", 3)),
              1U);
}

}  // namespace
}  // namespace kt
