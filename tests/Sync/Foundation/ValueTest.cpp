#include <cmath>
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/CalendarDate.h"
#include "Sync/Foundation/Dictionary.h"
#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Value.h"
#include "tests/support/ExceptionOf.h"
#include "tests/support/ValuePrinting.h"

namespace kt {
namespace {

using test::exceptionOf;
using testing::Combine;
using testing::HasSubstr;
using testing::Range;
using testing::TestWithParam;
using testing::Values;

class Label : public Object {
public:
    explicit Label(std::string text) : _text(std::move(text)) {}
    std::string description() const override { return _text; }

private:
    std::string _text;
};

class Number : public Object {
public:
    explicit Number(int number) : _number(number) {}
    std::string description() const override { return std::to_string(_number); }
    bool isEqual(const Object& other) const override
    {
        const auto* number = dynamic_cast<const Number*>(&other);
        return number != nullptr && number->_number == _number;
    }

private:
    int _number;
};

const Date kChristmas = instantOfCalendarDate({2007, 12, 24, 9, 0, 0}, "UTC");

// Every accessor against every kind.

struct KindRow {
    Value value;
    std::string name;
};

const std::vector<KindRow>& kinds()
{
    static const std::vector<KindRow> kRows{{Value(), "nichts"},
                                            {true, "Wahrheitswert"},
                                            {7, "ganze Zahl"},
                                            {1.5, "Kommazahl"},
                                            {"text", "Text"},
                                            {Data{"ab"}, "Daten"},
                                            {kChristmas, "Datum"},
                                            {Array{1}, "Liste"},
                                            {Dictionary{{"key", 1}}, "Wörterbuch"},
                                            {std::make_shared<Label>("x"), "Objekt"}};
    return kRows;
}

struct AccessorRow {
    std::string expected;
    std::vector<std::string> accepted;  // names of kinds
    void (*access)(const Value&);
};

const std::vector<AccessorRow>& accessors()
{
    static const std::vector<std::string> kNumeric{"nichts", "Wahrheitswert", "ganze Zahl",
                                                   "Kommazahl", "Text"};
    static const std::vector<AccessorRow> kRows{
        {"Text", {"Text"}, [](const Value& value) { static_cast<void>(value.string()); }},
        {"Text",
         {"Text", "nichts"},
         [](const Value& value) { static_cast<void>(value.stringOrNil()); }},
        {"Daten", {"Daten"}, [](const Value& value) { static_cast<void>(value.data()); }},
        {"Datum", {"Datum"}, [](const Value& value) { static_cast<void>(value.date()); }},
        {"Liste", {"Liste"}, [](const Value& value) { static_cast<void>(value.array()); }},
        {"Wörterbuch",
         {"Wörterbuch"},
         [](const Value& value) { static_cast<void>(value.dictionary()); }},
        {"Objekt", {"Objekt"}, [](const Value& value) { static_cast<void>(value.object()); }},
        {"Zahl oder Text", kNumeric,
         [](const Value& value) { static_cast<void>(value.intValue()); }},
        {"Zahl oder Text", kNumeric,
         [](const Value& value) { static_cast<void>(value.longLongValue()); }},
        {"Zahl oder Text", kNumeric,
         [](const Value& value) { static_cast<void>(value.boolValue()); }},
        {"Zahl oder Text", kNumeric,
         [](const Value& value) { static_cast<void>(value.doubleValue()); }},
    };
    return kRows;
}

class ValueAccessor : public TestWithParam<std::tuple<std::size_t, std::size_t>> {};
INSTANTIATE_TEST_SUITE_P(Rows, ValueAccessor,
                         Combine(Range<std::size_t>(0, 11), Range<std::size_t>(0, 10)));

TEST_P(ValueAccessor, RaisesForEveryOtherKindAndNamesBoth)
{
    ASSERT_EQ(accessors().size(), 11U);
    ASSERT_EQ(kinds().size(), 10U);
    const AccessorRow& accessor = accessors()[std::get<0>(GetParam())];
    const KindRow& kind = kinds()[std::get<1>(GetParam())];
    const bool isAccepted = std::find(accessor.accepted.begin(), accessor.accepted.end(),
                                      kind.name) != accessor.accepted.end();
    EXPECT_EQ(exceptionOf([&] { accessor.access(kind.value); }),
              isAccepted ? ""
                         : "NSInvalidArgumentException: " + accessor.expected + " erwartet, " +
                               kind.name + " gefunden");
}

TEST(Value, KnowsItsKind)
{
    for (std::size_t index = 0; index < kinds().size(); ++index)
        EXPECT_EQ(static_cast<std::size_t>(kinds()[index].value.kind()), index)
            << kinds()[index].name;
    EXPECT_TRUE(Value().isNil());
    EXPECT_TRUE(Value("").isString());
    EXPECT_TRUE(Value(Array()).isArray());
    EXPECT_TRUE(Value(Dictionary()).isDictionary());
    EXPECT_TRUE(Value(Data()).isData());
    EXPECT_TRUE(Value(true).isNumber() && Value(1).isNumber() && Value(1.5).isNumber());
    EXPECT_FALSE(Value("1").isNumber());
}

TEST(Value, GivesBackWhatItWasMadeOf)
{
    EXPECT_EQ(Value("text").string(), "text");
    EXPECT_EQ(Value(std::string("a\0b", 3)).string(), std::string("a\0b", 3));
    EXPECT_EQ(Value(std::string_view("view")).string(), "view");
    EXPECT_EQ(Value(Data{"ab"}).data().bytes, "ab");
    EXPECT_EQ(Value(kChristmas).date(), kChristmas);
    EXPECT_EQ(Value(Array{1, 2}).array().size(), 2U);
    EXPECT_EQ(Value(Dictionary{{"a", 1}}).dictionary()["a"], Value(1));
    EXPECT_EQ(Value(std::make_shared<Label>("x")).object()->description(), "x");
    EXPECT_EQ(Value("text").stringOrNil(), "text");
    EXPECT_EQ(Value().stringOrNil(), std::nullopt);
}

TEST(Value, IsNilWhenMadeOfNothing)
{
    EXPECT_TRUE(Value(nullptr).isNil());
    EXPECT_TRUE(Value(static_cast<const char*>(nullptr)).isNil());
    EXPECT_TRUE(Value(std::optional<std::string>()).isNil());
    EXPECT_TRUE(Value(std::shared_ptr<Label>()).isNil());
    EXPECT_FALSE(Value("").isNil());
    EXPECT_FALSE(Value(std::optional<std::string>("")).isNil());
}

TEST(Value, DoesNotChangeWithItsCopy)
{
    const Value original(Array{1});
    Array copy = original.array();
    copy.emplace_back(2);
    EXPECT_EQ(original.array().size(), 1U);
}

TEST(Value, FindsAnObjectByItsClass)
{
    const Value value(std::make_shared<Label>("x"));
    EXPECT_NE(value.objectOfClass<Label>(), nullptr);
    EXPECT_EQ(value.objectOfClass<Number>(), nullptr);
    EXPECT_EQ(Value("x").objectOfClass<Label>(), nullptr);
    EXPECT_EQ(Value().objectOfClass<Label>(), nullptr);
}

// Arrays.

TEST(Value, RefusesNilInAnArray)
{
    const std::string expected = "NSInvalidArgumentException: nil kann nicht in eine Liste";
    Array array;
    EXPECT_EQ(exceptionOf([&] { appendTo(array, Value()); }), expected);
    EXPECT_TRUE(array.empty());
    EXPECT_EQ(exceptionOf([] { Value(Array{1, Value()}); }), expected);
    appendTo(array, 1);
    EXPECT_EQ(array, Array{1});
}

TEST(Value, RaisesForAnIndexBeyondTheEnd)
{
    const Array array{"a", "b"};
    EXPECT_EQ(elementAt(array, 1), Value("b"));
    EXPECT_EQ(exceptionOf([&] { elementAt(array, 2); }),
              "NSRangeException: Index 2 liegt hinter dem Ende (Anzahl: 2)");
    EXPECT_EQ(exceptionOf([&] { elementAt({}, 0); }),
              "NSRangeException: Index 0 liegt hinter dem Ende (Anzahl: 0)");
}

// Equality.

struct EqualityRow {
    Value left;
    Value right;
    bool areEqual;
};

class ValueEquality : public TestWithParam<EqualityRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, ValueEquality,
    Values(EqualityRow{true, 1, true}, EqualityRow{1, 1.0, true}, EqualityRow{true, 1.0, true},
           EqualityRow{false, 0, true}, EqualityRow{false, 0.0, true}, EqualityRow{true, 2, false},
           EqualityRow{true, false, false}, EqualityRow{1, 1.5, false},
           EqualityRow{0.0, -0.0, true}, EqualityRow{9007199254740993, 9007199254740992.0, false},
           EqualityRow{std::numeric_limits<std::int64_t>::max(), 9223372036854775808.0, false},
           EqualityRow{std::numeric_limits<std::int64_t>::min(), -9223372036854775808.0, true},
           EqualityRow{1, std::nan(""), false}, EqualityRow{std::nan(""), std::nan(""), true},
           EqualityRow{1, "1", false}, EqualityRow{"a", "a", true}, EqualityRow{"a", "A", false},
           EqualityRow{"ab", Data{"ab"}, false}, EqualityRow{Data{"ab"}, Data{"ab"}, true},
           EqualityRow{Value(), Value(), true}, EqualityRow{Value(), "", false},
           EqualityRow{Value(), false, false},
           EqualityRow{kChristmas, Date{kChristmas.instant}, true},
           EqualityRow{kChristmas, Date{}, false}, EqualityRow{Array{1, true}, Array{1.0, 1}, true},
           EqualityRow{Array{1, 2}, Array{2, 1}, false}, EqualityRow{Array{}, Dictionary{}, false},
           EqualityRow{Dictionary{{"a", 1}, {"b", 2}}, Dictionary{{"b", 2}, {"a", 1}}, true},
           EqualityRow{Dictionary{{"a", 1}}, Dictionary{{"b", 1}}, false},
           EqualityRow{std::make_shared<Label>("x"), std::make_shared<Label>("x"), false},
           EqualityRow{std::make_shared<Number>(1), std::make_shared<Number>(1), true},
           EqualityRow{std::make_shared<Number>(1), std::make_shared<Label>("1"), false}));

TEST_P(ValueEquality, HoldsBothWays)
{
    const auto& [left, right, areEqual] = GetParam();
    EXPECT_EQ(left == right, areEqual);
    EXPECT_EQ(right == left, areEqual);
    EXPECT_TRUE(left == left);
}

// Numbers.

struct IntRow {
    Value value;
    std::int32_t expected;
};

class ValueIntValue : public TestWithParam<IntRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, ValueIntValue,
    Values(IntRow{Value(), 0}, IntRow{true, 1}, IntRow{-5, -5}, IntRow{1.9, 1}, IntRow{-1.9, -1},
           IntRow{std::nan(""), 0}, IntRow{1e300, 2147483647}, IntRow{-1e300, -2147483647 - 1},
           IntRow{2147483647, 2147483647}, IntRow{2147483648, 2147483647},
           IntRow{-2147483649, -2147483647 - 1}, IntRow{"12", 12}, IntRow{"-12abc", -12},
           IntRow{" \t+7 8", 7}, IntRow{"", 0}, IntRow{"abc", 0}, IntRow{"-", 0}, IntRow{"+-1", 0},
           IntRow{"- 1", 0}, IntRow{"007", 7}, IntRow{"1.9", 1}, IntRow{"2147483648", 2147483647},
           IntRow{"-2147483649", -2147483647 - 1}, IntRow{"99999999999999999999999", 2147483647},
           IntRow{"-99999999999999999999999", -2147483647 - 1}, IntRow{"0x10", 0}));

