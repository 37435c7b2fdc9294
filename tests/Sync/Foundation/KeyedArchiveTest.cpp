#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "Sync/Foundation/CalendarDate.h"
#include "Sync/Foundation/Dictionary.h"
#include "Sync/Foundation/KeyedArchive.h"
#include "Sync/Foundation/PropertyList.h"
#include "tests/support/ExceptionOf.h"
#include "tests/support/ValueGenerator.h"

namespace kt {
namespace {

using test::Alphabet;
using test::exceptionOf;
using testing::TestWithParam;
using testing::Values;

Value uid(std::int64_t number) { return Dictionary{{"CF$UID", number}}; }

Value classNamed(const char* name)
{
    return Dictionary{{"$classname", name}, {"$classes", Array{name, "NSObject"}}};
}

/// An archive made by hand; `$null` stands in front of the objects, object 1 is the root.
Value archive(Array objects)
{
    objects.insert(objects.begin(), "$null");
    return Dictionary{{"$version", 100000},
                      {"$archiver", "NSKeyedArchiver"},
                      {"$top", Dictionary{{"root", uid(1)}}},
                      {"$objects", objects}};
}

Value unarchived(const Value& archive)
{
    return unarchiveObjectWithData(binaryPropertyList(archive)).value();
}

/// The reason without the name and the common beginning.
std::string refusal(const Value& archive)
{
    const std::string kBegin = "NSInconsistentArchiveException: Archiv: ";
    const std::string text =
        exceptionOf([&] { unarchiveObjectWithData(binaryPropertyList(archive)); });
    EXPECT_TRUE(text.starts_with(kBegin)) << text;
    return text.substr(std::min(kBegin.size(), text.size()));
}

// Reading.

struct ObjectRow {
    Array objects;
    Value value;
};

class KeyedArchiveObject : public TestWithParam<ObjectRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, KeyedArchiveObject,
    Values(
        ObjectRow{{"text"}, "text"}, ObjectRow{{42}, 42}, ObjectRow{{1.5}, 1.5},
        ObjectRow{{true}, true}, ObjectRow{{Data{"ab"}}, Data{"ab"}}, ObjectRow{{"$null"}, "$null"},
        ObjectRow{{Dictionary{{"$class", uid(2)}, {"NS.string", "text"}}, classNamed("NSString")},
                  "text"},
        ObjectRow{{Dictionary{{"$class", uid(2)}, {"NS.string", uid(3)}},
                   classNamed("NSMutableString"), "text"},
                  "text"},
        ObjectRow{{Dictionary{{"$class", uid(2)}, {"NS.data", Data{"ab"}}}, classNamed("NSData")},
                  Data{"ab"}},
        ObjectRow{{Dictionary{{"$class", uid(2)}, {"NS.data", uid(3)}}, classNamed("NSMutableData"),
                   Data{"ab"}},
                  Data{"ab"}},
        ObjectRow{{Dictionary{{"$class", uid(2)}, {"NS.time", 220179600.0}}, classNamed("NSDate")},
                  dateWithISO8601("2007-12-24T09:00:00Z").value()},
        ObjectRow{{Dictionary{{"$class", uid(2)}, {"NS.time", 0}}, classNamed("NSDate")},
                  dateWithISO8601("2001-01-01T00:00:00Z").value()},
        ObjectRow{{Dictionary{{"$class", uid(2)}, {"NS.objects", Array{uid(3), uid(4), uid(3)}}},
                   classNamed("NSArray"), "a", 1},
                  Array{"a", 1, "a"}},
        ObjectRow{{Dictionary{{"$class", uid(2)}, {"NS.objects", Array{uid(3)}}},
                   classNamed("NSMutableArray"), "a"},
                  Array{"a"}},
        ObjectRow{{Dictionary{{"$class", uid(2)}, {"NS.objects", Array{uid(3)}}},
                   classNamed("NSSet"), "a"},
                  Array{"a"}},
        ObjectRow{{Dictionary{{"$class", uid(2)},
                              {"NS.keys", Array{uid(3)}},
                              {"NS.objects", Array{uid(4)}}},
                   classNamed("NSDictionary"), "k", "v"},
                  Dictionary{{"k", "v"}}},
        ObjectRow{{Dictionary{{"$class", uid(2)},
                              {"NS.keys", Array{uid(3), uid(4)}},
                              {"NS.objects", Array{uid(0), uid(3)}}},
                   classNamed("NSMutableDictionary"), "k", "l"},
                  Dictionary{{"l", "k"}}}));

TEST_P(KeyedArchiveObject, IsMadeFromItsFields)
{
    const Value value = unarchived(archive(GetParam().objects));
    EXPECT_EQ(value, GetParam().value);
    EXPECT_EQ(value.kind(), GetParam().value.kind());
}

struct AddressRow {
    const char* base;
    const char* relative;
    const char* address;
};

class KeyedArchiveURL : public TestWithParam<AddressRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, KeyedArchiveURL,
    Values(AddressRow{nullptr, "http://host/a.ics", "http://host/a.ics"},
           AddressRow{nullptr, "a.ics", "a.ics"},
           AddressRow{"http://host/dir/", "a.ics", "http://host/dir/a.ics"},
           AddressRow{"http://host/dir/b.ics", "a.ics", "http://host/dir/a.ics"},
           AddressRow{"http://host/dir/b.ics?q=/x", "a.ics", "http://host/dir/a.ics"},
           AddressRow{"http://host", "a.ics", "http://host/a.ics"},
           AddressRow{"http://host/dir/b.ics", "/a.ics", "http://host/a.ics"},
           AddressRow{"http://host/b.ics", "webcal://other/a.ics", "webcal://other/a.ics"},
           AddressRow{"http://host/b.ics", "", "http://host/b.ics"}));

