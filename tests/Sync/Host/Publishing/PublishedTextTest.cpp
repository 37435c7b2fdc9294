#include <string>

#include <gtest/gtest.h>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/Host/Publishing/PublishedText.h"

namespace kt {
namespace {

using namespace std::string_literals;

TEST(ShowableText, KeepsWhatPeopleRead)
{
    EXPECT_EQ(showableText("Grüße\taus 東京 🎄"), "Grüße\taus 東京 🎄");
    EXPECT_EQ(showableText("a\r\nb\rc\nd"), "a\nb\nc\nd");
}

TEST(ShowableText, DropsWhatCannotBeShown)
{
    EXPECT_EQ(showableText("a\0b\x1B[31mc\x7F"s), "ab[31mc");
    EXPECT_EQ(showableText("a\u202Eb\u2066c\uFEFF"), "abc");
    EXPECT_EQ(showableText("a\xC2\x85"), "a");
}

TEST(ShowableText, ReplacesWhatIsNoCharacter)
{
    EXPECT_EQ(showableText("a\xFFz"), "a\uFFFDz");
    EXPECT_EQ(showableText("\xED\xA0\xBC\xED\xBE\x84"), "🎄");
    EXPECT_EQ(showableText("\xED\xA0\xBC!"), "\uFFFD!");
}

TEST(TextOfField, TakesTheEscapesAway)
{
    EXPECT_EQ(textOfField("a\\, b\\; c\\\\d\\ne\\Nf\\"), "a, b; c\\d\ne\nf\\");
}

TEST(TextOfField, TakesTheFirstOfSeveralAndNothingOfWhatIsNoText)
{
    EXPECT_EQ(textOfField(Array{Value("eins"), Value("zwei")}), "eins");
    EXPECT_EQ(textOfField(3), "3");
    EXPECT_EQ(textOfField(Value()), "");
    EXPECT_EQ(textOfField(Dictionary{{"a", 1}}), "");
    EXPECT_EQ(textOfField(Array{}), "");
}

TEST(WebAddress, IsOneOfTheWebOrNone)
{
    EXPECT_EQ(webAddress("https://kalender.example/a?b=c#d"), "https://kalender.example/a?b=c#d");
    EXPECT_EQ(webAddress("HTTP://kalender.example"), "HTTP://kalender.example");
    for (const char* text : {"", "javascript:alert(1)", "data:text/html,x", "http:kalender",
                             "https", "file:///etc/passwd", "http://a b", "http://a\"b",
                             "http://a\nb", " http://a", "//a.example", "https://<b>"})
        EXPECT_EQ(webAddress(text), "") << text;
}

TEST(PublishedText, IsClippedWhereThereIsNoRoom)
{
    EXPECT_EQ(clippedText("", 3), "");
    EXPECT_EQ(clippedText("abc", 3), "abc");
    EXPECT_EQ(clippedText("abcd", 3), "abc …");
    EXPECT_EQ(clippedText("äöüß", 3), "äöü …");
    EXPECT_EQ(clippedText("€€€€", 3), "€€€ …");
    EXPECT_EQ(clippedText(std::string(1000, 'x'), 3), "xxx …");
    EXPECT_EQ(clippedText("a\xF0\x9F\x8E\x84z", 3), "a\xF0\x9F\x8E\x84 …");
    EXPECT_EQ(clippedText("ab\xF0\x9F\x8E\x84z", 3), "ab\xEF\xBF\xBD …");
}

}  // namespace
}  // namespace kt
