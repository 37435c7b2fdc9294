#include <string>

#include <gtest/gtest.h>

#include "Sync/Foundation/Digest.h"
#include "Sync/Host/Engine/LocalState.h"
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

TEST(RecordPast, ItsOriginIsWhatTheStoreKnowsAnItemByAndOtherwiseItsContent)
{
    const std::string series = originOf("ical-event", {"uid", "a.ics"}, "hash");
    EXPECT_EQ(series, originOf("ical-event", {"uid", "b.ics"}, "other hash"));
    EXPECT_NE(series, originOf("ical-event", {"uid", "a.ics", "20071224"}, "hash"));
    EXPECT_NE(series, originOf("ical-task", {"uid", "a.ics"}, "hash"));
    EXPECT_EQ(originOf("ical-event", {"", "a.ics"}, "hash"), "hash");
    EXPECT_EQ(originOf("ical-calendar", {"", "folder"}, "hash"), "hash");
    EXPECT_EQ(originOfIdentity("ical-event", {"", "a.ics"}), "");
}

TEST(RecordPast, AStoresOwnNameIsFoundAmongSeveral)
{
    const std::string a = originOfIdentity("ical-event", {"a"});
    const std::string b = originOfIdentity("ical-event", {"b"});
    EXPECT_TRUE(hasOrigin(joinedOrigins(a, b), b));
    EXPECT_FALSE(hasOrigin(a, b));
    EXPECT_FALSE(hasOrigin(a, ""));
    EXPECT_TRUE(excludesIdentity(a, b));
    EXPECT_FALSE(excludesIdentity(joinedOrigins(a, b), b));
    EXPECT_FALSE(excludesIdentity("", b)) << "nothing is known of it";
    EXPECT_FALSE(excludesIdentity(joinedOrigins(a, "hash"), b)) << "it may have been that";
    EXPECT_FALSE(excludesIdentity(a, "")) << "this store cannot tell";
}

}  // namespace
}  // namespace kt::test
