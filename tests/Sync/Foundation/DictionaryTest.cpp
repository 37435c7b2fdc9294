#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "Sync/Foundation/Dictionary.h"
#include "tests/support/ExceptionOf.h"
#include "tests/support/ValuePrinting.h"

namespace kt {
namespace {

using test::exceptionOf;
using testing::ElementsAre;

std::vector<std::string> keysOf(const Dictionary& dictionary)
{
    std::vector<std::string> keys;
    for (const auto& entry : dictionary)
        keys.push_back(entry.first);
    return keys;
}

TEST(Dictionary, KeepsTheOrderInWhichKeysWereFirstSet)
{
    Dictionary dictionary{{"z", 1}, {"a", 2}};
    dictionary.set("m", 3);
    dictionary.set("z", 4);
    EXPECT_THAT(keysOf(dictionary), ElementsAre("z", "a", "m"));
    EXPECT_EQ(dictionary["z"], Value(4));
}

TEST(Dictionary, TakesTheLastOfEqualKeysInAList)
{
    const Dictionary dictionary{{"a", 1}, {"b", 2}, {"a", 3}};
    EXPECT_THAT(keysOf(dictionary), ElementsAre("a", "b"));
    EXPECT_EQ(dictionary["a"], Value(3));
}

TEST(Dictionary, RefusesNil)
{
    Dictionary dictionary;
    EXPECT_EQ(exceptionOf([&] { dictionary.set("key", Value()); }),
              "NSInvalidArgumentException: nil kann nicht in ein Wörterbuch (Schlüssel: key)");
    EXPECT_TRUE(dictionary.empty());
    EXPECT_NE(exceptionOf([] { Dictionary({{"key", nullptr}}); }), "");
}

TEST(Dictionary, LeavesEverythingAsItIsForNilThatMayBeAbsent)
{
    Dictionary dictionary{{"a", 1}};
    dictionary.setIfPresent("a", Value());
    dictionary.setIfPresent("b", std::optional<std::string>());
    dictionary.setIfPresent("c", "");
    EXPECT_EQ(dictionary, (Dictionary{{"a", 1}, {"c", ""}}));
}

TEST(Dictionary, AnswersNilForAnAbsentKey)
{
    const Dictionary dictionary{{"a", 1}};
    EXPECT_TRUE(dictionary["b"].isNil());
    EXPECT_EQ(dictionary.find("b"), nullptr);
    EXPECT_FALSE(dictionary.contains("b"));
    EXPECT_TRUE(dictionary.contains("a"));
}

TEST(Dictionary, RemovesAndForgets)
{
    Dictionary dictionary{{"a", 1}, {"b", 2}, {"c", 3}};
    dictionary.remove("b");
    dictionary.remove("absent");
    EXPECT_THAT(keysOf(dictionary), ElementsAre("a", "c"));
    dictionary.set("b", 4);
    EXPECT_THAT(keysOf(dictionary), ElementsAre("a", "c", "b"));
    dictionary.clear();
    EXPECT_TRUE(dictionary.empty());
    EXPECT_EQ(dictionary.begin(), dictionary.end());
    EXPECT_EQ(dictionary["a"], Value());
}

TEST(Dictionary, TakesTheOthersEntriesOverItsOwn)
{
    Dictionary dictionary{{"a", 1}, {"b", 2}};
    dictionary.merge({{"b", 3}, {"c", 4}});
    EXPECT_EQ(dictionary, (Dictionary{{"a", 1}, {"b", 3}, {"c", 4}}));
    dictionary.merge(dictionary);
    EXPECT_EQ(dictionary.size(), 3U);
}

TEST(Dictionary, IsEqualInWhateverOrder)
{
    EXPECT_EQ((Dictionary{{"a", 1}, {"b", true}}), (Dictionary{{"b", 1.0}, {"a", 1}}));
    EXPECT_FALSE((Dictionary{{"a", 1}}) == (Dictionary{{"a", 1}, {"b", 2}}));
    EXPECT_FALSE((Dictionary{{"a", 1}}) == (Dictionary{{"a", 2}}));
}

TEST(Dictionary, IsUsableAfterItWasMovedFrom)
{
    for (const int count : {3, 100}) {
        Dictionary source;
        for (int number = 0; number < count; ++number)
            source.set(std::to_string(number), number);
        source.remove("0");
        const Dictionary target = std::move(source);
        EXPECT_EQ(target.size(), static_cast<std::size_t>(count) - 1);
        source = Dictionary();
        source.set("a", 1);
        EXPECT_EQ(source, (Dictionary{{"a", 1}}));
    }
}

TEST(Dictionary, StaysInOrderWhenMostOfManyKeysAreRemoved)
{
    constexpr int kCount = 50'000;
    Dictionary dictionary;
    for (int number = 0; number < kCount; ++number)
        dictionary.set(std::to_string(number), number);
    while (dictionary.size() > 3)
        dictionary.remove(std::string(dictionary.begin()->first));
    EXPECT_THAT(keysOf(dictionary), ElementsAre("49997", "49998", "49999"));
}

TEST(Dictionary, DescribesItselfWithAscendingKeys)
{
    EXPECT_EQ((Dictionary{{"b", "x y"}, {"a", 1}}).description(),
              "{\n    a = 1;\n    b = \"x y\";\n}");
}

/// The same operations on a map and a list of keys; few keys, so that they meet again.
RC_GTEST_PROP(DictionaryModel, BehavesAsAMapWithAnOrder, ())
{
    Dictionary dictionary;
    std::map<std::string, int> values;
    std::vector<std::string> order;
    const auto steps = *rc::gen::container<std::vector<std::pair<int, int>>>(
        rc::gen::pair(rc::gen::inRange(0, 90), rc::gen::inRange(-2, 6)));
    // Some begin beyond the handful of keys that are looked up without an index.
    for (int number = 0; number < *rc::gen::element(0, 30, 80); ++number) {
        dictionary.set(std::to_string(number), number);
        values.emplace(std::to_string(number), number);
        order.push_back(std::to_string(number));
    }
    for (const auto& step : steps) {
        const std::string key = std::to_string(step.first);
        if (step.second < 0) {
            dictionary.remove(key);
            values.erase(key);
            order.erase(std::remove(order.begin(), order.end(), key), order.end());
        } else {
            dictionary.set(key, step.second);
            if (values.insert_or_assign(key, step.second).second)
                order.push_back(key);
        }
    }
    RC_ASSERT(dictionary.size() == values.size());
    RC_ASSERT(keysOf(dictionary) == order);
    for (const auto& [key, value] : values)
        RC_ASSERT(dictionary[key] == Value(value));
    const Dictionary copy = dictionary;
    RC_ASSERT(copy == dictionary);
}

}  // namespace
}  // namespace kt
