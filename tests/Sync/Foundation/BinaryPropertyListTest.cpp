#include <algorithm>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/BinaryPropertyList.h"
#include "Sync/Foundation/CalendarDate.h"
#include "Sync/Foundation/UnfoldingBudget.h"
#include "tests/support/ExceptionOf.h"
#include "tests/support/ValuePrinting.h"

namespace kt {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::TestWithParam;
using testing::Values;

std::string bigEndian(std::uint64_t number, std::size_t size)
{
    std::string bytes;
    while (size-- > 0)
        bytes += static_cast<char>((number >> (8 * size)) & 0xFF);
    return bytes;
}

/// A file made by hand: what stands in it is what a test says, sense or not.
struct Layout {
    std::vector<std::string> objects;
    std::size_t referenceSize = 2;
    std::uint64_t top = 0;
    std::vector<std::size_t> offsets{};  // of the objects, unless given

    std::string bytes() const
    {
        std::string all = "bplist00";
        std::vector<std::size_t> places = offsets;
        for (const std::string& object : objects) {
            if (offsets.empty())
                places.push_back(all.size());
            all += object;
        }
        const std::size_t table = all.size();
        for (const std::size_t place : places)
            all += bigEndian(place, 4);
        return all + std::string(6, '\0') + bigEndian(4, 1) + bigEndian(referenceSize, 1) +
               bigEndian(places.size(), 8) + bigEndian(top, 8) + bigEndian(table, 8);
    }
};

std::string arrayOf(const std::vector<std::size_t>& references)
{
    std::string bytes(1, static_cast<char>(0xA0 | references.size()));
    for (const std::size_t reference : references)
        bytes += bigEndian(reference, 2);
    return bytes;
}

std::optional<Value> read(const Layout& layout, PropertyListError* error = nullptr)
{
    return propertyListWithData(layout.bytes(), error);
}

PropertyListError errorOf(const Layout& layout)
{
    PropertyListError error{};
    const std::optional<Value> value = read(layout, &error);
    EXPECT_EQ(value.has_value(), error == PropertyListError::none);
    return error;
}

// Simple objects.

struct ObjectRow {
    std::string object;
    Value value;
};

class BinaryPropertyListObject : public TestWithParam<ObjectRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, BinaryPropertyListObject,
    Values(ObjectRow{"\x08", false}, ObjectRow{"\x09", true}, ObjectRow{"\x10\xFF", 255},
           ObjectRow{"\x11\xFF\xFE", 65534},
           ObjectRow{std::string("\x12\x80\0\0\0", 5), 2147483648},
           ObjectRow{"\x13" + std::string(8, '\xFF'), -1},
           ObjectRow{"\x14" + std::string(8, '\0') + std::string("\x7F") + std::string(7, '\xFF'),
                     std::numeric_limits<std::int64_t>::max()},
           ObjectRow{"\x14" + std::string(8, '\0') + std::string(8, '\xFF'),
                     18446744073709551615.0},
           ObjectRow{"\x14" + std::string(16, '\xFF'), -1},
           ObjectRow{std::string("\x22\x3F\xC0\0\0", 5), 1.5},
           ObjectRow{std::string("\x23\x3F\xF8\0\0\0\0\0\0", 9), 1.5},
           ObjectRow{std::string("\x33\0\0\0\0\0\0\0\0", 9),
                     instantOfCalendarDate({2001, 1, 1, 0, 0, 0}, "UTC")},
           ObjectRow{"\x40", Data{}}, ObjectRow{"\x42\xFF\xFE", Data{"\xFF\xFE"}},
           ObjectRow{"\x50", ""},
           ObjectRow{std::string("\x53"
                                 "a\0b",
                                 4),
                     std::string("a\0b", 3)},
           ObjectRow{"\x52\xC3\xA4", "\xC3\xA4"},
           ObjectRow{"\x5F\x10\x10" + std::string(16, 'x'), std::string(16, 'x')},
           ObjectRow{std::string("\x5F\x12\0\0\0\x02xy", 8), "xy"},
           ObjectRow{std::string("\x61\0\xE4", 3), "\xC3\xA4"},
           ObjectRow{"\x62\xD8\x3D\xDE\x00" + std::string(1, '\0'), "\xF0\x9F\x98\x80"},
           ObjectRow{"\x61\xD8\x3D", "\xED\xA0\xBD"},
           ObjectRow{std::string("\x63\xDE\x01\xD8\x3D\0a", 7),
                     "\xED\xB8\x81\xED\xA0\xBD"
                     "a"},
           ObjectRow{"\x80\x03", Dictionary{{"CF$UID", 3}}},
           ObjectRow{"\x81\x01\x02", Dictionary{{"CF$UID", 258}}}));

