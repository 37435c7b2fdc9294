#include <algorithm>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/PlugIns/iCal/Calendar/RawProperties.h"
#include "tests/support/ValuePrinting.h"

namespace kt::test {
namespace {

using testing::ElementsAre;

std::vector<std::string> keys(const RawProperties& properties)
{
    std::vector<std::string> keys;
    for (const RawProperty& property : properties)
        keys.emplace_back(property.key);
    return keys;
}

TEST(RawProperties, EnterAKeyOnce)
{
    RawProperties properties;
    const auto [first, isFirstNew] = properties.enter("UID", 3);
    const auto [other, isOtherNew] = properties.enter("X-A", 3);
    EXPECT_TRUE(isFirstNew);
    EXPECT_TRUE(isOtherNew);
    EXPECT_EQ(properties.enter("UID", 3), std::pair(first, false));
    EXPECT_EQ(properties.enter("X-A", 3), std::pair(other, false));
    EXPECT_THAT(keys(properties), ElementsAre("UID", "X-A"));
}

TEST(RawProperties, TellKeysOfOneNameApart)
{
    const RawProperties properties{{"URL", "a"}, {"URL;VALUE=URI", "b"}, {"URL;VALUE=URL", "c"}};
    EXPECT_THAT(keys(properties), ElementsAre("URL", "URL;VALUE=URI", "URL;VALUE=URL"));
    EXPECT_EQ(properties.valueNamed("URL"), Value("a"));
}

TEST(RawProperties, SplitAKeyIntoNameAndParameters)
{
    const RawProperties properties{{"DTSTART;TZID=A;X=B", "1"}, {"X-A", "2"}, {";", "3"}};
    EXPECT_EQ(properties.begin()->name().text(), "DTSTART");
    EXPECT_TRUE(properties.begin()->name().isNumbered());
    EXPECT_EQ(properties.begin()->parameters(), ";TZID=A;X=B");
    EXPECT_EQ((properties.begin() + 1)->name().text(), "X-A");
    EXPECT_EQ((properties.begin() + 1)->parameters(), "");
    EXPECT_EQ((properties.begin() + 2)->name().text(), "");
    EXPECT_EQ((properties.begin() + 2)->parameters(), ";");
}

TEST(RawProperties, HaveNoValueUnderANameThatOnlyStandsWithParameters)
{
    const RawProperties properties{{"UID;X=Y", "a"}, {"X-A;X=Y", "b"}};
    EXPECT_TRUE(properties.valueNamed("UID").isNil());
    EXPECT_TRUE(properties.valueNamed("X-A").isNil());
}

TEST(RawProperties, KnowWhetherANumberedNameStandsUnderSeveralKeys)
{
    EXPECT_FALSE(RawProperties().haveNamesOfSeveralKeys());
    EXPECT_FALSE((RawProperties{{"URL", "a"}, {"UID", "b"}}).haveNamesOfSeveralKeys());
    EXPECT_FALSE((RawProperties{{"X-A", "a"}, {"X-A;B=C", "b"}}).haveNamesOfSeveralKeys());
    EXPECT_TRUE((RawProperties{{"URL", "a"}, {"URL;B=C", "b"}}).haveNamesOfSeveralKeys());
}

TEST(RawProperty, IsATextOrWhatWasGathered)
{
    RawProperty property("A", "A");
    property.setText("one line");
    EXPECT_EQ(property.text(), "one line");
    EXPECT_EQ(property.value(), Value("one line"));
    property.setValue("unfolded");
    EXPECT_EQ(property.text(), "unfolded");
    property.setValue(Array{"a", "b"});
    EXPECT_EQ(property.text(), std::nullopt);
    EXPECT_EQ(property.value(), Value(Array{"a", "b"}));
    property.setText("again");
    EXPECT_EQ(property.value(), Value("again"));
}

TEST(RawProperties, AreMadeFromADictionaryAndBecomeOne)
{
    const Dictionary dictionary{{"UID", "1"}, {"X-B;C=D", Array{1, 2}}, {"", ""}};
    EXPECT_EQ(Dictionary(RawProperties(dictionary)), dictionary);
}

TEST(RawProperties, FindEachOfThousandsOfKeys)
{
    std::vector<std::string> names;
    for (int number = 0; number < 5000; ++number)
        names.push_back("X-" + std::to_string(number));
    RawProperties properties;
    for (const std::string& name : names)
        properties.enter(name, name.size());
    for (std::size_t place = 0; place < names.size(); ++place)
        EXPECT_EQ(properties.enter(names[place], names[place].size()), std::pair(place, false));
    EXPECT_EQ(properties.size(), names.size());
}

TEST(RawProperties, FindManyKeysAmongNumberedNames)
{
    std::vector<std::string> all;
    for (int number = 0; number < 40; ++number) {
        all.push_back("X-" + std::to_string(number));
        all.push_back("URL;X=" + std::to_string(number));
    }
    for (const char* name : {"SUMMARY", "UID", "URL"})
        all.insert(all.begin() + 20, name);
    all.push_back("LOCATION");
    all.push_back("X-40");
    RawProperties properties;
    for (const std::string& key : all)
        EXPECT_TRUE(properties.enter(key, std::min(key.find(';'), key.size())).second) << key;
    for (std::size_t place = 0; place < all.size(); ++place)
        EXPECT_EQ(properties.enter(all[place], std::min(all[place].find(';'), all[place].size())),
                  std::pair(place, false));
}

}  // namespace
}  // namespace kt::test
