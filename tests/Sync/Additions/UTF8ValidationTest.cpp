#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "Sync/Additions/UTF8Validation.h"
#include "Sync/Foundation/Text.h"
#include "tests/support/PlatformScope.h"

namespace kt {
namespace {

using namespace std::string_literals;
using test::PlatformScope;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;
using testing::TestWithParam;
using testing::Values;

bool isLegal(const std::vector<std::uint8_t>& bytes)
{
    return isLegalUTF8Char(bytes.data(), static_cast<std::int32_t>(bytes.size()));
}

struct LeadByteRow {
    std::uint8_t first;
    std::uint8_t last;
    std::size_t length;
};
class UTF8SequenceLength : public TestWithParam<LeadByteRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, UTF8SequenceLength,
                         Values(LeadByteRow{0x00, 0xBF, 1}, LeadByteRow{0xC0, 0xDF, 2},
                                LeadByteRow{0xE0, 0xEF, 3}, LeadByteRow{0xF0, 0xF7, 4},
                                LeadByteRow{0xF8, 0xFB, 5}, LeadByteRow{0xFC, 0xFF, 6}));
TEST_P(UTF8SequenceLength, IsThatOfTheLeadBytesRange)
{
    for (int byte = GetParam().first; byte <= GetParam().last; ++byte)
        EXPECT_EQ(utf8SequenceLength(static_cast<std::uint8_t>(byte)), GetParam().length) << byte;
}

struct SequenceRow {
    std::vector<std::uint8_t> bytes;
    bool isLegal;
};
class IsLegalUTF8Char : public TestWithParam<SequenceRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, IsLegalUTF8Char,
    Values(
        SequenceRow{{0x00}, true}, SequenceRow{{0x7F}, true}, SequenceRow{{0x80}, false},
        SequenceRow{{0xC1}, false}, SequenceRow{{0xF5}, false},
        // The length is the caller's: a lead byte alone breaks no rule.
        SequenceRow{{0xC2}, true}, SequenceRow{{0xF4}, true}, SequenceRow{{'a', 0x80}, true},
        SequenceRow{{0xC2, 0x80}, true}, SequenceRow{{0xDF, 0xBF}, true},
        SequenceRow{{0xC1, 0xBF}, false}, SequenceRow{{0xC2, 0x7F}, false},
        SequenceRow{{0xC2, 0xC0}, false}, SequenceRow{{0xE0, 0xA0, 0x80}, true},
        SequenceRow{{0xE0, 0x9F, 0x80}, false}, SequenceRow{{0xE0, 0xC0, 0x80}, false},
        SequenceRow{{0xED, 0xA0, 0x80}, true}, SequenceRow{{0xED, 0xBF, 0xBF}, true},
        SequenceRow{{0xEF, 0xBF, 0xBF}, true}, SequenceRow{{0xE1, 0x80, 0x7F}, false},
        SequenceRow{{0xE1, 0x80, 0xC0}, false}, SequenceRow{{0xF0, 0x90, 0x80, 0x80}, true},
        SequenceRow{{0xF0, 0x8F, 0xBF, 0xBF}, false}, SequenceRow{{0xF0, 0xC0, 0xBF, 0xBF}, false},
        SequenceRow{{0xF4, 0x8F, 0xBF, 0xBF}, true}, SequenceRow{{0xF4, 0x90, 0x80, 0x80}, false},
        // The lead byte F4 has an upper bound alone.
        SequenceRow{{0xF4, 0x7F, 0x80, 0x80}, true}, SequenceRow{{0xF4, 0x00, 0x80, 0x80}, true},
        SequenceRow{{0xF4, 0x7F, 0x7F, 0x80}, false}, SequenceRow{{0xF5, 0x80, 0x80, 0x80}, false},
        SequenceRow{{0xF1, 0x80, 0x80, 0x7F}, false}, SequenceRow{{0xF1, 0x80, 0x80, 0xC0}, false},
        SequenceRow{{0xF1, 0x80, 0x7F, 0x80}, false},
        SequenceRow{{0xF8, 0x88, 0x80, 0x80, 0x80}, false},
        SequenceRow{{0xFC, 0x84, 0x80, 0x80, 0x80, 0x80}, false}));
