// What is no archive that anybody made: each ends in an exception, none fills the memory.

#include <rapidcheck/gtest.h>

#include "tests/Sync/Foundation/KeyedArchiveFixture.h"
#include "tests/support/ValueGenerator.h"

namespace kt::test {
namespace {

using testing::TestWithParam;
using testing::Values;

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
        RefusalRow{{Dictionary{{"$class", uid(2)}, {"NS.keys", Array{}}},
                    classNamed("NSDictionary")},
                   "'NS.objects' fehlt"},
        RefusalRow{{Dictionary{{"$class", uid(2)}, {"NS.object.0", 1}}, classNamed("NSArray")},
                   "ein Verweis fehlt"},
        RefusalRow{{Dictionary{{"$class", uid(2)}, {"NS.key.0", uid(3)}},
                    classNamed("NSDictionary"), "k"},
                   "'NS.objects' fehlt"},
        RefusalRow{{Dictionary{{"$class", uid(2)}, {"NS.intval", "1"}}, classNamed("NSNumber")},
                   "eine Zahl, die keine ist"},
        RefusalRow{{Dictionary{{"$class", uid(2)}, {"NS.bytes", Data{"\xFF"}}},
                    classNamed("NSString")},
                   "'NS.bytes' ist kein Text"},
        RefusalRow{{Dictionary{{"$class", uid(2)}, {"NS.bytes", "x"}}, classNamed("NSString")},
                   "'NS.bytes' ist kein Text"},
        RefusalRow{{Dictionary{{"$class", uid(2)}, {"NS.bytes", "x"}}, classNamed("NSData")},
                   "'NS.bytes' enthält keine Daten"},
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
    EXPECT_EQ(refusal(chain(60, 2)), "ausgeschrieben zu groß");
}

TEST(KeyedArchive, RefusesChainsWhoseEveryLinkIsLong)
{
    // Each address is that of its base and a thousand characters; each text is the next one's.
    constexpr std::int64_t kLast = 10'000;
    Array addresses{Dictionary{{"$class", uid(2)}, {"NS.base", uid(4)}, {"NS.relative", uid(3)}},
                    classNamed("NSURL"), std::string(999, 'x') + "/"};
    Array texts{Dictionary{{"$class", uid(2)}, {"NS.string", uid(4)}}, classNamed("NSString"),
                std::string(100'000, 'x')};
    for (std::int64_t number = 4; number < kLast; ++number) {
        addresses.emplace_back(
            Dictionary{{"$class", uid(2)}, {"NS.base", uid(number + 1)}, {"NS.relative", uid(3)}});
        texts.emplace_back(Dictionary{{"$class", uid(2)}, {"NS.string", uid(number + 1)}});
    }
    addresses.emplace_back(Dictionary{{"$class", uid(2)}, {"NS.relative", "http://host/"}});
    texts.emplace_back(Dictionary{{"$class", uid(2)}, {"NS.string", uid(3)}});
    EXPECT_EQ(refusal(archive(addresses)), "ausgeschrieben zu groß");
    EXPECT_EQ(refusal(archive(texts)), "ausgeschrieben zu groß");
}

TEST(KeyedArchive, RefusesOneTextInVeryManyPlaces)
{
    const auto archiveOf = [](std::size_t count) {
        return archive({Dictionary{{"$class", uid(2)}, {"NS.objects", Array(count, uid(3))}},
                        classNamed("NSArray"), std::string(100'000, 'x')});
    };
    EXPECT_EQ(unarchived(archiveOf(500)).array().size(), 500U);
    EXPECT_EQ(refusal(archiveOf(2000)), "ausgeschrieben zu groß");
}

TEST(KeyedArchive, RefusesOneTextUnderVeryManyNumbers)
{
    Array objects{Dictionary{{"$class", uid(2)}, {"NS.objects", Array{}}}, classNamed("NSArray"),
                  std::string(1'000'000, 'x'), classNamed("NSString")};
    Array lists;
    for (std::int64_t number = 5; number < 205; ++number) {
        objects.emplace_back(Dictionary{{"$class", uid(4)}, {"NS.string", uid(3)}});
        lists.push_back(uid(number));
    }
    objects[0] = Dictionary{{"$class", uid(2)}, {"NS.objects", lists}};
    EXPECT_EQ(refusal(archive(objects)), "ausgeschrieben zu groß");
}

RC_GTEST_PROP(KeyedArchiveHostile, EndsInAnAnswerOrAnExceptionForDamagedBytes, ())
{
    std::string bytes = archivedDataWithRootObject(*dictionaryValues(Alphabet::printable));
    const auto damages = *rc::gen::container<std::vector<std::pair<std::size_t, char>>>(
        rc::gen::pair(rc::gen::inRange<std::size_t>(8, bytes.size()), rc::gen::arbitrary<char>()));
    for (std::size_t number = 0; number < std::min<std::size_t>(damages.size(), 3); ++number)
        bytes[damages[number].first] = damages[number].second;
    const std::string text =
        exceptionOf([&] { static_cast<void>(unarchiveObjectWithData(bytes)); });
    RC_ASSERT(text.empty() || text.starts_with(std::string(NSInconsistentArchiveException)));
}

}  // namespace
}  // namespace kt::test