TEST_P(BinaryPropertyListObject, IsRead)
{
    const std::optional<Value> value = read({{GetParam().object}});
    ASSERT_TRUE(value.has_value());
    EXPECT_EQ(*value, GetParam().value);
    EXPECT_EQ(value->kind(), GetParam().value.kind());
}

class BinaryPropertyListBadObject : public TestWithParam<std::string> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, BinaryPropertyListBadObject,
    Values(std::string(1, '\0'), "\x0F", "\x15" + std::string(32, '\0'),
           "\x14" + std::string(7, '\0') + "\x01" + std::string(8, '\0'), "\x21\x3F\xC0",
           "\x24" + std::string(16, '\0'), "\x32" + std::string(4, '\0'),
           "\x33\x7F\xF8" + std::string(6, '\0'), "\x33\x7E" + std::string(7, '\0'), "\x13\x00",
           "\x44"
           "abc",
           "\x54"
           "abc",
           "\x51\xFF", "\x62\xD8\x3D", "\x5F", "\x5F\x10",
           "\x5F\x20"
           "a",
           "\x5F\x14" + std::string(16, '\0'), "\x4F\x13" + std::string(8, '\xFF'),
           "\x6F\x13\x7F" + std::string(7, '\xFF'), "\x6F\x13\x80" + std::string(7, '\0'),
           "\xAF\x13" + std::string(8, '\xFF'), "\xDF\x13" + std::string(8, '\xFF'),
           "\xDF\x13\x40" + std::string(7, '\0'), "\x70", "\x90", "\xB0", "\xC0", "\xE0", "\xF0",
           "\x88" + std::string(9, '\0'), "\x83\x00"));

TEST_P(BinaryPropertyListBadObject, IsMalformed)
{
    EXPECT_EQ(errorOf({{GetParam()}}), PropertyListError::malformed);
}

// References.

TEST(BinaryPropertyList, ReadsContainersByTheirReferences)
{
    const Layout layout{{std::string("\xD2\0\x01\0\x02\0\x03\0\x04", 9), "\x51z",
                         "\x51"
                         "a",
                         arrayOf({4, 4}), "\x09"}};
    EXPECT_EQ(read(layout)->description(),
              "{\n    a = 1;\n    z = (\n        1,\n        1\n    );\n}");
    EXPECT_EQ(read(layout)->dictionary().begin()->first, "z");
}

TEST(BinaryPropertyList, TakesAnyObjectForItsRoot)
{
    Layout layout{
        {"\x51"
         "a",
         "\x51"
         "b"}};
    layout.top = 1;
    EXPECT_EQ(read(layout), Value("b"));
    layout.top = 2;
    EXPECT_EQ(errorOf(layout), PropertyListError::malformed);
}

TEST(BinaryPropertyList, RefusesReferencesToNothing)
{
    EXPECT_EQ(errorOf({{arrayOf({1})}}), PropertyListError::malformed);
    EXPECT_EQ(errorOf({{arrayOf({65535})}}), PropertyListError::malformed);
}

TEST(BinaryPropertyList, RefusesKeysThatAreNoTexts)
{
    EXPECT_EQ(errorOf({{std::string("\xD1\0\x01\0\x01", 5), "\x09"}}),
              PropertyListError::malformed);
}

TEST(BinaryPropertyList, RefusesOffsetsOutsideTheObjects)
{
    for (const std::size_t offset :
         {std::size_t{0}, std::size_t{7}, std::size_t{10}, std::size_t{0xFFFFFFFF}}) {
        Layout layout{
            {"\x51"
             "a"}};
        layout.offsets = {offset};
        EXPECT_EQ(errorOf(layout), PropertyListError::malformed) << offset;
    }
}

TEST(BinaryPropertyList, EndsCycles)
{
    EXPECT_EQ(errorOf({{arrayOf({0})}}), PropertyListError::malformed);
    EXPECT_EQ(errorOf({{arrayOf({1}), arrayOf({2}), arrayOf({1})}}), PropertyListError::malformed);
    EXPECT_EQ(errorOf({{std::string("\xD1\0\x01\0\0", 5),
                        "\x51"
                        "a"}}),
              PropertyListError::malformed);
    EXPECT_EQ(errorOf({{std::string("\xD1\0\0\0\x01", 5),
                        "\x51"
                        "a"}}),
              PropertyListError::malformed)
        << "as its own key";
}

// Depth.

Layout chain(std::size_t length)
{
    Layout layout;
    for (std::size_t number = 0; number < length; ++number)
        layout.objects.push_back(arrayOf({number + 1}));
    layout.objects.emplace_back(
        "\x51"
        "a");
    return layout;
}

struct DepthRow {
    std::size_t depth;
    PropertyListError error;
};