TEST_P(ValueIntValue, ReadsALeadingIntegerAndClampsIt)
{
    EXPECT_EQ(GetParam().value.intValue(), GetParam().expected);
}

TEST(Value, KeepsSixtyFourBits)
{
    constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
    constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
    EXPECT_EQ(Value(kMost).longLongValue(), kMost);
    EXPECT_EQ(Value(std::to_string(kMost)).longLongValue(), kMost);
    EXPECT_EQ(Value(std::to_string(kLeast)).longLongValue(), kLeast);
    EXPECT_EQ(Value("9223372036854775808").longLongValue(), kMost);
    EXPECT_EQ(Value("-9223372036854775809").longLongValue(), kLeast);
    EXPECT_EQ(Value(1e19).longLongValue(), kMost);
    EXPECT_EQ(Value(-1e19).longLongValue(), kLeast);
}

struct BoolRow {
    Value value;
    bool expected;
};

class ValueBoolValue : public TestWithParam<BoolRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, ValueBoolValue,
                         Values(BoolRow{Value(), false}, BoolRow{true, true}, BoolRow{false, false},
                                BoolRow{0, false}, BoolRow{-1, true}, BoolRow{0.0, false},
                                BoolRow{0.1, true}, BoolRow{"YES", true}, BoolRow{"y", true},
                                BoolRow{"True", true}, BoolRow{"t", true}, BoolRow{"1", true},
                                BoolRow{"9", true}, BoolRow{"  -005", true}, BoolRow{"+01", true},
                                BoolRow{"NO", false}, BoolRow{"n", false}, BoolRow{"false", false},
                                BoolRow{"0", false}, BoolRow{"000", false}, BoolRow{"", false},
                                BoolRow{"  ", false}, BoolRow{"-", false}, BoolRow{"jes", false},
                                BoolRow{"(null)", false}));