TEST_P(IsLegalUTF8Char, Tells) { EXPECT_EQ(isLegal(GetParam().bytes), GetParam().isLegal); }

TEST(UTF8Validation, AcceptsEncodedSurrogates)
{
    EXPECT_TRUE(isLegal({0xED, 0xA0, 0x80}));
    EXPECT_TRUE(isLegal({0xED, 0xB0, 0x80}));
}

TEST(UTF8Validation, AcceptsTheLastCharacter) { EXPECT_TRUE(isLegal({0xF4, 0x8F, 0xBF, 0xBF})); }

TEST(UTF8Validation, RejectsOverlongFormsAndNumbersBeyondTheLastCharacter)
{
    EXPECT_FALSE(isLegal({0xC1, 0xBF}));
    EXPECT_FALSE(isLegal({0xE0, 0x9F, 0x80}));
    EXPECT_FALSE(isLegal({0xF0, 0x8F, 0xBF, 0xBF}));
    EXPECT_FALSE(isLegal({0xF4, 0x90, 0x80, 0x80}));
    EXPECT_FALSE(isLegal({0xF5, 0x80, 0x80, 0x80}));
}

TEST(UTF8Validation, RejectsEveryOtherLengthWithoutReadingAByte)
{
    constexpr auto kLeast = std::numeric_limits<std::int32_t>::min();
    constexpr auto kMost = std::numeric_limits<std::int32_t>::max();
    for (const std::int32_t length : {kLeast, -1, 0, 5, 6, 7, kMost})
        EXPECT_FALSE(isLegalUTF8Char(nullptr, length)) << length;
}

TEST(IsValidUTF8, HoldsForPlainASCIIWithTabsAndLineBreaks)
{
    PlatformScope platform;
    EXPECT_TRUE(isValidUTF8("Termin\tum 9\r\nim B\x7Fro\n"));
    EXPECT_TRUE(isValidUTF8(""));
    EXPECT_THAT(platform.consoleLines(), IsEmpty());
}

TEST(IsValidUTF8, DoesNotHoldForAnyCharacterOutsideASCII)
{
    PlatformScope platform;
    for (const std::string_view text :
         {"\u00E4", "B\u00FCro", "\u20AC", "\U0001F600", "\xED\xA0\x80"})
        EXPECT_FALSE(isValidUTF8(text)) << text;
    EXPECT_THAT(platform.consoleLines(), IsEmpty());
}

TEST(IsValidUTF8, LogsAControlCharacterWithItsValueAndTheText)
{
    PlatformScope platform;
    EXPECT_FALSE(isValidUTF8("a\x01z"));
    EXPECT_FALSE(isValidUTF8("100 %@\x1F"));
    EXPECT_THAT(platform.consoleLines(), ElementsAre("control character '1' in 'a\x01z'",
                                                     "control character '31' in '100 %@\x1F'"));
}

TEST(IsValidUTF8, DoesNotHoldForBytesThatAreNoCharacter)
{
    PlatformScope platform;
    for (const std::string& text : {"a\x80"s, "\xFF\xFE"s, "\xC3"s, "\xE4\xB8"s, "\xF0\x9F\x98"s,
                                    "\xC3(z"s, "\xC0\x80"s, "\xF8zzzz"s, "\xFDzzzzz"s})
        EXPECT_FALSE(isValidUTF8(text)) << text;
    EXPECT_THAT(platform.consoleLines(), IsEmpty());
}

TEST(IsValidUTF8, DoesNotHoldForANULInsideTheText)
{
    EXPECT_FALSE(isValidUTF8("a\0b"s));
    EXPECT_FALSE(isValidUTF8("\u00E4\0"s));
}

