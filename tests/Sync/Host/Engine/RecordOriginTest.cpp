#include <gtest/gtest.h>

#include "Sync/Host/Engine/RecordOrigin.h"

namespace kt::test {
namespace {

TEST(RecordOrigin, OfWhatIsNotKnownNothingIsSaid)
{
    EXPECT_TRUE(haveOtherOrigins("a", "b"));
    EXPECT_FALSE(haveOtherOrigins("a", "a"));
    EXPECT_FALSE(haveOtherOrigins("", "b"));
    EXPECT_FALSE(haveOtherOrigins("a", ""));
}

TEST(RecordOrigin, WhatWasBroughtTogetherHasBothOnceEachInWhateverOrder)
{
    EXPECT_EQ(joinedOrigins("b", "a"), "a b");
    EXPECT_EQ(joinedOrigins("a b", "b c"), "a b c");
    EXPECT_EQ(joinedOrigins("a", "a"), "a");
    EXPECT_TRUE(haveOtherOrigins(joinedOrigins("a", "b"), "a"));
    EXPECT_EQ(joinedOrigins("", "a"), "");
    EXPECT_EQ(joinedOrigins("a", ""), "");
}

}  // namespace
}  // namespace kt::test
