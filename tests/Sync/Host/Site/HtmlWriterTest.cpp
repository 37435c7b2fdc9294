#include <string>

#include <gtest/gtest.h>

#include "Sync/Host/Site/HtmlWriter.h"

namespace kt {
namespace {

using namespace std::string_literals;

TEST(HtmlWriter, EscapesEveryTextAndEveryValue)
{
    HtmlWriter html;
    html.element("p", {{"title", "\"'><b>&"}}, "<script>alert('1')</script> & \"x\"");
    EXPECT_EQ(html.html(),
              "<p title=\"&quot;&#39;&gt;&lt;b&gt;&amp;\">&lt;script&gt;alert(&#39;1&#39;)&lt;"
              "/script&gt; &amp; &quot;x&quot;</p>\n");
}

TEST(HtmlWriter, LeavesOutWhatIsNoCharacter)
{
    HtmlWriter html;
    html.text("a\0b\x01\xFF\xC2\x85ä\n"s);
    EXPECT_EQ(html.html(), "ab\uFFFDä\n");
}

TEST(HtmlWriter, ClosesElementsInTheirOrder)
{
    HtmlWriter html;
    {
        const auto outer = html.element("ul");
        const auto inner = html.element("li", {{"class", "a"}});
        html.text("x");
    }
    EXPECT_EQ(html.html(), "<ul><li class=\"a\">x</li>\n</ul>\n");
}

TEST(HtmlWriter, LeavesOutAttributesUnderACondition)
{
    HtmlWriter html;
    html.empty("input",
               {{"required", ""}, {"checked", when(false, "")}, {"value", when(true, "")}});
    EXPECT_EQ(html.html(), "<input required=\"\" value=\"\">");
}

TEST(HtmlWriter, KeepsLinesApart)
{
    HtmlWriter html;
    html.lines("a\n<b>\n");
    EXPECT_EQ(html.html(), "a<br>&lt;b&gt;<br>");
}

}  // namespace
}  // namespace kt
