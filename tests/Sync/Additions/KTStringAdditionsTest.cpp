#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Additions/KTStringAdditions.h"
#include "Sync/Foundation/Exception.h"

namespace kt {
namespace {

TEST(StringWithData, TakesUTF8AndLoneHalvesOfPairs)
{
    EXPECT_EQ(stringWithData("Müller \U0001F384", StringEncoding::utf8), "Müller \U0001F384");
    EXPECT_EQ(stringWithData("\xED\xA0\xBC", StringEncoding::utf8), "\xED\xA0\xBC");
    EXPECT_EQ(stringWithData("", StringEncoding::utf8), "");
}

TEST(StringWithData, IsNilForDataThatIsNotOfTheEncoding)
{
    EXPECT_EQ(stringWithData("M\xFCller", StringEncoding::utf8), std::nullopt);
    EXPECT_EQ(stringWithData("Müller", StringEncoding::ascii), std::nullopt);
}

TEST(StringWithData, TakesOtherEncodings)
{
    EXPECT_EQ(stringWithData("M\xFCller", StringEncoding::isoLatin1), "Müller");
    EXPECT_EQ(stringWithData("Mueller", StringEncoding::ascii), "Mueller");
}

TEST(Digests, AreThoseOfTheUTF8Bytes)
{
    EXPECT_EQ(sha1DigestHex("abc"), "a9993e364706816aba3e25717850c26c9cd0d89d");
    EXPECT_EQ(md5DigestHex("abc"), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(sha1Digest("ä").bytes.size(), 20U);
    EXPECT_EQ(md5Digest("ä").bytes.size(), 16U);
    EXPECT_EQ(sha1DigestHex("ä"), "961fa22f61a56e19f3f5f8867901ac8cf5e6d11f");
    EXPECT_EQ(md5DigestHex("ä"), "8419b71c87a225a2c70b50486fbee545");
}

struct ContainsRow {
    std::string_view receiver;
    std::string_view string;
    bool contains;
    bool containsIgnoringCase;
};
class Contains : public testing::TestWithParam<ContainsRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, Contains,
    testing::Values(
        ContainsRow{"Kalender", "lend", true, true}, ContainsRow{"Kalender", "LEND", false, true},
        ContainsRow{"Kalender", "x", false, false}, ContainsRow{"Kalender", "", false, false},
        ContainsRow{"", "", false, false}, ContainsRow{"", "x", false, false},
        ContainsRow{"MÜLLER", "müll", false, true}, ContainsRow{"привет", "ПРИВЕТ", false, true},
        ContainsRow{"ΟΔΟΣ", "οδος", false, true}, ContainsRow{"ΟΔΟΣ", "οδός", false, false},
        ContainsRow{"a.b", "A.B", false, true}, ContainsRow{"a+b", "a.b", false, false}));
TEST_P(Contains, IsAPlainSearch)
{
    EXPECT_EQ(contains(GetParam().receiver, GetParam().string), GetParam().contains);
    EXPECT_EQ(containsIgnoringCase(GetParam().receiver, GetParam().string),
              GetParam().containsIgnoringCase);
}

TEST(ContainsAStringFromArray, GivesTheFirstInTheOrderOfTheArray)
{
    EXPECT_EQ(containsAStringFromArray("Kalender", {"x", "der", "Kal"}), "der");
    EXPECT_EQ(containsAStringFromArray("Kalender", {"x", ""}), std::nullopt);
    EXPECT_EQ(containsAStringFromArray("Kalender", {}), std::nullopt);
}

struct RangeRow {
    std::string_view receiver;
    std::string_view string;
    std::size_t fromIndex;
    Range range;
};
class RangeOfString : public testing::TestWithParam<RangeRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, RangeOfString,
                         testing::Values(RangeRow{"abcabc", "bc", 0, {1, 2}},
                                         RangeRow{"abcabc", "bc", 1, {1, 2}},
                                         RangeRow{"abcabc", "bc", 2, {4, 2}},
                                         RangeRow{"abcabc", "bc", 5, {}},
                                         RangeRow{"abcabc", "", 0, {}}, RangeRow{"abc", "c", 3, {}},
                                         RangeRow{"äöü", "ü", 1, {2, 1}},
                                         RangeRow{"\U0001F384x\U0001F384", "\U0001F384", 1, {3, 2}},
                                         RangeRow{"\U0001F384x", "x", 2, {2, 1}}));
TEST_P(RangeOfString, CountsCharacters)
{
    EXPECT_EQ(rangeOfString(GetParam().receiver, GetParam().string, GetParam().fromIndex),
              GetParam().range);
}

TEST(RangeOfString, IsNotFoundOutsideAnyText)
{
    EXPECT_EQ(rangeOfString("abc", "x", 0).location, Range::NSNotFound);
    EXPECT_THROW(rangeOfString("abc", "a", 4), Exception);
}

struct SubstringRow {
    std::string_view receiver;
    std::size_t fromIndex;
    std::size_t toIndex;
    std::optional<std::string> substring;
};
class SubstringFromIndex : public testing::TestWithParam<SubstringRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, SubstringFromIndex,
    testing::Values(SubstringRow{"abc", 0, 2, "ab"}, SubstringRow{"abc", 1, 2, "b"},
                    SubstringRow{"abc", 1, 1, ""}, SubstringRow{"abc", 0, 3, std::nullopt},
                    SubstringRow{"abc", 2, 1, std::nullopt}, SubstringRow{"", 0, 0, std::nullopt},
                    SubstringRow{"äöü", 1, 2, "ö"}, SubstringRow{"\U0001F384x", 0, 2, "\U0001F384"},
                    SubstringRow{"\U0001F384x", 0, 1, "\xED\xA0\xBC"}));
TEST_P(SubstringFromIndex, IsNilUnlessItEndsBeforeTheLastCharacter)
{
    EXPECT_EQ(substringFromIndex(GetParam().receiver, GetParam().fromIndex, GetParam().toIndex),
              GetParam().substring);
}

TEST(StringByReplacingAllOccurences, ReplacesEveryOne)
{
    EXPECT_EQ(stringByReplacingAllOccurencesOfString("aXbXc", "X", "--"), "a--b--c");
    EXPECT_EQ(stringByReplacingAllOccurencesOfString("aaa", "aa", "b"), "ba");
    EXPECT_EQ(stringByReplacingAllOccurencesOfString("aXb", "", "--"), "aXb");
    EXPECT_EQ(stringByReplacingAllOccurencesOfString("aXb", "x", "--"), "aXb");
}

TEST(ReplaceOccurrences, CountsWhatItReplaced)
{
    std::string text = "aXbX";
    EXPECT_EQ(replaceOccurrencesOfString(text, "X", "XX"), 2U);
    EXPECT_EQ(text, "aXXbXX");
    EXPECT_EQ(replaceOccurrencesOfString(text, "y", ""), 0U);
    EXPECT_EQ(text, "aXXbXX");
}

TEST(ReplaceLastOccurence, ReplacesTheLastOnly)
{
    std::string text = "aXbXc";
    EXPECT_EQ(replaceLastOccurenceOfString(text, "X", "--"), 1U);
    EXPECT_EQ(text, "aXb--c");
    EXPECT_EQ(replaceLastOccurenceOfString(text, "y", "z"), 0U);
    EXPECT_EQ(replaceLastOccurenceOfString(text, "", "z"), 0U);
    EXPECT_EQ(text, "aXb--c");
}

}  // namespace
}  // namespace kt
