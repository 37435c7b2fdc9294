#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Sync/Foundation/SharedText.h"

namespace kt {
namespace {

// Below, at and above what stands in the object itself.
class SharedTextOfLength : public testing::TestWithParam<std::size_t> {
protected:
    const std::string text = std::string(GetParam(), 'x');
};
INSTANTIATE_TEST_SUITE_P(Lengths, SharedTextOfLength, testing::Values(0, 1, 14, 15, 16, 17, 1000));

TEST_P(SharedTextOfLength, GivesBackWhatItWasMadeOf) { EXPECT_EQ(SharedText(text).view(), text); }

TEST_P(SharedTextOfLength, OutlivesWhatItWasCopiedFrom)
{
    SharedText copy;
    {
        const SharedText original(text);
        copy = original;
        EXPECT_EQ(original.view(), text);
    }
    EXPECT_EQ(copy.view(), text);
}

TEST_P(SharedTextOfLength, IsEmptyOnceItWasMovedFrom)
{
    SharedText source(text);
    SharedText target(std::move(source));
    EXPECT_EQ(target.view(), text);
    EXPECT_EQ(source.view(), "");
    source = std::move(target);
    EXPECT_EQ(source.view(), text);
}

TEST_P(SharedTextOfLength, SurvivesBeingAssignedToItself)
{
    SharedText one(text);
    const SharedText& same = one;
    one = same;
    EXPECT_EQ(one.view(), text);
}

TEST_P(SharedTextOfLength, KeepsItsOwnTextWhenAnotherIsAssignedToItsCopy)
{
    const SharedText original(text);
    std::vector<SharedText> copies(3, original);
    copies[1] = SharedText("ein anderer Text, der nicht hineinpasst");
    EXPECT_EQ(copies[0].view(), text);
    EXPECT_EQ(copies[1].view(), "ein anderer Text, der nicht hineinpasst");
    EXPECT_EQ(original.view(), text);
}

TEST(SharedText, HoldsEveryByte)
{
    const std::string bytes("a\0b\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF", 15);
    EXPECT_EQ(SharedText(bytes).view(), bytes);
    EXPECT_EQ(SharedText(bytes + bytes).view(), bytes + bytes);
}

TEST(SharedText, SharesWhatDoesNotFitIntoItself)
{
    const SharedText original("ein Text, der nicht hineinpasst");
    const SharedText copy = original;
    EXPECT_EQ(copy.view().data(), original.view().data());
}

}  // namespace
}  // namespace kt