class BinaryPropertyListDepth : public TestWithParam<DepthRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, BinaryPropertyListDepth,
                         Values(DepthRow{511, PropertyListError::none},
                                DepthRow{512, PropertyListError::none},
                                DepthRow{513, PropertyListError::tooDeep},
                                DepthRow{60'000, PropertyListError::tooDeep}));

TEST_P(BinaryPropertyListDepth, IsLimited)
{
    EXPECT_EQ(errorOf(chain(GetParam().depth)), GetParam().error);
}

TEST(BinaryPropertyList, CountsTheDepthOfSharedObjectsWhereTheyAreUsed)
{
    // A chain of 300, read first by itself, then below another of 212 or 213.
    const auto layout = [](std::size_t length) {
        Layout all;
        all.objects.push_back(arrayOf({1, 301}));
        for (std::size_t number = 1; number < 300; ++number)
            all.objects.push_back(arrayOf({number + 1}));
        all.objects.emplace_back("\xA0");
        for (std::size_t number = 0; number < length; ++number)
            all.objects.push_back(arrayOf({number + 1 < length ? 302 + number : 1}));
        return all;
    };
    EXPECT_EQ(errorOf(layout(211)), PropertyListError::none);
    EXPECT_EQ(errorOf(layout(212)), PropertyListError::tooDeep);
}

// Sharing.

/// Every level holds the next one twice.
Layout doubling(std::size_t levels)
{
    Layout layout;
    for (std::size_t number = 0; number < levels; ++number)
        layout.objects.push_back(arrayOf({number + 1, number + 1}));
    layout.objects.emplace_back(
        "\x51"
        "a");
    return layout;
}

TEST(BinaryPropertyList, SharesWhatIsStoredOnce)
{
    const Value value = *read(doubling(16));
    EXPECT_EQ(&value.array()[0].array(), &value.array()[1].array());
    EXPECT_LT(binaryPropertyList(value).size(), 200U);
    EXPECT_EQ(*propertyListWithData(binaryPropertyList(value)), value);
}

TEST(BinaryPropertyList, RefusesWhatWouldUnfoldWithoutBound)
{
    EXPECT_EQ(errorOf(doubling(60)), PropertyListError::malformed);
}

constexpr std::size_t kMegabyte = 1 << 20;

/// Counted as that many bytes with all that goes with it.
std::string dataOf(std::size_t size)
{
    const std::size_t bytes = size - UnfoldingBudget::kElementSize;
    return "\x4F\x12" + bigEndian(bytes, 4) + std::string(bytes, 'x');
}

std::string longArrayOf(const std::vector<std::size_t>& references)
{
    std::string bytes = "\xAF\x12" + bigEndian(references.size(), 4);
    for (const std::size_t reference : references)
        bytes += bigEndian(reference, 2);
    return bytes;
}

TEST(BinaryPropertyList, MayUnfoldToTheLeastThatIsAdmitted)
{
    constexpr std::size_t kMost = UnfoldingBudget::kLeast / kMegabyte;
    const auto layout = [](std::size_t count) {
        return Layout{{longArrayOf(std::vector<std::size_t>(count, 1)), dataOf(kMegabyte)}};
    };
    EXPECT_EQ(errorOf(layout(kMost - 1)), PropertyListError::none);
    EXPECT_EQ(errorOf(layout(kMost)), PropertyListError::malformed) << "with the array itself";
}

TEST(BinaryPropertyList, MayUnfoldToMoreTheLargerItIs)
{
    const Layout layout{{longArrayOf(std::vector<std::size_t>(30, 1)), dataOf(3 * kMegabyte)}};
    EXPECT_EQ(errorOf(layout), PropertyListError::none);
}

TEST(BinaryPropertyList, RefusesOneTextInVeryManyPlaces)
{
    const std::string text = "\x5F\x12" + bigEndian(500'000, 4) + std::string(500'000, 'x');
    EXPECT_EQ(errorOf({{longArrayOf(std::vector<std::size_t>(60'000, 1)), text}}),
              PropertyListError::malformed);
    std::string dictionary = "\xDF\x12" + bigEndian(30'000, 4);
    for (int number = 0; number < 60'000; ++number)
        dictionary += bigEndian(1, 2);
    EXPECT_EQ(errorOf({{dictionary, text}}), PropertyListError::malformed) << "as every key";
}

TEST(BinaryPropertyList, RefusesWhatFillsTheMemoryBeforeAnyPartIsWhole)
{
    // Each list is small enough, but holds its share while those below it are being read.
    Layout layout;
    constexpr std::size_t kLists = 500;
    for (std::size_t number = 0; number < kLists; ++number) {
        std::vector<std::size_t> references(30, kLists);
        if (number + 1 < kLists)
            references.push_back(number + 1);
        layout.objects.push_back(longArrayOf(references));
    }
    layout.objects.push_back(dataOf(kMegabyte));
    EXPECT_EQ(errorOf(layout), PropertyListError::malformed);
}

TEST(BinaryPropertyList, RefusesObjectsThatLieOverOneAnother)
{
    // A list of many objects, all of them the same bytes: a small file that would fill the memory.
    constexpr std::size_t kCount = 1000;
    std::string list = "\xAF\x11" + bigEndian(kCount, 2);
    for (std::size_t number = 1; number <= kCount; ++number)
        list += bigEndian(number, 2);
    Layout layout{{list, "\x4F\x11" + bigEndian(10'000, 2) + std::string(10'000, 'x')}};
    layout.offsets.assign(kCount + 1, 8 + list.size());
    layout.offsets[0] = 8;
    EXPECT_EQ(errorOf(layout), PropertyListError::malformed);
}

// The trailer.

class BinaryPropertyListTrailer : public TestWithParam<std::pair<std::size_t, std::string>> {};
INSTANTIATE_TEST_SUITE_P(Rows, BinaryPropertyListTrailer,
                         Values(std::pair(6, std::string(1, '\0')), std::pair(6, "\x09"),
                                std::pair(7, std::string(1, '\0')), std::pair(7, "\x09"),
                                std::pair(8, std::string(8, '\xFF')),
                                std::pair(8, std::string(8, '\0')),
                                std::pair(16, std::string(8, '\xFF')),
                                std::pair(24, std::string(8, '\xFF')),
                                std::pair(24, std::string(8, '\0'))));

TEST_P(BinaryPropertyListTrailer, IsCheckedBeforeItIsUsed)
{
    std::string bytes = Layout{
        {"\x51"
         "a"}}.bytes();
    ASSERT_TRUE(propertyListWithData(bytes).has_value());
    bytes.replace(bytes.size() - 32 + GetParam().first, GetParam().second.size(),
                  GetParam().second);
    PropertyListError error{};
    EXPECT_EQ(propertyListWithData(bytes, &error), std::nullopt);
    EXPECT_EQ(error, PropertyListError::malformed);
}

TEST(BinaryPropertyList, IsNotReadWhenItIsCutAnywhere)
{
    const std::string bytes = binaryPropertyList(Dictionary{{"a", Array{1, "text", 1.5}}});
    for (std::size_t length = 0; length < bytes.size(); ++length)
        EXPECT_EQ(propertyListWithData(std::string_view(bytes).substr(0, length)), std::nullopt)
            << length;
}

// Writing.

TEST(BinaryPropertyList, StoresEqualTextsOnce)
{
    const std::string text(1000, 'x');
    EXPECT_LT(binaryPropertyList(Array{text, text, Dictionary{{text, text}}}).size(), 1200U);
}

TEST(BinaryPropertyList, WritesManyObjectsWithWiderReferences)
{
    for (const int count : {14, 15, 16, 254, 255, 256, 257, 70'000}) {
        Array array;
        for (int number = 0; number < count; ++number)
            array.emplace_back(number);
        EXPECT_EQ(propertyListWithData(binaryPropertyList(array)), Value(array)) << count;
    }
}

TEST(BinaryPropertyList, WritesUIDs)
{
    for (const std::int64_t number : {std::int64_t{0}, std::int64_t{255}, std::int64_t{256},
                                      std::int64_t{65536}, std::int64_t{0xFFFFFFFF}}) {
        const Value uid(Dictionary{{"CF$UID", number}});
        EXPECT_THAT(binaryPropertyList(uid), Not(HasSubstr("CF$UID"))) << number;
        EXPECT_EQ(propertyListWithData(binaryPropertyList(uid)), uid) << number;
    }
    for (const Value& noUID :
         {Value(Dictionary{{"CF$UID", -1}}), Value(Dictionary{{"CF$UID", 0x100000000}}),
          Value(Dictionary{{"CF$UID", "3"}}), Value(Dictionary{{"CF$UID", 3}, {"a", 1}})}) {
        EXPECT_THAT(binaryPropertyList(noUID), HasSubstr("CF$UID"));
        EXPECT_EQ(propertyListWithData(binaryPropertyList(noUID)), noUID);
    }
}

TEST(BinaryPropertyList, CountsTheDepthOfSharedValuesWhereTheyAreUsed)
{
    Value shared(Array{});
    for (int level = 1; level < 300; ++level)
        shared = Array{shared};
    const auto below = [&](int levels) {
        Value value = shared;
        for (int level = 0; level < levels; ++level)
            value = Array{value};
        return Value(Array{shared, value});
    };
    EXPECT_EQ(propertyListWithData(binaryPropertyList(below(211))), below(211));
    EXPECT_EQ(test::exceptionOf([&] { binaryPropertyList(below(212)); }),
              "NSInvalidArgumentException: eine Property-Liste kann so tief verschachtelte Werte "
              "nicht aufnehmen");
}

}  // namespace
}  // namespace kt