TEST_P(KeyedArchiveURL, IsTheAbsoluteAddress)
{
    Array objects{Dictionary{{"$class", uid(2)},
                             {"NS.base", uid(GetParam().base == nullptr ? 0 : 4)},
                             {"NS.relative", uid(3)}},
                  classNamed("NSURL"), GetParam().relative};
    if (GetParam().base != nullptr) {
        objects.emplace_back(
            Dictionary{{"$class", uid(2)}, {"NS.base", uid(0)}, {"NS.relative", uid(5)}});
        objects.emplace_back(GetParam().base);
    }
    const Value value = unarchived(archive(objects));
    ASSERT_NE(value.objectOfClass<URL>(), nullptr);
    EXPECT_EQ(value.description(), GetParam().address);
}

TEST(KeyedArchive, ReadsArchivesInXML)
{
    EXPECT_EQ(unarchiveObjectWithData(xmlPropertyList(archive({"text"}))), Value("text"));
}

TEST(KeyedArchive, IsNilWhenItsRootIsNull)
{
    const Value empty(Dictionary{{"$archiver", "NSKeyedArchiver"},
                                 {"$top", Dictionary{{"root", uid(0)}}},
                                 {"$objects", Array{"$null"}}});
    EXPECT_EQ(unarchiveObjectWithData(binaryPropertyList(empty)), Value());
}

TEST(KeyedArchive, IsNoneWithoutTheMark)
{
    EXPECT_EQ(unarchiveObjectWithData(""), std::nullopt);
    EXPECT_EQ(unarchiveObjectWithData("junk"), std::nullopt);
    EXPECT_EQ(unarchiveObjectWithData(binaryPropertyList(Array{1})), std::nullopt);
    EXPECT_EQ(unarchiveObjectWithData(binaryPropertyList(Dictionary{{"a", 1}})), std::nullopt);
    EXPECT_EQ(unarchiveObjectWithData(binaryPropertyList(Dictionary{{"$archiver", "Other"}})),
              std::nullopt);
}

// Refusals.

struct RefusalRow {
    Array objects;
    std::string reason;
};

