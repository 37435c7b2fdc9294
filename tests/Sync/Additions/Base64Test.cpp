#include <array>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <rapidcheck/gtest.h>

#include "Sync/Additions/Base64.h"

namespace kt {
namespace {

using namespace std::string_literals;
using testing::ElementsAre;
using testing::TestWithParam;
using testing::Values;

/// What the decoder hands out, with the length that it reports.
struct Decoded {
    explicit Decoded(const std::string& text)
    {
        std::uint8_t* output = &unset;
        length = Curl_base64_decode(text.c_str(), &output);
        buffer.reset(output);
    }
    std::string octets() const { return {buffer.get(), buffer.get() + length}; }

    static inline std::uint8_t unset = 0;
    MallocBuffer<std::uint8_t> buffer;
    std::size_t length = 0;
};

/// What the encoder hands out, with the length that it reports.
struct Encoded {
    Encoded(const char* source, std::size_t count)
    {
        char* output = &unset;
        length = Curl_base64_encode(source, count, &output);
        text.reset(output);
    }

    static inline char unset = 0;
    MallocBuffer<char> text;
    std::size_t length = 0;
};

/// The same by another library.
std::string encodedElsewhere(const std::string& octets)
{
    std::vector<unsigned char> text(4 * ((octets.size() + 2) / 3) + 1);
    const int length =
        EVP_EncodeBlock(text.data(), reinterpret_cast<const unsigned char*>(octets.data()),
                        static_cast<int>(octets.size()));
    return {text.begin(), text.begin() + length};
}

struct Pair {
    std::string octets;
    std::string text;
};
class Base64BothWays : public TestWithParam<Pair> {};
INSTANTIATE_TEST_SUITE_P(Rows, Base64BothWays,
                         Values(Pair{"A", "QQ=="}, Pair{"AB", "QUI="}, Pair{"ABC", "QUJD"},
                                Pair{"f", "Zg=="}, Pair{"fo", "Zm8="}, Pair{"foo", "Zm9v"},
                                Pair{"foob", "Zm9vYg=="}, Pair{"fooba", "Zm9vYmE="},
                                Pair{"foobar", "Zm9vYmFy"}, Pair{"\xFB\xEF\xBE", "++++"},
                                Pair{"\xFF\xFF\xFF", "////"}, Pair{"\0"s, "AA=="},
                                Pair{"\0\0\0"s, "AAAA"}));
TEST_P(Base64BothWays, Encodes)
{
    const auto& [octets, text] = GetParam();
    const Encoded encoded(octets.data(), octets.size());
    ASSERT_NE(encoded.text, nullptr);
    EXPECT_STREQ(encoded.text.get(), text.c_str());
    EXPECT_EQ(encoded.length, text.size());
}
TEST_P(Base64BothWays, DecodesWithANULBehindTheOctets)
{
    const auto& [octets, text] = GetParam();
    const Decoded decoded(text);
    ASSERT_NE(decoded.buffer, nullptr);
    EXPECT_EQ(decoded.octets(), octets);
    EXPECT_EQ(decoded.buffer[decoded.length], 0);
}

TEST(Base64, DecodesOneTwoAndThreeOctets)
{
    EXPECT_EQ(Decoded("QQ==").octets(), "\x41");
    EXPECT_EQ(Decoded("QUI=").octets(), "\x41\x42");
    EXPECT_EQ(Decoded("QUJD").octets(), "\x41\x42\x43");
}

TEST(Base64, DecodesNothingFromAnIncompleteGroup)
{
    const Decoded decoded("QQ");
    EXPECT_EQ(decoded.length, 0U);
    EXPECT_EQ(decoded.buffer, nullptr);
}

TEST(Base64, DropsAnIncompleteGroupAtTheEnd) { EXPECT_EQ(Decoded("QUJDQQ").octets(), "ABC"); }

TEST(Base64, EncodesOneAndTwoOctetsWithPadding)
{
    EXPECT_STREQ(Encoded("\x41", 1).text.get(), "QQ==");
    EXPECT_STREQ(Encoded("\x41\x42", 2).text.get(), "QUI=");
}

class Base64Nothing : public TestWithParam<std::string> {};
INSTANTIATE_TEST_SUITE_P(Rows, Base64Nothing,
                         Values("", "Q", "QQ", "QUI", "=", "==", "====", "Q==", "QQ=", "=QUJD"));
TEST_P(Base64Nothing, GivesNoOctetsAndNoBuffer)
{
    const Decoded decoded(GetParam());
    EXPECT_EQ(decoded.length, 0U);
    EXPECT_EQ(decoded.buffer, nullptr);
    EXPECT_EQ(base64decoded(GetParam()), Data{});
}

struct MalformedRow {
    std::string text;
    std::string octets;
};
class Base64Malformed : public TestWithParam<MalformedRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, Base64Malformed,
    Values(MalformedRow{"QUI=QUJD", "AB"},  // nothing counts behind the padding
           MalformedRow{"QQ=\nQUJD", ""},   // one "=" is missing, and with it the whole group
           MalformedRow{"QUJDQ=", "AB"},    // the padding is taken from the last whole group
           MalformedRow{"QUI==", "A"}, MalformedRow{"QUJDQUI==", "ABCA"},
           MalformedRow{"Q JD", "\x01\x02\x43"},  // a blank shifts what stood before it
           MalformedRow{"QU\nJD", "\x01\x05\x09"}, MalformedRow{"QU\r\n", "\x00\x04\x14"s},
           MalformedRow{"-_\x80\xFF", "\0\0\0"s},
           MalformedRow{"QUJD\0QUJD"s, "ABC"}));  // the text ends at its NUL
TEST_P(Base64Malformed, YieldsFewerOrShiftedOctets)
{
    EXPECT_EQ(base64decoded(GetParam().text).bytes, GetParam().octets);
}

struct QuantumRow {
    std::string source;
    std::array<std::uint8_t, 3> octets;
};
class DecodeQuantum : public TestWithParam<QuantumRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, DecodeQuantum,
    Values(QuantumRow{"AAAA", {0x00, 0x00, 0x00}}, QuantumRow{"ZAAA", {0x64, 0x00, 0x00}},
           QuantumRow{"AAAa", {0x00, 0x00, 0x1A}}, QuantumRow{"AAAz", {0x00, 0x00, 0x33}},
           QuantumRow{"AAA0", {0x00, 0x00, 0x34}}, QuantumRow{"AAA9", {0x00, 0x00, 0x3D}},
           QuantumRow{"AAA+", {0x00, 0x00, 0x3E}}, QuantumRow{"AAA/", {0x00, 0x00, 0x3F}},
           QuantumRow{"////", {0xFF, 0xFF, 0xFF}}, QuantumRow{"/===", {0xFC, 0x00, 0x00}},
           QuantumRow{"=//=", {0x03, 0xFF, 0xC0}}, QuantumRow{"/ //", {0x03, 0xFF, 0xFF}},
           QuantumRow{"    ", {0x00, 0x00, 0x00}}, QuantumRow{"\n\n\n/", {0x00, 0x00, 0x3F}},
           QuantumRow{"\0\0B/"s, {0x00, 0x00, 0x7F}}));
