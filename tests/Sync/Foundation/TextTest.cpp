#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "Sync/Foundation/Text.h"
#include "tests/support/ValueGenerator.h"

namespace kt {
namespace {

using test::Alphabet;
using testing::ElementsAre;
using testing::TestWithParam;
using testing::Values;

const std::string kGrin = "\xF0\x9F\x98\x80";  // U+1F600, a pair in UTF-16
const std::string kHigh = "\xED\xA0\xBD";      // its first half
const std::string kLow = "\xED\xB8\x80";       // its second half
const std::string kUmlaut = "\xC3\xA4";        // U+00E4

struct LengthRow {
    std::string text;
    std::size_t units;
};

class TextUTF16Length : public TestWithParam<LengthRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, TextUTF16Length,
    Values(LengthRow{"", 0}, LengthRow{"abc", 3}, LengthRow{std::string(100, 'x'), 100},
           LengthRow{kUmlaut, 1}, LengthRow{"\xE2\x82\xAC", 1}, LengthRow{kGrin, 2},
           LengthRow{kHigh, 1}, LengthRow{kHigh + kLow, 2},
           LengthRow{"a" + kUmlaut + kGrin + "b", 5}, LengthRow{"\xFF\xFE", 2},
           LengthRow{"\xC3", 1}, LengthRow{"\xF0\x9F\x98", 3},
           LengthRow{std::string(9, 'x') + kUmlaut + std::string(9, 'y'), 19}));

TEST_P(TextUTF16Length, CountsUnits) { EXPECT_EQ(utf16Length(GetParam().text), GetParam().units); }

struct PartRow {
    std::string text;
    std::size_t offset;
    std::size_t length;
    std::string part;
};

class TextUTF16Substring : public TestWithParam<PartRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, TextUTF16Substring,
    Values(PartRow{"abcdef", 1, 3, "bcd"}, PartRow{"abc", 0, 99, "abc"}, PartRow{"abc", 3, 1, ""},
           PartRow{"abc", 9, 1, ""}, PartRow{"abc", 1, SIZE_MAX, "bc"},
           PartRow{"abc", SIZE_MAX, SIZE_MAX, ""}, PartRow{"abc", 1, 0, ""}, PartRow{"", 0, 5, ""},
           PartRow{"a" + kUmlaut + "b", 1, 1, kUmlaut}, PartRow{"a" + kGrin + "b", 1, 2, kGrin},
           PartRow{"a" + kGrin + "b", 0, 2, "a" + kHigh},
           PartRow{"a" + kGrin + "b", 2, 2, kLow + "b"}, PartRow{"a" + kGrin + "b", 2, 1, kLow},
           PartRow{"a" + kGrin + "b", 2, 0, ""}, PartRow{"a" + kGrin + "b", 1, 1, kHigh},
           PartRow{kGrin + kGrin, 1, 2, kLow + kHigh}, PartRow{kHigh + "x", 0, 1, kHigh},
           PartRow{"\xFFz", 0, 1, "\xFF"}));

TEST_P(TextUTF16Substring, CutsBetweenUnits)
{
    const auto& [text, offset, length, part] = GetParam();
    EXPECT_EQ(utf16Substring(text, offset, length), part);
}

struct ReadableRow {
    std::string bytes;
    bool isReadable;
};

class TextReadableUTF8 : public TestWithParam<ReadableRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, TextReadableUTF8,
    Values(ReadableRow{"", true}, ReadableRow{std::string("a\0b", 3), true},
           ReadableRow{kUmlaut, true}, ReadableRow{kGrin, true}, ReadableRow{kHigh, true},
           ReadableRow{kLow + kHigh, true}, ReadableRow{"\xF4\x8F\xBF\xBF", true},
           ReadableRow{"\xF4\x90\x80\x80", false}, ReadableRow{"\xF5\x80\x80\x80", false},
           ReadableRow{"\xC0\x80", false}, ReadableRow{"\xC1\xBF", false},
           ReadableRow{"\xE0\x80\x80", false}, ReadableRow{"\xF0\x80\x80\x80", false},
           ReadableRow{"\x80", false}, ReadableRow{"\xFF", false},
           ReadableRow{"abcdefgh\xC3", false}, ReadableRow{"\xC3(", false},
           ReadableRow{"\xE2\x82", false}, ReadableRow{"\xE4 ", false}));

