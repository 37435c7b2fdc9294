// Property lists of the old form, by way of the operation that reads all forms.

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "Sync/Foundation/PropertyList.h"
#include "Sync/Foundation/Text.h"
#include "tests/support/ValueGenerator.h"

namespace kt {
namespace {

using test::Alphabet;
using testing::TestWithParam;
using testing::Values;

struct Row {
    std::string text;
    Value value;
};
class ASCIIPropertyList : public TestWithParam<Row> {};

INSTANTIATE_TEST_SUITE_P(
    Rows, ASCIIPropertyList,
    Values(Row{"{}", Dictionary{}}, Row{"()", Array{}}, Row{" \t\r\n{ }\n", Dictionary{}},
           Row{"{ a = b; }", Dictionary{{"a", "b"}}},
           Row{"{\"a b\"='c d';e=f;}", Dictionary{{"a b", "c d"}, {"e", "f"}}},
           Row{"{ a = 1; a = 2; }", Dictionary{{"a", "2"}}}, Row{"(a)", Array{"a"}},
           Row{"(a,b)", Array{"a", "b"}}, Row{"( a , b , )", Array{"a", "b"}},
           Row{"((), {}, (a))", Array{Array{}, Dictionary{}, Array{"a"}}},
           Row{"(\"\", '')", Array{"", ""}},
           Row{"(http://host:80/a_b-c.ics, $x)", Array{"http://host:80/a_b-c.ics", "$x"}},
           Row{"(<>, < 48 65 6C6c\n6f >)", Array{Data{}, Data{"Hello"}}},
           Row{"// first\n{ /* a = b; */ c // =\n = d; } // end\r/**/", Dictionary{{"c", "d"}}},
           Row{"(\"/* no comment */ // none\")", Array{"/* no comment */ // none"}}));

INSTANTIATE_TEST_SUITE_P(
    Escapes, ASCIIPropertyList,
    Values(Row{R"(("a\"b\\c\'d"))", Array{"a\"b\\c'd"}}, Row{R"(('a"b\'c'))", Array{"a\"b'c"}},
           Row{R"(("\a\b\f\n\r\t\v"))", Array{"\a\b\f\n\r\t\v"}},
           Row{"(\"a\\\nb\nc\")", Array{"a\nb\nc"}},
           Row{R"(("\101\12x\0"))", Array{std::string("A\nx\0", 4)}},
           Row{R"(("\331\366\373"))", Array{"äüß"}}, Row{R"(("\200\377"))", Array{"\u00A0\uFFFD"}},
           Row{R"(("\U00e4\Ud83d\Ude00\U41x"))", Array{"ä😀Ax"}},
           Row{R"(("\Ud83d"))", Array{"\xED\xA0\xBD"}}, Row{R"(("\z"))", Array{"z"}},
           Row{"(\"ä😀\")", Array{"ä😀"}}, Row{"\xEF\xBB\xBF(\"ä\")", Array{"ä"}}));

TEST_P(ASCIIPropertyList, IsRead)
{
    PropertyListError error{};
    const auto value = propertyListWithData(GetParam().text, &error);
    EXPECT_EQ(error, PropertyListError::none);
    EXPECT_EQ(value, GetParam().value);
}

class ASCIIPropertyListMalformed : public TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(Rows, ASCIIPropertyListMalformed,
                         Values("{", "(", "{ a", "{ a =", "{ a = b", "{ a = b;", "{ a = b }",
                                "{ a; }", "{ = b; }", "{ a = ; }", "{ a b; }", "{ (a) = b; }",
                                "{ <61> = b; }", "(a b)", "(a", "(a,", "(,)", "(a,,b)", "{)", "(}",
                                "() ()", "{} x", "(ä)", "(a=b)", "(+)", "(\")", "(\"a", "(\"a\\",
                                "('a\")", "(\"\\U\")", "(\"\\Ux\")", "(\"\\400\")", "(<4>)",
                                "(<4 8>)", "(<4g>)", "(<48", "(<*I5>)", "/* open", "(a /* open",
                                "// only a comment", "/* one */", "//\nword", "(\"\xFF\")",
                                std::string("(a)\0", 4), std::string("(\"a\0\")", 6)));

TEST_P(ASCIIPropertyListMalformed, IsNotRead)
{
    PropertyListError error{};
    EXPECT_EQ(propertyListWithData(GetParam(), &error), std::nullopt);
    EXPECT_EQ(error, PropertyListError::malformed);
}

std::string nested(int depth, const std::string& begin, const std::string& end)
{
    std::string text;
    for (int level = 0; level < depth; ++level)
        text += begin;
    for (int level = 0; level < depth; ++level)
        text += end;
    return text;
}

TEST(ASCIIPropertyListDepth, IsLimited)
{
    const auto errorOf = [](const std::string& text) {
        PropertyListError error{};
        const bool isRead = propertyListWithData(text, &error).has_value();
        EXPECT_EQ(isRead, error == PropertyListError::none);
        return error;
    };
    EXPECT_EQ(errorOf(nested(512, "(", ")")), PropertyListError::none);
    EXPECT_EQ(errorOf(nested(513, "(", ")")), PropertyListError::tooDeep);
    EXPECT_EQ(errorOf("(" + nested(511, "{a=", "x;}").substr(0, 511 * 3) + "x" +
                      nested(511, "", ";}") + ")"),
              PropertyListError::none);
    EXPECT_EQ(errorOf(nested(1'000'000, "(", "")), PropertyListError::tooDeep);
    EXPECT_EQ(errorOf(nested(1'000'000, "{a=", "")), PropertyListError::tooDeep);
}

RC_GTEST_PROP(ASCIIPropertyListRoundTrip, ReadsEveryDescriptionOfAContainer, ())
{
    const Value value = *test::dictionaryValues(Alphabet::everything);
    const std::string description = value.description();
    const auto read = propertyListWithData(description);
    RC_ASSERT(read.has_value());
    RC_ASSERT(read->description() == description);
}

RC_GTEST_PROP(ASCIIPropertyListHostile, EndsInAnAnswerForAnyText, ())
{
    const auto pieces = *rc::gen::container<std::vector<std::string>>(
        rc::gen::element<std::string>("{", "}", "(", ")", "<", ">", "=", ";", ",", "\"", "'", "\\",
                                      "/*", "*/", "//", "\n", " ", "a", "48", "\\U", "\\3", "ä",
                                      "\xFF"));
    std::string text = "(";
    for (const std::string& piece : pieces)
        text += piece;
    PropertyListError error{};
    const auto read = propertyListWithData(text, &error);
    RC_ASSERT(read.has_value() == (error == PropertyListError::none));
}

}  // namespace
}  // namespace kt
