#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/Foundation/KeyedArchive.h"
#include "Sync/Foundation/PropertyList.h"
#include "tests/support/ExceptionOf.h"
#include "tests/support/ValueGenerator.h"

namespace kt {
namespace {

using test::Alphabet;
using test::exceptionOf;
using testing::HasSubstr;

Value uid(std::int64_t number) { return Dictionary{{"CF$UID", number}}; }

TEST(KeyedArchiver, StoresEqualTextsOnce)
{
    const std::string text(1000, 'x');
    const Value parts = *propertyListWithData(
        archivedDataWithRootObject(Array{text, text, Dictionary{{text, text}}}));
    const Array& objects = parts.dictionary()["$objects"].array();
    EXPECT_EQ(std::count(objects.begin(), objects.end(), Value(text)), 1);
}

TEST(KeyedArchiver, IsWrittenWithItsParts)
{
    const Value parts = *propertyListWithData(archivedDataWithRootObject("text"));
    EXPECT_EQ(parts, Value(Dictionary{{"$version", 100000},
                                      {"$archiver", "NSKeyedArchiver"},
                                      {"$top", Dictionary{{"root", uid(1)}}},
                                      {"$objects", Array{"$null", "text"}}}));
}

TEST(KeyedArchiver, KeepsAddressesNilAndLookalikes)
{
    for (const Value& value :
         {Value(std::make_shared<URL>("http://host/a.ics")),
          Value(Array{std::make_shared<URL>("x")}), Value(), Value("$null"),
          Value(Dictionary{{"CF$UID", 3}}), Value(Dictionary{{"$class", "x"}}), Value("")})
        EXPECT_EQ(unarchiveObjectWithData(archivedDataWithRootObject(value)), value)
            << value.description();
}

class Other : public Object {
public:
    std::string description() const override { return "other"; }
};

TEST(KeyedArchiver, RefusesWhatItCannotHold)
{
    EXPECT_EQ(exceptionOf([] { archivedDataWithRootObject(Array{std::make_shared<Other>()}); }),
              "NSInvalidArgumentException: ein Archiv kann ein solches Objekt nicht aufnehmen");
    EXPECT_THAT(exceptionOf([] { archivedDataWithRootObject("\xFF"); }),
                HasSubstr("NSInvalidArgumentException"));
    const auto nested = [](int depth) {
        Value value(Array{});
        for (int level = 1; level < depth; ++level)
            value = Array{value};
        return value;
    };
    EXPECT_EQ(unarchiveObjectWithData(archivedDataWithRootObject(nested(512))), nested(512));
    EXPECT_EQ(
        exceptionOf([&] { archivedDataWithRootObject(nested(513)); }),
        "NSInvalidArgumentException: ein Archiv kann so tief verschachtelte Werte nicht aufnehmen");
    const Value shared = nested(300);
    Value below = shared;
    for (int level = 0; level < 212; ++level)
        below = Array{below};
    EXPECT_NE(exceptionOf([&] { archivedDataWithRootObject(Array{shared, below}); }), "");
}

TEST(URL, IsEqualByItsAddress)
{
    EXPECT_TRUE(URL("a").isEqual(URL("a")));
    EXPECT_FALSE(URL("a").isEqual(URL("b")));
    EXPECT_FALSE(URL("other").isEqual(Other()));
}

RC_GTEST_PROP(KeyedArchiverRoundTrip, KeepsEverything, ())
{
    const Value value = *test::values(Alphabet::everything);
    const auto again = unarchiveObjectWithData(archivedDataWithRootObject(value));
    RC_ASSERT(again.has_value());
    RC_ASSERT(*again == value);
    RC_ASSERT(again->description() == value.description());
}

}  // namespace
}  // namespace kt
