#include <cmath>
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "Sync/Foundation/CalendarDate.h"
#include "Sync/Foundation/KeyedArchive.h"
#include "Sync/Foundation/PropertyList.h"
#include "tests/support/ExceptionOf.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/ValueGenerator.h"

namespace kt {
namespace {

using test::Alphabet;
using test::exceptionOf;
using test::TemporaryFolder;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::TestWithParam;
using testing::Values;

const std::string kHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
    "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";

std::string xml(const std::string& body) { return kHead + body + "\n</plist>\n"; }

std::string repeated(const std::string& text, int count)
{
    std::string all;
    for (int number = 0; number < count; ++number)
        all += text;
    return all;
}

std::string nestedXML(int depth)
{
    return xml(repeated("<array>", depth) + repeated("</array>", depth));
}

Value nestedArray(int depth)
{
    Value value(Array{});
    for (int level = 1; level < depth; ++level)
        value = Array{value};
    return value;
}

Date instant(std::string_view text) { return dateWithISO8601(text).value(); }

// Reading XML.

struct XMLRow {
    std::string body;
    Value value;
};

class PropertyListXML : public TestWithParam<XMLRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, PropertyListXML,
    Values(
        XMLRow{"<string>text</string>", "text"}, XMLRow{"<string/>", ""},
        XMLRow{"<string></string>", ""}, XMLRow{"<string> a\tb\n </string>", " a\tb\n "},
        XMLRow{"<string>&lt;&amp;&gt;&quot;&apos;</string>", "<&>\"'"},
        XMLRow{"<string>&#228;&#x1F600;&#13;</string>", "\xC3\xA4\xF0\x9F\x98\x80\r"},
        XMLRow{"<string>\xC3\xA4</string>", "\xC3\xA4"},
        XMLRow{"<string><![CDATA[<array>&amp;]]></string>", "<array>&amp;"},
        XMLRow{"<string>a<!-- </string> -->b</string>", "ab"}, XMLRow{"<integer>42</integer>", 42},
        XMLRow{"<integer>-42</integer>", -42}, XMLRow{"<integer>0x10</integer>", 16},
        XMLRow{"<integer>9223372036854775807</integer>", std::numeric_limits<std::int64_t>::max()},
        XMLRow{"<integer>-9223372036854775808</integer>", std::numeric_limits<std::int64_t>::min()},
        XMLRow{"<integer>18446744073709551615</integer>", 18446744073709551615.0},
        XMLRow{"<real>-1.5e-7</real>", -1.5e-7}, XMLRow{"<real>3</real>", 3.0},
        XMLRow{"<real> +.5E+2 </real>", 50.0}, XMLRow{"<integer> 7\n</integer>", 7},
        XMLRow{"<true/>", true}, XMLRow{"<false/>", false},
        XMLRow{"<data>SGVs\n\tbG8=</data>", Data{"Hello"}}, XMLRow{"<data/>", Data{}},
        XMLRow{"<date>2007-12-24T09:00:00Z</date>", instant("2007-12-24T09:00:00Z")},
        XMLRow{"<date>4001-01-01T00:00:00Z</date>", instant("4001-01-01T00:00:00Z")},
        XMLRow{"<date>1601-01-01T00:00:00Z</date>", instant("1601-01-01T00:00:00Z")},
        XMLRow{"<array/>", Array{}}, XMLRow{"<dict/>", Dictionary{}},
        XMLRow{"<array><integer>1</integer><!-- two --><array><true/></array></array>",
               Array{1, Array{true}}},
        XMLRow{"<dict><key>a</key><string>b</string></dict>", Dictionary{{"a", "b"}}},
        XMLRow{"<dict ><key >a</key ><true /></dict >", Dictionary{{"a", true}}},
        XMLRow{"<dict><key>CF$UID</key><integer>3</integer></dict>", Dictionary{{"CF$UID", 3}}}));

TEST_P(PropertyListXML, IsRead)
{
    PropertyListError error{};
    const auto value = propertyListWithData(xml(GetParam().body), &error);
    ASSERT_TRUE(value.has_value());
    EXPECT_EQ(*value, GetParam().value);
    EXPECT_EQ(value->kind(), GetParam().value.kind());
    EXPECT_EQ(error, PropertyListError::none);
}

TEST(PropertyList, IsReadWithAByteOrderMarkAndWithoutAHead)
{
    EXPECT_EQ(propertyListWithData("\xEF\xBB\xBF" + xml("<true/>")), Value(true));
    EXPECT_EQ(propertyListWithData("<plist><true/></plist>"), Value(true));
    EXPECT_EQ(propertyListWithData("<!-- by hand --><plist version='1.0'><true/></plist>"),
              Value(true));
}

std::string utf16(const std::string& latin, bool isBigEndian)
{
    std::string bytes = isBigEndian ? "\xFE\xFF" : "\xFF\xFE";
    for (const char character : latin)
        bytes += isBigEndian ? std::string{'\0', character} : std::string{character, '\0'};
    return bytes;
}

TEST(PropertyList, IsReadInUTF16WithAByteOrderMark)
{
    const Value value(Dictionary{{"a", "\xC3\xA4"}});
    for (const bool isBigEndian : {true, false}) {
        EXPECT_EQ(propertyListWithData(
                      utf16(xml("<dict><key>a</key><string>\xE4</string></dict>"), isBigEndian)),
                  value);
        EXPECT_EQ(propertyListWithData(
                      utf16("<?xml version=\"1.0\" encoding=\"UTF-16\"?>"
                            "<plist><dict><key>a</key><string>\xE4</string></dict></plist>",
                            isBigEndian)),
                  value);
        EXPECT_EQ(propertyListWithData(utf16("{ a = \"\xE4\"; }", isBigEndian)), value);
    }
    // A pair, by hand.
    EXPECT_EQ(propertyListWithData(std::string("\xFE\xFF\0(\0\"\xD8\x3D\xDE\0\0\"\0)", 14)),
              Value(Array{"\xF0\x9F\x98\x80"}));
}

TEST(PropertyList, OfManyEqualTextsIsMeasuredByTheFileInWhichTheyStand)
{
    // Far beyond what a small file may unfold to, once equal texts are stored once.
    const std::string text = "<string>" + std::string(1'000'000, 'x') + "</string>";
    const auto value = propertyListWithData(xml("<array>" + repeated(text, 70) + "</array>"));
    ASSERT_TRUE(value.has_value());
    EXPECT_EQ(value->array().size(), 70U);
}

TEST(PropertyList, KeepsTheOrderOfKeys)
{
    const Value value =
        *propertyListWithData(xml("<dict><key>z</key><true/><key>a</key><true/><key>m</key><true/"
                                  "><key>z</key><false/></dict>"));
    std::vector<std::string> keys;
    for (const auto& entry : value.dictionary())
        keys.push_back(entry.first);
    EXPECT_THAT(keys, ElementsAre("z", "a", "m"));
    EXPECT_EQ(value.dictionary()["z"], Value(false)) << "the last of equal keys";
}

class PropertyListMalformed : public TestWithParam<std::string> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, PropertyListMalformed,
    Values("", " ", "junk", "'text'", "<48656c>", "<plist/>", "<plist></plist>", "<plist><true/>",
           "<plist version=\"1.0\"><array><true/></plist>", xml("<array>"), xml("</array>"),
           xml("<array></dict>"), xml("<array></array></array>"), xml("<unknown/>"),
           xml("<dict><key>a</key></dict>"), xml("<string>a</integer>"),
           xml("<string>&bogus;</string>"), xml("<string>&#0;</string>"),
           xml("<string>a & b</string>"), xml("<string>\xFF</string>"),
           xml(std::string("<string>a\0b</string>", 20)), xml("<array>text</array>"),
           xml("<!-- open <true/>"), xml("<string><![CDATA[ open </string>"), kHead.substr(0, 60),
           kHead + "<true/>", xml("<true/>").substr(0, kHead.size() + 12),
           xml("<dict><true/></dict>"), xml("<dict><key>a</key><key>b</key><true/></dict>"),
           xml("<array><key>a</key></array>"), xml("<key>a</key>"), xml("<integer>junk</integer>"),
           xml("<integer/>"), xml("<integer>1.5</integer>"), xml("<integer>0x</integer>"),
           xml("<real>1,5</real>"), xml("<real>.</real>"), xml("<real>1.2.3</real>"),
           xml("<real>1e</real>"), xml("<real></real>"), xml("<date>2007-12-24</date>"),
           xml("<date>2007-02-30T00:00:00Z</date>"), xml("<date/>"), xml("<data>@@</data>"),
           xml("<true/>") + "<array>", xml("<true/>") + xml("<true/>"),
           xml("<plist><true/></plist>"), xml("<array a=\"1\"></array>"),
           xml("<array><?php ?></array>"), xml("< true/>"), xml("<>"), xml("<true/"),
           xml("<\"true\"/>"), "bplist00", "bplist00" + std::string(31, '\0'),
           "bplist00" + std::string(32, '\0'), "bplist00" + std::string(32, '\xFF'),
           std::string("\xFE\xFF\0<\0p", 6), "\xFE\xFF", "\xFF\xFE{"));