TEST_P(ValueBoolValue, LooksAtTheFirstLetterThatCounts)
{
    EXPECT_EQ(GetParam().value.boolValue(), GetParam().expected);
}

struct DoubleRow {
    Value value;
    double expected;
};

class ValueDoubleValue : public TestWithParam<DoubleRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, ValueDoubleValue,
    Values(DoubleRow{Value(), 0}, DoubleRow{true, 1}, DoubleRow{3, 3}, DoubleRow{1.5, 1.5},
           DoubleRow{"1.5", 1.5}, DoubleRow{" -1.5e2x", -150}, DoubleRow{"+.5", 0.5},
           DoubleRow{"1,5", 1}, DoubleRow{"abc", 0}, DoubleRow{"inf", 0}, DoubleRow{"nan", 0},
           DoubleRow{"", 0}, DoubleRow{"-", 0}, DoubleRow{".", 0},
           DoubleRow{"1e999", std::numeric_limits<double>::infinity()},
           DoubleRow{"-1e999", -std::numeric_limits<double>::infinity()}, DoubleRow{"1e-999", 0}));

TEST_P(ValueDoubleValue, ReadsALeadingDecimalNumber)
{
    EXPECT_EQ(GetParam().value.doubleValue(), GetParam().expected);
}

// Descriptions.

