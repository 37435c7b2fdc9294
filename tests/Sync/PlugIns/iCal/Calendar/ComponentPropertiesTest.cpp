#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/PlugIns/iCal/Calendar/ComponentProperties.h"
#include "tests/support/ExceptionOf.h"
#include "tests/support/ValuePrinting.h"

namespace kt::test {
namespace {

std::vector<std::string> keys(const ComponentProperties& properties)
{
    std::vector<std::string> keys;
    for (const auto& entry : properties)
        keys.emplace_back(entry.key);
    return keys;
}

TEST(ComponentProperties, KeepTheOrderInWhichKeysWereEntered)
{
    ComponentProperties properties{{"B", "1"}, {"A", "2"}};
    properties.set("C", "3");
    properties.set("B", "4");
    EXPECT_THAT(keys(properties), testing::ElementsAre("B", "A", "C"));
    EXPECT_EQ(properties["B"], Value("4"));
}

TEST(ComponentProperties, GiveNilForAnAbsentKey)
{
    const ComponentProperties properties{{"A", "1"}};
    EXPECT_TRUE(properties["B"].isNil());
    EXPECT_EQ(properties.size(), 1U);
}

TEST(ComponentProperties, GiveAValueAwayOnce)
{
    ComponentProperties properties{{"A", "1"}};
    EXPECT_EQ(properties.take("A"), Value("1"));
    EXPECT_TRUE(properties.take("A").isNil());
    EXPECT_TRUE(properties.take("B").isNil());
}

TEST(ComponentProperties, RefuseNilAsDictionariesDo)
{
    ComponentProperties properties;
    Dictionary dictionary;
    EXPECT_EQ(exceptionOf([&] { properties.set("A", Value()); }),
              exceptionOf([&] { dictionary.set("A", Value()); }));
    EXPECT_EQ(properties.size(), 0U);
}

TEST(ComponentProperties, BecomeADictionaryOfWhatTheyStillHold)
{
    ComponentProperties properties{{"A", "1"}, {"SUMMARY", "2"}, {"B", Array{1, 2}}};
    properties.take("A");
    EXPECT_EQ(Dictionary(properties), (Dictionary{{"SUMMARY", "2"}, {"B", Array{1, 2}}}));
}

TEST(ComponentProperties, FindNamesWithANumberAmongOthers)
{
    ComponentProperties properties{{"X-A", "1"}, {"UID", "2"}, {"SUMMARYX", "3"}};
    EXPECT_EQ(properties["UID"], Value("2"));
    EXPECT_TRUE(properties["SUMMARY"].isNil());
    properties.set("SUMMARY", "4");
    properties.set("UID", "5");
    EXPECT_EQ(properties[std::string("SUMMARY")], Value("4"));
    EXPECT_EQ(properties.take("UID"), Value("5"));
    EXPECT_THAT(keys(properties), testing::ElementsAre("X-A", "UID", "SUMMARYX", "SUMMARY"));
}

TEST(ComponentProperties, TellKeysApartThatLookAlike)
{
    ComponentProperties properties{{"ABC", "1"}, {"", "2"}};
    for (const std::string_view absent : {"AXC", "ABD", "XBC", "AC", "ABCC", "A"})
        EXPECT_TRUE(properties[absent].isNil()) << absent;
    properties.set("AXC", "3");
    EXPECT_EQ(properties["ABC"], Value("1"));
    EXPECT_EQ(properties[""], Value("2"));
    EXPECT_EQ(properties["AXC"], Value("3"));
}

TEST(ComponentProperties, FindEachOfThousandsOfKeys)
{
    std::vector<std::string> names;
    for (int number = 0; number < 5000; ++number)
        names.push_back("X-" + std::to_string(number));
    ComponentProperties properties;
    for (const std::string& name : names)
        properties.set(name, name);
    for (const std::string& name : names)
        EXPECT_EQ(properties[name], Value(name));
    EXPECT_TRUE(properties["X-5000"].isNil());
    EXPECT_EQ(properties.size(), names.size());
}

}  // namespace
}  // namespace kt::test