class KeyedArchiveRefusal : public TestWithParam<RefusalRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, KeyedArchiveRefusal,
    Values(
        RefusalRow{{}, "es gibt kein Objekt 1"}, RefusalRow{{Array{"a"}}, "eine Liste ohne Klasse"},
        RefusalRow{{Dictionary{{"a", 1}}}, "'$class' fehlt"},
        RefusalRow{{Dictionary{{"$class", 1}}}, "ein Verweis fehlt"},
        RefusalRow{{Dictionary{{"$class", uid(9)}}}, "es gibt kein Objekt 9"},
        RefusalRow{{Dictionary{{"$class", uid(2)}}, "no class"}, "eine Klasse ohne Namen"},
        RefusalRow{{Dictionary{{"$class", uid(2)}}, Dictionary{{"$classname", 7}}},
                   "eine Klasse ohne Namen"},
        RefusalRow{{Dictionary{{"$class", uid(2)}}, classNamed("NSWindow")},
                   "unbekannte Klasse 'NSWindow'"},
        RefusalRow{{Dictionary{{"$class", uid(2)}}, classNamed("NSArray")}, "'NS.objects' fehlt"},
        RefusalRow{{Dictionary{{"$class", uid(2)}, {"NS.objects", 1}}, classNamed("NSArray")},
                   "'NS.objects' ist keine Liste"},
        RefusalRow{{Dictionary{{"$class", uid(2)}, {"NS.objects", Array{1}}},
                    classNamed("NSArray")},
                   "ein Verweis fehlt"},
        RefusalRow{{Dictionary{{"$class", uid(2)}, {"NS.objects", Array{uid(0)}}},
                    classNamed("NSArray")},
                   "eine Liste enthält nil"},
        RefusalRow{{Dictionary{{"$class", uid(2)}, {"NS.objects", Array{uid(3)}}},
                    classNamed("NSArray")},
                   "es gibt kein Objekt 3"},
        RefusalRow{{Dictionary{{"$class", uid(2)}, {"NS.objects", Array{uid(0xFFFFFFFF)}}},
                    classNamed("NSArray")},
                   "es gibt kein Objekt 4294967295"},
        RefusalRow{
            {Dictionary{{"$class", uid(2)}, {"NS.keys", Array{uid(3)}}, {"NS.objects", Array{}}},
             classNamed("NSDictionary"), "k"},
            "ein Wörterbuch, in dem nicht jeder Schlüssel einen Wert hat"},
        RefusalRow{{Dictionary{{"$class", uid(2)},
                               {"NS.keys", Array{uid(3)}},
                               {"NS.objects", Array{uid(3)}}},
                    classNamed("NSDictionary"), 7},
                   "ein Schlüssel eines Wörterbuchs ist kein Text"},
        RefusalRow{{Dictionary{{"$class", uid(2)}, {"NS.string", 1}}, classNamed("NSString")},
                   "'NS.string' ist kein Text"},
        RefusalRow{{Dictionary{{"$class", uid(2)}, {"NS.data", "x"}}, classNamed("NSData")},
                   "'NS.data' enthält keine Daten"},
        RefusalRow{{Dictionary{{"$class", uid(2)}, {"NS.time", "x"}}, classNamed("NSDate")},
                   "'NS.time' ist keine Zeit"},
        RefusalRow{{Dictionary{{"$class", uid(2)}, {"NS.time", 1e300}}, classNamed("NSDate")},
                   "'NS.time' ist keine Zeit"},
        RefusalRow{{Dictionary{{"$class", uid(2)}, {"NS.base", uid(3)}, {"NS.relative", "x"}},
                    classNamed("NSURL"), "text"},
                   "'NS.base' ist keine Adresse"},
        RefusalRow{{Dictionary{{"$class", uid(2)}, {"NS.relative", uid(0)}}, classNamed("NSURL")},
                   "'NS.relative' ist kein Text"}));

TEST_P(KeyedArchiveRefusal, NamesTheReason)
{
    EXPECT_EQ(refusal(archive(GetParam().objects)), GetParam().reason);
}

TEST(KeyedArchive, RefusesAnArchiveWithoutItsParts)
{
    const Dictionary whole = archive({"text"}).dictionary();
    for (const char* part : {"$top", "$objects"}) {
        Dictionary incomplete = whole;
        incomplete.remove(part);
        EXPECT_EQ(refusal(incomplete), "ein Teil fehlt");
        incomplete.set(part, "text");
        EXPECT_EQ(refusal(incomplete), "ein Teil fehlt");
    }
    Dictionary rootless = whole;
    rootless.set("$top", Dictionary{});
    EXPECT_EQ(refusal(rootless), "ein Verweis fehlt");
}

TEST(KeyedArchive, EndsCyclesInAnException)
{
    const auto array = [](std::int64_t element) {
        return Value(Dictionary{{"$class", uid(2)}, {"NS.objects", Array{uid(element)}}});
    };
    EXPECT_EQ(refusal(archive({array(1), classNamed("NSArray")})), "Objekt 1 enthält sich selbst");
    EXPECT_EQ(refusal(archive({array(3), classNamed("NSArray"), array(4), array(3)})),
              "Objekt 3 enthält sich selbst");
    EXPECT_EQ(refusal(archive({Dictionary{{"$class", uid(2)},
                                          {"NS.keys", Array{uid(1)}},
                                          {"NS.objects", Array{uid(1)}}},
                               classNamed("NSDictionary")})),
              "Objekt 1 enthält sich selbst");
    EXPECT_EQ(refusal(archive(
                  {Dictionary{{"$class", uid(2)}, {"NS.base", uid(1)}, {"NS.relative", "x"}},
                   classNamed("NSURL")})),
              "Objekt 1 enthält sich selbst");
    EXPECT_EQ(refusal(archive(
                  {Dictionary{{"$class", uid(2)}, {"NS.string", uid(1)}}, classNamed("NSString")})),
              "Objekt 1 enthält sich selbst");
}