TEST_P(PropertyListMalformed, IsNotRead)
{
    PropertyListError error{};
    EXPECT_EQ(propertyListWithData(GetParam(), &error), std::nullopt);
    EXPECT_EQ(error, PropertyListError::malformed);
}

// Depth.

struct DepthRow {
    int depth;
    PropertyListError error;
};

class PropertyListDepth : public TestWithParam<DepthRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, PropertyListDepth,
                         Values(DepthRow{1, PropertyListError::none},
                                DepthRow{511, PropertyListError::none},
                                DepthRow{512, PropertyListError::none},
                                DepthRow{513, PropertyListError::tooDeep},
                                DepthRow{1'000'000, PropertyListError::tooDeep}));

TEST_P(PropertyListDepth, IsLimitedInXML)
{
    PropertyListError error{};
    EXPECT_EQ(propertyListWithData(nestedXML(GetParam().depth), &error).has_value(),
              GetParam().error == PropertyListError::none);
    EXPECT_EQ(error, GetParam().error);
}

TEST_P(PropertyListDepth, IsLimitedInXMLThatIsNeverClosed)
{
    PropertyListError error{};
    EXPECT_EQ(propertyListWithData(kHead + repeated("<dict><key>a</key>", GetParam().depth),
                                   &error),
              std::nullopt);
    EXPECT_EQ(error, GetParam().error == PropertyListError::none ? PropertyListError::malformed
                                                                 : GetParam().error);
}

