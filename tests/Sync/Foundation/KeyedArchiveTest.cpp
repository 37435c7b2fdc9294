#include "Sync/Foundation/CalendarDate.h"
#include "tests/Sync/Foundation/KeyedArchiveFixture.h"
#include "tests/support/ValuePrinting.h"

namespace kt::test {
namespace {

using testing::TestWithParam;
using testing::Values;

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
           AddressRow{"http://host/b.ics", "", "http://host/b.ics"},
           AddressRow{"http://host/dir/b.ics", "../a.ics", "http://host/a.ics"},
           AddressRow{"http://host/dir/b.ics", "//other/a.ics", "http://other/a.ics"},
           AddressRow{"http://host/dir/b.ics", "?q", "http://host/dir/b.ics?q"}));

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

// Old forms, subclasses, and what is left out.

INSTANTIATE_TEST_SUITE_P(
    OldForms, KeyedArchiveObject,
    Values(ObjectRow{{Dictionary{{"$class", uid(2)}, {"NS.bytes", Data{"\xC3\xA4"}}},
                      classNamed("NSString")},
                     "\xC3\xA4"},
           ObjectRow{{Dictionary{{"$class", uid(2)}, {"NS.bytes", uid(3)}},
                      classNamed("NSMutableString"), Data{"a"}},
                     "a"},
           ObjectRow{{Dictionary{{"$class", uid(2)}, {"NS.bytes", Data{"\xFF"}}},
                      classNamed("NSData")},
                     Data{"\xFF"}},
           ObjectRow{{Dictionary{{"$class", uid(2)},
                                 {"NS.key.0", uid(3)},
                                 {"NS.key.1", uid(4)},
                                 {"NS.object.0", uid(4)},
                                 {"NS.object.1", uid(3)}},
                      classNamed("NSDictionary"), "k", "l"},
                     Dictionary{{"k", "l"}, {"l", "k"}}},
           ObjectRow{{Dictionary{{"$class", uid(2)},
                                 {"NS.object.0", uid(3)},
                                 {"NS.object.1", uid(3)},
                                 {"NS.object.3", uid(4000)}},
                      classNamed("NSArray"), "a"},
                     Array{"a", "a"}},
           ObjectRow{{Dictionary{{"$class", uid(2)}, {"NS.intval", 900}}, classNamed("NSNumber")},
                     900},
           ObjectRow{{Dictionary{{"$class", uid(2)}, {"NS.dblval", 1.5}}, classNamed("NSNumber")},
                     1.5},
           ObjectRow{{Dictionary{{"$class", uid(2)}, {"NS.boolval", true}}, classNamed("NSNumber")},
                     true},
           ObjectRow{{Dictionary{{"$class", uid(2)}, {"NS.number", 7}}, classNamed("NSNumber")},
                     7}));

INSTANTIATE_TEST_SUITE_P(
    Subclasses, KeyedArchiveObject,
    Values(ObjectRow{{Dictionary{{"$class", uid(2)}, {"NS.time", 0}},
                      classNamed("NSCalendarDate", {"NSCalendarDate", "NSDate", "NSObject"})},
                     dateWithISO8601("2001-01-01T00:00:00Z").value()},
           ObjectRow{{Dictionary{{"$class", uid(2)}, {"NS.objects", Array{uid(3)}}},
                      classNamed("NSCountedSet",
                                 {7, "NSCountedSet", "NSMutableSet", "NSSet", "NSObject"}),
                      "a"},
                     Array{"a"}},
           ObjectRow{{Dictionary{{"$class", uid(2)}, {"NS.intval", 1}},
                      classNamed("NSCFNumber", {"NSCFNumber", "NSNumber", "NSValue", "NSObject"})},
                     1}));

/// Objects that are left out; the table goes on behind number 2.
class KeyedArchiveLeftOut : public TestWithParam<Array> {};

INSTANTIATE_TEST_SUITE_P(
    Rows, KeyedArchiveLeftOut,
    Values(Array{Dictionary{{"$class", uid(2)}}, classNamed("NSNull")},
           Array{Dictionary{{"$class", uid(2)}}, classNamed("NSWindow")},
           // Nobody follows what stands in it.
           Array{Dictionary{{"$class", uid(2)}, {"NS.objects", Array{uid(1), uid(4000)}}},
                 classNamed("NSWindow", {"NSWindow", "NSResponder", "NSObject"})},
           Array{Dictionary{{"$class", uid(2)}}, classNamed("NSWindow", {7})},
           Array{Dictionary{{"$class", uid(2)}},
                 Dictionary{{"$classname", "NSWindow"}, {"$classes", "NSDate"}}},
           // Put down in another way than its class is.
           Array{Dictionary{{"$class", uid(2)}, {"CD.time", 1}},
                 classNamed("NSCalendarDate", {"NSCalendarDate", "NSDate", "NSObject"})},
           Array{Dictionary{{"$class", uid(2)}}, classNamed("NSArray")},
           Array{Dictionary{{"$class", uid(2)}}, classNamed("NSString")},
           Array{Dictionary{{"$class", uid(2)}, {"NS.mantissa", 1}},
                 classNamed("NSDecimalNumber", {"NSDecimalNumber", "NSNumber", "NSObject"})},
           // Made of such an object.
           Array{Dictionary{{"$class", uid(2)}, {"NS.base", uid(3)}, {"NS.relative", "x"}},
                 classNamed("NSURL"), Dictionary{{"$class", uid(4)}}, classNamed("NSWindow")},
           Array{Dictionary{{"$class", uid(2)}, {"NS.string", uid(3)}}, classNamed("NSString"),
                 Dictionary{{"$class", uid(4)}}, classNamed("NSWindow")},
           Array{Dictionary{{"$class", uid(2)}, {"NS.data", uid(3)}}, classNamed("NSData"),
                 Dictionary{{"$class", uid(4)}}, classNamed("NSWindow")}));

TEST_P(KeyedArchiveLeftOut, IsNilAsTheRoot) { EXPECT_EQ(unarchived(archive(GetParam())), Value()); }

TEST_P(KeyedArchiveLeftOut, IsMissingFromTheContainersThatHoldIt)
{
    Array objects = GetParam();
    const auto number = static_cast<std::int64_t>(objects.size()) + 1;  // of the next one
    objects.emplace_back("a");
    objects.emplace_back(Dictionary{{"$class", uid(number + 2)},
                                    {"NS.keys", Array{uid(1), uid(number), uid(number + 5)}},
                                    {"NS.objects", Array{uid(number), uid(1), uid(number + 3)}}});
    objects.push_back(classNamed("NSDictionary"));
    objects.emplace_back(Dictionary{{"$class", uid(number + 4)},
                                    {"NS.objects", Array{uid(1), uid(number), uid(1)}}});
    objects.push_back(classNamed("NSArray"));
    objects.emplace_back("list");
    Dictionary whole = archive(objects).dictionary();
    whole.set("$top", Dictionary{{"root", uid(number + 1)}});
    bool leftOut = false;
    EXPECT_EQ(unarchiveObjectWithData(binaryPropertyList(whole), &leftOut),
              Value(Dictionary{{"list", Array{"a"}}}));
    const bool isNull = objects[1] == classNamed("NSNull");
    EXPECT_EQ(leftOut, !isNull);
}

TEST(KeyedArchive, SaysThatNothingWasLeftOut)
{
    bool leftOut = true;
    EXPECT_EQ(unarchiveObjectWithData(binaryPropertyList(archive({"text"})), &leftOut),
              Value("text"));
    EXPECT_FALSE(leftOut);
}

}  // namespace
}  // namespace kt::test