TEST_P(DecodeQuantum, GivesThreeOctets)
{
    std::array<std::uint8_t, 3> octets{9, 9, 9};
    decodeQuantum(GetParam().source.data(), octets.data());
    EXPECT_EQ(octets, GetParam().octets);
}

TEST(Base64, TakesTheLengthOfTheTextForALengthOfZero)
{
    const Encoded encoded("foobar", 0);
    EXPECT_STREQ(encoded.text.get(), "Zm9vYmFy");
    EXPECT_EQ(encoded.length, 8U);
}

TEST(Base64, EncodesNULsWhenTheLengthSaysSo)
{
    EXPECT_STREQ(Encoded("a\0b", 3).text.get(), "YQBi");
}

TEST(Base64, EncodesNothingAsAnEmptyText)
{
    for (const char* source : {"", static_cast<const char*>(nullptr)}) {
        const Encoded encoded(source, 0);
        ASSERT_NE(encoded.text, nullptr);
        EXPECT_STREQ(encoded.text.get(), "");
        EXPECT_EQ(encoded.length, 0U);
    }
    EXPECT_STREQ(Encoded(nullptr, 5).text.get(), "");
}

TEST(Base64, EncodesNothingWhereNoMemoryCouldHoldIt)
{
    constexpr auto kMost = std::numeric_limits<std::size_t>::max();
    for (const std::size_t length : {kMost, kMost / 4, kMost / 4 - 3}) {
        const Encoded encoded("a", length);
        EXPECT_EQ(encoded.text, nullptr);
        EXPECT_EQ(encoded.length, 0U);
    }
}

TEST(Base64, GivesDataForAText)
{
    EXPECT_EQ(base64decoded("SGVsbG8="), Data{"Hello"});
    EXPECT_EQ(base64decoded("AAECAw=="), Data{"\0\1\2\3"s});
}

TEST(Base64, TakesBytesOfAnyKind)
{
    EXPECT_EQ(base64encoded(""), "");
    EXPECT_EQ(base64encoded(std::string_view("\0x", 1)), "AA==");
    EXPECT_EQ(base64encoded("Grüße"), "R3LDvMOfZQ==");
}

RC_GTEST_PROP(Base64Properties, EncodesAsAnotherLibraryDoes, (const std::string& octets))
{
    RC_ASSERT(base64encoded(octets) == encodedElsewhere(octets));
}

RC_GTEST_PROP(Base64Properties, DecodesWhatAnotherLibraryEncoded, (const std::string& octets))
{
    RC_ASSERT(base64decoded(encodedElsewhere(octets)).bytes == octets);
}

RC_GTEST_PROP(Base64Properties, GivesEverythingBack, (const std::vector<std::uint8_t>& bytes))
{
    const std::string octets(bytes.begin(), bytes.end());
    RC_ASSERT(base64decoded(base64encoded(octets)).bytes == octets);
}

RC_GTEST_PROP(Base64Properties, TakesAnyTextAndStaysWithinThreeQuartersOfIt, ())
{
    const auto text = *rc::gen::container<std::string>(
        rc::gen::oneOf(rc::gen::elementOf("ABCDabcd0189+/="s), rc::gen::arbitrary<char>()));
    RC_ASSERT(base64decoded(text).bytes.size() <= text.size() / 4 * 3);
}

TEST(Base64, GivesALongFileBack)
{
    std::string octets(3'000'001, '\0');
    for (std::size_t index = 0; index < octets.size(); ++index)
        octets[index] = static_cast<char>(index * 7 + index / 251);
    EXPECT_EQ(base64encoded(octets), encodedElsewhere(octets));
    EXPECT_EQ(base64decoded(base64encoded(octets)).bytes, octets);
}

}  // namespace
}  // namespace kt