TEST_P(TextReadableUTF8, AcceptsHalvesAndNothingElseOdd)
{
    EXPECT_EQ(isReadableUTF8(GetParam().bytes), GetParam().isReadable);
}

// Text is looked through in blocks, so what is no ASCII may stand anywhere in one or behind the
// last.
TEST(Text, OtherThanASCIIIsFoundWhereverItStands)
{
    for (std::size_t length = 0; length <= 80; ++length) {
        for (std::size_t position = 0; position <= length; ++position) {
            std::string text(length, 'x');
            text.insert(position, "ä");
            EXPECT_TRUE(isReadableUTF8(text)) << length << " " << position;
            EXPECT_EQ(utf16Length(text), length + 1) << length << " " << position;
            text.erase(position, 1);
            EXPECT_FALSE(isReadableUTF8(text)) << length << " " << position;
        }
    }
}

TEST(Text, JoinsHalvesThatBelongTogether)
{
    EXPECT_EQ(joinedSurrogateHalves("a" + kHigh + kLow + "b"), "a" + kGrin + "b");
    EXPECT_EQ(joinedSurrogateHalves(kHigh + kHigh + kLow + kLow), kHigh + kGrin + kLow);
    EXPECT_EQ(joinedSurrogateHalves(kLow + kHigh), kLow + kHigh);
    EXPECT_EQ(joinedSurrogateHalves(kHigh), kHigh);
    EXPECT_EQ(joinedSurrogateHalves("\xED\x9F\xBF"), "\xED\x9F\xBF");
    EXPECT_EQ(joinedSurrogateHalves("\xED"), "\xED");
    EXPECT_EQ(joinedSurrogateHalves(""), "");
}

TEST(Text, SeparatesComponents)
{
    EXPECT_THAT(componentsSeparatedByString("a,,b", ","), ElementsAre("a", "", "b"));
    EXPECT_THAT(componentsSeparatedByString("", ","), ElementsAre(""));
    EXPECT_THAT(componentsSeparatedByString(",", ","), ElementsAre("", ""));
    EXPECT_THAT(componentsSeparatedByString("a\r\nb\r\n", "\r\n"), ElementsAre("a", "b", ""));
    EXPECT_THAT(componentsSeparatedByString("aaa", "aa"), ElementsAre("", "a"));
    EXPECT_THAT(componentsSeparatedByString("abc", ""), ElementsAre("abc"));
}

TEST(Text, KnowsDigitsOfASCIIOnly)
{
    for (int byte = 0; byte < 256; ++byte)
        EXPECT_EQ(isDecimalDigit(static_cast<char>(byte)), byte >= '0' && byte <= '9') << byte;
}

RC_GTEST_PROP(TextPieces, GiveTheTextAgainWhereverItIsCut, ())
{
    const std::string text = *test::texts(Alphabet::withoutHalves);
    const std::size_t length = utf16Length(text);
    const std::size_t width = *rc::gen::inRange<std::size_t>(1, 10);
    std::string joined;
    for (std::size_t offset = 0; offset < length; offset += width) {
        const std::string piece = utf16Substring(text, offset, width);
        RC_ASSERT(utf16Length(piece) == std::min(width, length - offset));
        RC_ASSERT(isReadableUTF8(piece));
        joined += piece;
    }
    RC_ASSERT(joinedSurrogateHalves(joined) == text);
}

RC_GTEST_PROP(TextBytes, AreCountedAndCutWithoutLossWhateverTheyAre, (const std::string& bytes))
{
    const std::size_t length = utf16Length(bytes);
    RC_ASSERT(length <= bytes.size());
    RC_ASSERT(utf16Substring(bytes, 0, length) == bytes);
}

}  // namespace
}  // namespace kt