struct DescriptionRow {
    Value value;
    std::string expected;
};

class ValueDescription : public TestWithParam<DescriptionRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, ValueDescription,
    Values(DescriptionRow{Value(), "(null)"},
           DescriptionRow{"as \"it\" is\n\xC3\xA4", "as \"it\" is\n\xC3\xA4"},
           DescriptionRow{"", ""}, DescriptionRow{true, "1"}, DescriptionRow{false, "0"},
           DescriptionRow{-42, "-42"}, DescriptionRow{1.0, "1"}, DescriptionRow{0.1, "0.1"},
           DescriptionRow{1e22, "1e+22"}, DescriptionRow{-2.5e-7, "-2.5e-07"},
           DescriptionRow{Data{"Hello"}, "<48656c6c 6f>"}, DescriptionRow{Data{}, "<>"},
           DescriptionRow{Data{std::string("\0\xFF\x10\x20", 4)}, "<00ff1020>"},
           DescriptionRow{kChristmas, "2007-12-24 09:00:00 +0000"},
           DescriptionRow{std::make_shared<Label>("a label"), "a label"},
           DescriptionRow{Array{}, "(\n)"}, DescriptionRow{Dictionary{}, "{\n}"},
           DescriptionRow{Array{"a", "b c"}, "(\n    a,\n    \"b c\"\n)"},
           DescriptionRow{Dictionary{{"key", "value"}}, "{\n    key = value;\n}"},
           DescriptionRow{Dictionary{{"b", 1}, {"a", 2}, {"B", 3}, {"\xC3\xA4", 4}},
                          "{\n    B = 3;\n    a = 2;\n    b = 1;\n    \"\\U00e4\" = 4;\n}"},
           DescriptionRow{Array{Dictionary{{"list", Array{1, Array{}}}}},
                          "(\n    {\n        list = (\n            1,\n            (\n            "
                          ")\n        );\n    }\n)"},
           DescriptionRow{Dictionary{{"empty", Dictionary{}}}, "{\n    empty = {\n    };\n}"}));

