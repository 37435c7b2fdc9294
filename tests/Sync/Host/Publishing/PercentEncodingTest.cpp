#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "Sync/Host/Publishing/PercentEncoding.h"

namespace kt {
namespace {

using namespace std::string_literals;

TEST(PercentEncoding, LeavesOnlyWhatMeansNothingElsewhere)
{
    EXPECT_EQ(percentEncoded("aZ09-._~"), "aZ09-._~");
    EXPECT_EQ(percentEncoded("Europe/Berlin ä\"<\0"s), "Europe%2FBerlin%20%C3%A4%22%3C%00");
}

struct Row {
    std::string text;
    std::optional<std::string> inPath;
    std::optional<std::string> inQuery;
};
class PercentDecoding : public testing::TestWithParam<Row> {};
INSTANTIATE_TEST_SUITE_P(Rows, PercentDecoding,
                         testing::Values(Row{"abc", "abc", "abc"}, Row{"", "", ""},
                                         Row{"a+b%20c", "a+b c", "a b c"}, Row{"%c3%A4", "ä", "ä"},
                                         Row{"%252F", "%2F", "%2F"}, Row{"a%2Fb", "a/b", "a/b"},
                                         Row{"%", std::nullopt, std::nullopt},
                                         Row{"a%4", std::nullopt, std::nullopt},
                                         Row{"%zz", std::nullopt, std::nullopt},
                                         Row{"a%00b", std::nullopt, std::nullopt},
                                         Row{"a%0D%0Ab", std::nullopt, std::nullopt},
                                         Row{"%FF", std::nullopt, std::nullopt},
                                         Row{"%C0%AF", std::nullopt, std::nullopt},
                                         Row{"%ED%A0%80", std::nullopt, std::nullopt},
                                         Row{"%7F", std::nullopt, std::nullopt}));

TEST_P(PercentDecoding, GivesDecentTextOrNothing)
{
    EXPECT_EQ(percentDecoded(GetParam().text, Blank::percent), GetParam().inPath);
    EXPECT_EQ(percentDecoded(GetParam().text, Blank::plus), GetParam().inQuery);
}

}  // namespace
}  // namespace kt