TEST(PropertyList, CountsNoTagsThatStandInCommentsOrTexts)
{
    const std::string tags = repeated("<array>", 600);
    EXPECT_EQ(propertyListWithData(xml("<array><!-- " + tags + " --><string><![CDATA[" + tags +
                                       "]]></string></array>")),
              Value(Array{tags}));
}

TEST(PropertyList, IsNotTalkedOutOfItsDepthByHiddenEndTags)
{
    const std::string level = "<array><!-- </array> -->";
    for (const std::string& body :
         {repeated(level, 10'000), repeated("<array><string><![CDATA[</array>]]></string>", 10'000),
          repeated("<array><string a=\"</array>\"/>", 10'000),
          repeated("<array><?x </array> ?>", 10'000)}) {
        PropertyListError error{};
        EXPECT_EQ(propertyListWithData(xml(body), &error), std::nullopt);
        EXPECT_NE(error, PropertyListError::none);
    }
}

TEST(PropertyList, RefusesToWriteWhatItWouldNotRead)
{
    const std::string expected =
        "NSInvalidArgumentException: eine Property-Liste kann so tief verschachtelte Werte nicht "
        "aufnehmen";
    EXPECT_EQ(exceptionOf([] { binaryPropertyList(nestedArray(513)); }), expected);
    EXPECT_EQ(exceptionOf([] { xmlPropertyList(nestedArray(513)); }), expected);
    EXPECT_EQ(propertyListWithData(binaryPropertyList(nestedArray(512))), nestedArray(512));
    EXPECT_EQ(propertyListWithData(xmlPropertyList(nestedArray(512))), nestedArray(512));
}

// Writing.

TEST(PropertyList, IsWrittenAsXMLWithTabsAndInOrder)
{
    const Dictionary dictionary{{"z", "a<b"},
                                {"list", Array{1, true}},
                                {"none", Dictionary{}},
                                {"d", Data{"Hello"}}};
    EXPECT_EQ(
        xmlPropertyList(dictionary),
        xml("<dict>\n"
            "\t<key>z</key>\n\t<string>a&lt;b</string>\n"
            "\t<key>list</key>\n\t<array>\n\t\t<integer>1</integer>\n\t\t<true/>\n\t</array>\n"
            "\t<key>none</key>\n\t<dict/>\n"
            "\t<key>d</key>\n\t<data>\n\tSGVsbG8=\n\t</data>\n"
            "</dict>"));
}

TEST(PropertyList, WritesCarriageReturnsSoThatXMLKeepsThem)
{
    EXPECT_THAT(xmlPropertyList("a\r\nb"), HasSubstr("<string>a&#13;\nb</string>"));
    EXPECT_EQ(propertyListWithData(xmlPropertyList("a\r\nb\r")), Value("a\r\nb\r"));
}

struct InvalidRow {
    Value value;
    std::string reason;
};

class PropertyListInvalid : public TestWithParam<InvalidRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, PropertyListInvalid,
    Values(InvalidRow{Value(), "eine Property-Liste kann nil nicht aufnehmen"},
           InvalidRow{std::make_shared<URL>("x"),
                      "eine Property-Liste kann ein solches Objekt nicht aufnehmen"},
           InvalidRow{Array{Dictionary{{"a", std::make_shared<URL>("x")}}},
                      "eine Property-Liste kann ein solches Objekt nicht aufnehmen"},
           InvalidRow{Array{"\xFF"},
                      "eine Property-Liste kann einen Text, der kein UTF-8 ist, nicht aufnehmen"},
           InvalidRow{Dictionary{{"\xFF", 1}},
                      "eine Property-Liste kann einen Text, der kein UTF-8 ist, nicht aufnehmen"}));

TEST_P(PropertyListInvalid, IsNotWritten)
{
    const std::string expected = "NSInvalidArgumentException: " + GetParam().reason;
    EXPECT_EQ(exceptionOf([] { binaryPropertyList(GetParam().value); }), expected);
    EXPECT_EQ(exceptionOf([] { xmlPropertyList(GetParam().value); }), expected);
}

class PropertyListTextBeyondXML : public TestWithParam<std::string> {};
INSTANTIATE_TEST_SUITE_P(Rows, PropertyListTextBeyondXML,
                         Values(std::string("a\0b", 3), "\x03", "\x1F", "\xED\xA0\xBD",
                                "x\xED\xB8\x80y", "\xEF\xBF\xBE", "\xEF\xBF\xBF"));

TEST_P(PropertyListTextBeyondXML, IsKeptInBinaryAndRefusedInXML)
{
    const Value inValue(Dictionary{{"List", Array{1, Dictionary{{"Title", GetParam()}}}}});
    EXPECT_EQ(propertyListWithData(binaryPropertyList(inValue)), inValue);
    EXPECT_EQ(exceptionOf([&] { xmlPropertyList(inValue); }),
              "NSInvalidArgumentException: XML kann den Text bei '/List/1/Title' nicht aufnehmen");

    const Value inKey(Dictionary{{GetParam(), 1}});
    EXPECT_EQ(propertyListWithData(binaryPropertyList(inKey)), inKey);
    EXPECT_NE(exceptionOf([&] { xmlPropertyList(inKey); }), "");
}

TEST_P(PropertyListTextBeyondXML, MakesTheFileABinaryOne)
{
    const TemporaryFolder folder;
    const Dictionary dictionary{{"Title", GetParam()}};
    EXPECT_TRUE(writeDictionaryToFile(dictionary, folder.path("a.plist")));
    EXPECT_TRUE(folder.read("a.plist")->starts_with("bplist00"));
    EXPECT_EQ(dictionaryWithContentsOfFile(folder.path("a.plist")), dictionary);
}

TEST(PropertyList, KeepsWholeSecondsOnlyInXML)
{
    using namespace std::chrono;
    const Date date{instant("2007-12-24T09:00:00Z").instant + microseconds(123'456)};
    EXPECT_EQ(propertyListWithData(binaryPropertyList(date)), Value(date));
    EXPECT_EQ(propertyListWithData(xmlPropertyList(date)), Value(instant("2007-12-24T09:00:00Z")));
}

TEST(PropertyList, KeepsOddNumbers)
{
    for (const double real :
         {0.1, -0.0, 1e300, 5e-324, 123456789.12345679, std::numeric_limits<double>::max(),
          std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
          std::nan("")}) {
        EXPECT_EQ(propertyListWithData(binaryPropertyList(real)), Value(real)) << real;
        EXPECT_EQ(propertyListWithData(xmlPropertyList(real)), Value(real)) << real;
    }
    for (const std::int64_t integer :
         {std::int64_t{0}, std::int64_t{255}, std::int64_t{256}, std::int64_t{65536},
          std::int64_t{4294967296}, std::int64_t{-1}, std::numeric_limits<std::int64_t>::max(),
          std::numeric_limits<std::int64_t>::min()}) {
        EXPECT_EQ(propertyListWithData(binaryPropertyList(integer)), Value(integer)) << integer;
        EXPECT_EQ(propertyListWithData(xmlPropertyList(integer)), Value(integer)) << integer;
    }
}

// Properties.

RC_GTEST_PROP(PropertyListRoundTrip, KeepsEverythingInBinary, ())
{
    const Value value = *test::values(Alphabet::everything);
    const std::string bytes = binaryPropertyList(value);
    const auto again = propertyListWithData(bytes);
    RC_ASSERT(again.has_value());
    RC_ASSERT(*again == value);
    RC_ASSERT(again->description() == value.description());
    RC_ASSERT(binaryPropertyList(*again) == bytes);
}

RC_GTEST_PROP(PropertyListRoundTrip, KeepsInXMLWhatXMLCanHold, ())
{
    const Value value = *test::values(Alphabet::printable);
    const auto again = propertyListWithData(xmlPropertyList(value));
    RC_ASSERT(again.has_value());
    RC_ASSERT(*again == value);
    RC_ASSERT(again->description() == value.description());
}

RC_GTEST_PROP(PropertyListHostile, EndsInAnAnswerForDamagedBytes, ())
{
    const Value value = *test::dictionaryValues(Alphabet::printable);
    std::string bytes =
        *rc::gen::arbitrary<bool>() ? binaryPropertyList(value) : xmlPropertyList(value);
    const auto damages = *rc::gen::container<std::vector<std::pair<std::size_t, char>>>(
        rc::gen::pair(rc::gen::inRange<std::size_t>(0, bytes.size()), rc::gen::arbitrary<char>()));
    for (const auto& damage : damages)
        bytes[damage.first] = damage.second;
    bytes.resize(*rc::gen::inRange<std::size_t>(bytes.size() / 2, bytes.size() + 1));
    PropertyListError error{};
    const auto read = propertyListWithData(bytes, &error);
    RC_ASSERT(read.has_value() == (error == PropertyListError::none));
}

}  // namespace
}  // namespace kt