TEST_P(ValueDescription, IsRenderedToTheLetter)
{
    EXPECT_EQ(GetParam().value.description(), GetParam().expected);
}

/// How a single element of an array is written.
std::string elementDescription(const Value& element)
{
    const std::string all = description(Array{element});
    return all.substr(6, all.size() - 8);
}

class ValueElementDescription : public TestWithParam<DescriptionRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, ValueElementDescription,
    Values(DescriptionRow{"aZ09_$/:.-", "aZ09_$/:.-"}, DescriptionRow{"", "\"\""},
           DescriptionRow{" ", "\" \""}, DescriptionRow{"a+b", "\"a+b\""},
           DescriptionRow{"a@b", "\"a@b\""}, DescriptionRow{"\"\\\n\r\t", "\"\\\"\\\\\\n\\r\\t\""},
           DescriptionRow{"\xC3\xA4", "\"\\U00e4\""}, DescriptionRow{"\xE2\x82\xAC", "\"\\U20ac\""},
           DescriptionRow{"\xF0\x9F\x98\x80", "\"\\Ud83d\\Ude00\""},
           DescriptionRow{"\xED\xA0\xBD", "\"\\Ud83d\""}, DescriptionRow{"\x03", "\"\\003\""},
           DescriptionRow{"\x1B[0m", "\"\\033[0m\""}, DescriptionRow{"\x7F", "\"\\177\""},
           DescriptionRow{std::string("\0", 1), "\"\\000\""},
           DescriptionRow{"\xC2\x85", "\"\\U0085\""}, DescriptionRow{"\xFF", "\"\\377\""},
           DescriptionRow{7, "7"}, DescriptionRow{-7, "-7"}, DescriptionRow{true, "1"},
           DescriptionRow{1.5, "1.5"}, DescriptionRow{1e22, "\"1e+22\""},
           DescriptionRow{Data{"Hello"}, "<48656c6c 6f>"},
           DescriptionRow{kChristmas, "\"2007-12-24 09:00:00 +0000\""},
           DescriptionRow{std::make_shared<Label>("20071224T100000"), "20071224T100000"},
           DescriptionRow{std::make_shared<Label>("20071224 Europe/Berlin"),
                          "\"20071224 Europe/Berlin\""},
           DescriptionRow{std::make_shared<Label>(""), "\"\""}));

TEST_P(ValueElementDescription, IsQuotedWhereItIsNotPlain)
{
    EXPECT_EQ(elementDescription(GetParam().value), GetParam().expected);
}

class ValueOfEachKind : public TestWithParam<Value> {};
INSTANTIATE_TEST_SUITE_P(Kinds, ValueOfEachKind,
                         Values(Value(), Value(true), Value(7), Value(1.5), Value("kurz"),
                                Value("länger als fünfzehn Zeichen"), Value(Data{"xyz"}),
                                Value(Date{}), Value(Array{Value(1)}), Value(Dictionary{{"a", 1}}),
                                Value(std::make_shared<Number>(3))));

TEST_P(ValueOfEachKind, IsCopied)
{
    const Value copy = GetParam();
    EXPECT_EQ(copy, GetParam());
    Value assigned = "vorher etwas anderes, und ziemlich lang";
    assigned = copy;
    EXPECT_EQ(assigned, GetParam());
    const Value& itself = assigned;
    assigned = itself;
    EXPECT_EQ(assigned, GetParam());
}

TEST_P(ValueOfEachKind, LeavesNilWhereItIsMovedFrom)
{
    Value source = GetParam();
    Value target = std::move(source);
    EXPECT_EQ(target, GetParam());
    EXPECT_TRUE(source.isNil());  // NOLINT: what is left is promised
    Value other = Array{Value("wird frei")};
    other = std::move(target);
    EXPECT_EQ(other, GetParam());
    EXPECT_TRUE(target.isNil());  // NOLINT: as above
}

}  // namespace
}  // namespace kt
