#include <string>

#include <gtest/gtest.h>

#include "Sync/Foundation/Digest.h"
#include "Sync/Host/Engine/RecordPast.h"

namespace kt::test {
namespace {

TEST(RecordPast, OfAnOriginThatIsNotKnownNothingIsSaid)
{
    EXPECT_TRUE(haveOtherOrigins("a", "b"));
    EXPECT_FALSE(haveOtherOrigins("a", "a"));
    EXPECT_FALSE(haveOtherOrigins("", "b"));
    EXPECT_FALSE(haveOtherOrigins("a", ""));
}

TEST(RecordPast, WhatWasBroughtTogetherHasBothOriginsOnceEachInWhateverOrder)
{
    EXPECT_EQ(joinedOrigins("b", "a"), "a b");
    EXPECT_EQ(joinedOrigins("a b", "b c"), "a b c");
    EXPECT_EQ(joinedOrigins("a", "a"), "a");
    EXPECT_TRUE(haveOtherOrigins(joinedOrigins("a", "b"), "a"));
    EXPECT_EQ(joinedOrigins("", "a"), "");
    EXPECT_EQ(joinedOrigins("a", ""), "");
}

TEST(RecordPast, TheLastFewHashesAreKnown)
{
    const auto hashOf = [](int number) { return sha1DigestHex(std::to_string(number)); };
    std::string former;
    for (int number = 0; number < 12; ++number)
        former = formerOf(hashOf(number), former);
    EXPECT_TRUE(wasFormerly(former, hashOf(11)));
    EXPECT_TRUE(wasFormerly(former, hashOf(4)));
    EXPECT_FALSE(wasFormerly(former, hashOf(3)));
    EXPECT_FALSE(wasFormerly(former, hashOf(12)));
    EXPECT_EQ(formerOf(hashOf(8), former), former) << "once each";
    EXPECT_FALSE(wasFormerly(former, ""));
    EXPECT_FALSE(wasFormerly("", hashOf(1)));
}

}  // namespace
}  // namespace kt::test
