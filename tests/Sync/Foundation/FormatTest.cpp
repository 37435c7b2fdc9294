#include <limits>

#include <gtest/gtest.h>

#include "Sync/Foundation/Format.h"

namespace kt {
namespace {

using testing::TestWithParam;
using testing::Values;

class Label : public Object {
public:
    std::string description() const override { return "a label"; }
};

struct Row {
    std::string formatted;
    std::string expected;
};

class FormatDirective : public TestWithParam<Row> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, FormatDirective,
    Values(Row{stringWithFormat("%@", "text"), "text"},
           Row{stringWithFormat("%@", std::string("s")), "s"},
           Row{stringWithFormat("%@", std::string_view("v")), "v"},
           Row{stringWithFormat("%s", "c"), "c"}, Row{stringWithFormat("%@", 7), "7"},
           Row{stringWithFormat("%@", true), "1"}, Row{stringWithFormat("%@", 1.5), "1.5"},
           Row{stringWithFormat("%@", Value("v")), "v"},
           Row{stringWithFormat("%@", Array{1}), "(\n    1\n)"},
           Row{stringWithFormat("%@", Dictionary{}), "{\n}"},
           Row{stringWithFormat("%@", std::make_shared<Label>()), "a label"},
           Row{stringWithFormat("%@", Exception("Name", "reason")), "reason"},
           Row{stringWithFormat("%@", std::optional<std::string>("o")), "o"},
           Row{stringWithFormat("%d", -42), "-42"},
           Row{stringWithFormat("%d", std::size_t{5}), "5"}, Row{stringWithFormat("%d", true), "1"},
           Row{stringWithFormat("%d", std::numeric_limits<std::int64_t>::max()),
               "9223372036854775807"},
           Row{stringWithFormat("%d", Value(7)), "7"}, Row{stringWithFormat("%d", 3.9), "3"},
           Row{stringWithFormat("%f", 1.5), "1.500000"}, Row{stringWithFormat("%.1f", 2.04), "2.0"},
           Row{stringWithFormat("%.1f", 12.37), "12.4"}, Row{stringWithFormat("%.0f", 2.6), "3"},
           Row{stringWithFormat("%.1f", 3), "3.0"},
           Row{stringWithFormat("%.2f", Value(0.5)), "0.50"}, Row{stringWithFormat("%c", 'x'), "x"},
           Row{stringWithFormat("%c", 0xE4), "\xC3\xA4"},
           Row{stringWithFormat("%c", 0x1F600), "\xF0\x9F\x98\x80"},
           Row{stringWithFormat("100%%"), "100%"}));

TEST_P(FormatDirective, PrintsItsArgument) { EXPECT_EQ(GetParam().formatted, GetParam().expected); }

class FormatNil : public TestWithParam<Row> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, FormatNil,
    Values(Row{stringWithFormat("%@", nullptr), "(null)"},
           Row{stringWithFormat("%@", std::nullopt), "(null)"},
           Row{stringWithFormat("%@", static_cast<const char*>(nullptr)), "(null)"},
           Row{stringWithFormat("%@", std::optional<std::string>()), "(null)"},
           Row{stringWithFormat("%@", std::optional<std::string_view>()), "(null)"},
           Row{stringWithFormat("%@", Value()), "(null)"},
           Row{stringWithFormat("%@", std::shared_ptr<Label>()), "(null)"},
           Row{stringWithFormat("%s", nullptr), "(null)"},
           Row{stringWithFormat("%d", nullptr), "0"}));

TEST_P(FormatNil, PrintsNull) { EXPECT_EQ(GetParam().formatted, GetParam().expected); }

TEST(Format, PrintsNullOrZeroForAMissingArgument)
{
    EXPECT_EQ(stringWithFormat("%@ %s %d %.1f %c", "first"), "first (null) 0 0.0 0");
    EXPECT_EQ(stringWithFormat("%@"), "(null)");
}

TEST(Format, IgnoresArgumentsWithoutADirective)
{
    EXPECT_EQ(stringWithFormat("%@.", "a", "b", 3), "a.");
}

TEST(Format, PrintsZeroForWhatIsNoNumber)
{
    EXPECT_EQ(stringWithFormat("%d %.1f %d", "12", "1.5", Value("7")), "0 0.0 0");
    EXPECT_EQ(stringWithFormat("%d", Dictionary{}), "0");
}

TEST(Format, DoesNotReadDirectivesInArguments)
{
    EXPECT_EQ(stringWithFormat("%@ %@", "%@", "%d"), "%@ %d");
}

TEST(Format, KeepsBytesOfArgumentsAsTheyAre)
{
    EXPECT_EQ(stringWithFormat("<%@>", std::string("a\0b", 3)), std::string("<a\0b>", 5));
}

TEST(Format, LeavesOutWhatIsNoCharacter)
{
    EXPECT_EQ(stringWithFormat("<%c%c%c>", 0, 0xD800, 0x110000), "<>");
}

class FormatUnknown : public TestWithParam<std::string> {};
INSTANTIATE_TEST_SUITE_P(Rows, FormatUnknown,
                         Values("%q", "%", "a %", "%.", "%.1", "%.1d", "%5d", "%ld", "% @",
                                "%\xC3\xA4", ""));

TEST_P(FormatUnknown, IsCopied) { EXPECT_EQ(stringWithFormat(GetParam(), 1), GetParam()); }

TEST(Format, BoundsPrecisions)
{
    EXPECT_EQ(stringWithFormat("%.99999999999999999999f", 0.5).size(), 101U);
    EXPECT_EQ(stringWithFormat("%.99f", std::numeric_limits<double>::max()).size(), 409U);
}

}  // namespace
}  // namespace kt