struct CleanRow {
    std::string text;
    std::string clean;
};
class ValidUTF8String : public TestWithParam<CleanRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, ValidUTF8String,
    Values(CleanRow{"", ""}, CleanRow{"\a\x1B", ""}, CleanRow{"B\u00FCro", "B\u00FCro"},
           CleanRow{"\t\n\r\v\f\x1F ", "\t\n\r "}, CleanRow{"\U0001F600", "\U0001F600"},
           CleanRow{"\xED\xA0\xBD", "\xED\xA0\xBD"},  // half a pair, as a fold may leave it
           CleanRow{"a\x80z", "az"}, CleanRow{"a\xC1\xBFz", "az"},
           CleanRow{"a\xF4\x90\x80\x80z", "az"},
           // A bad lead byte takes along what it lays claim to.
           CleanRow{"\xC3(z", "z"},
           CleanRow{"\xF8"
                    "1234z",
                    "z"},
           CleanRow{"\xFC"
                    "12345z",
                    "z"},
           CleanRow{"\xE4z", ""}, CleanRow{"a\xF0\x9F\x98", "a"}, CleanRow{"a\xFD", "a"},
           // The text ends at its NUL, even where a lead byte points past it.
           CleanRow{"a\0z"s, "a"}, CleanRow{"a\xE4\0\0z"s, "a"}));
TEST_P(ValidUTF8String, Keeps)
{
    EXPECT_THAT(validUTF8String(GetParam().text), Optional(GetParam().clean));
}

TEST(UTF8Validation, CleansAwayBellAndEscape)
{
    EXPECT_THAT(validUTF8String("Pa\x07use\x1B um 9"), Optional("Pause um 9"s));
}

TEST(UTF8Validation, GivesNoTextWhereALegalSequenceIsNoUTF8)
{
    EXPECT_EQ(validUTF8String("a\xF4\x7F\x80\x80z"), std::nullopt);
}

std::string textOf(const std::vector<std::uint8_t>& bytes) { return {bytes.begin(), bytes.end()}; }

/// Where the byte table lets more pass than the text layer reads.
bool holdsLooseSequence(const std::vector<std::uint8_t>& bytes)
{
    const auto isLoose = [](std::uint8_t lead, std::uint8_t second) {
        return lead == 0xF4 && second < 0x80;
    };
    return std::adjacent_find(bytes.begin(), bytes.end(), isLoose) != bytes.end();
}

RC_GTEST_PROP(UTF8ValidationProperties, WhatWasCleanedIsReadableAndStaysAsItIs,
              (const std::vector<std::uint8_t>& bytes))
{
    RC_PRE(!holdsLooseSequence(bytes));
    const auto cleaned = validUTF8String(textOf(bytes));
    RC_ASSERT(cleaned.has_value());
    RC_ASSERT(isReadableUTF8(*cleaned));
    RC_ASSERT(validUTF8String(*cleaned) == cleaned);
}

RC_GTEST_PROP(UTF8ValidationProperties, ValidTextIsExactlyASCIIThatCleaningKeeps,
              (const std::vector<std::uint8_t>& bytes))
{
    RC_PRE(!holdsLooseSequence(bytes));
    PlatformScope quiet;
    const std::string text = textOf(bytes);
    const bool isASCII =
        std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte < 0x80; });
    RC_ASSERT(isValidUTF8(text) == (isASCII && validUTF8String(text) == text));
}

RC_GTEST_PROP(UTF8ValidationProperties, ASequenceOfItsOwnLengthIsLegalWhereTheTextLayerReadsIt, ())
{
    auto bytes = *rc::gen::container<std::vector<std::uint8_t>>(
        6, rc::gen::oneOf(rc::gen::arbitrary<std::uint8_t>(),
                          rc::gen::inRange<std::uint8_t>(0x80, 0xC0)));
    bytes[0] = *rc::gen::arbitrary<std::uint8_t>();
    const std::size_t length = utf8SequenceLength(bytes[0]);
    bytes.resize(length);
    RC_PRE(!holdsLooseSequence(bytes));
    RC_ASSERT(isLegal(bytes) == isReadableUTF8(textOf(bytes)));
}

}  // namespace
}  // namespace kt