// Depth and sharing.

/// Arrays inside one another, each holding the next one `width` times.
Value chain(int length, int width)
{
    Array objects;
    for (int number = 0; number < length; ++number) {
        const std::int64_t next = number + 1 < length ? number + 2 : length + 2;
        objects.emplace_back(
            Dictionary{{"$class", uid(length + 1)},
                       {"NS.objects", Array(static_cast<std::size_t>(width), uid(next))}});
    }
    objects.push_back(classNamed("NSArray"));
    objects.emplace_back("end");
    return archive(objects);
}

TEST(KeyedArchive, IsReadToTheDepthOfPropertyLists)
{
    for (const int depth : {1, 511, 512}) {
        Value value = unarchived(chain(depth, 1));
        for (int level = 0; level < depth; ++level)
            value = Value(value.array()[0]);
        EXPECT_EQ(value, Value("end"));
    }
    for (const int depth : {513, 20'000})
        EXPECT_EQ(refusal(chain(depth, 1)), "zu tief verschachtelt");
}

TEST(KeyedArchive, FollowsLongChainsOfBasesAndTexts)
{
    constexpr std::int64_t kLast = 20'000;
    Array addresses{Dictionary{{"$class", uid(2)}, {"NS.base", uid(3)}, {"NS.relative", "x"}},
                    classNamed("NSURL")};
    Array texts{Dictionary{{"$class", uid(2)}, {"NS.string", uid(3)}}, classNamed("NSString")};
    for (std::int64_t number = 3; number < kLast; ++number) {
        addresses.emplace_back(
            Dictionary{{"$class", uid(2)}, {"NS.base", uid(number + 1)}, {"NS.relative", "x"}});
        texts.emplace_back(Dictionary{{"$class", uid(2)}, {"NS.string", uid(number + 1)}});
    }
    addresses.emplace_back("end");
    texts.emplace_back("end");
    EXPECT_EQ(refusal(archive(addresses)), "'NS.base' ist keine Adresse");
    EXPECT_EQ(unarchived(archive(texts)), Value("end"));
}

TEST(KeyedArchive, RefusesPropertyListsThatAreTooDeepThemselves)
{
    std::string tags;
    for (int number = 0; number < 513; ++number)
        tags += "<array>";
    EXPECT_EQ(exceptionOf([&] { unarchiveObjectWithData("<plist>" + tags); }),
              "NSInconsistentArchiveException: Archiv: zu tief verschachtelt");
}

TEST(KeyedArchive, SharesWhatIsStoredOnce)
{
    const Value value = unarchived(chain(16, 2));
    EXPECT_EQ(&value.array()[0].array(), &value.array()[1].array());
    EXPECT_LT(archivedDataWithRootObject(value).size(), 1000U);
    EXPECT_EQ(unarchiveObjectWithData(archivedDataWithRootObject(value)), value);
}

TEST(KeyedArchive, RefusesWhatWouldUnfoldWithoutBound)
{
    EXPECT_EQ(refusal(chain(60, 2)), "zu viele Elemente");
}

RC_GTEST_PROP(KeyedArchiveHostile, EndsInAnAnswerOrAnExceptionForDamagedBytes, ())
{
    std::string bytes = archivedDataWithRootObject(*test::dictionaryValues(Alphabet::printable));
    const auto damages = *rc::gen::container<std::vector<std::pair<std::size_t, char>>>(
        rc::gen::pair(rc::gen::inRange<std::size_t>(8, bytes.size()), rc::gen::arbitrary<char>()));
    for (std::size_t number = 0; number < std::min<std::size_t>(damages.size(), 3); ++number)
        bytes[damages[number].first] = damages[number].second;
    const std::string text =
        exceptionOf([&] { static_cast<void>(unarchiveObjectWithData(bytes)); });
    RC_ASSERT(text.empty() || text.starts_with(std::string(NSInconsistentArchiveException)));
}

}  // namespace
}  // namespace kt
