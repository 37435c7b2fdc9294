#include "Sync/Host/Site/PageFrame.h"

#include "Sync/Foundation/Format.h"
#include "Sync/Host/Publishing/PublicSite.h"
#include "Sync/Host/Site/StyleSheet.h"

namespace kt {

namespace {

void appendHead(HtmlWriter& html, const PageFrame& frame)
{
    const auto head = html.element("head");
    html.empty("meta", {{"charset", "utf-8"}});
    html.empty("meta", {{"name", "viewport"}, {"content", "width=device-width, initial-scale=1"}});
    html.empty("meta", {{"name", "color-scheme"}, {"content", "light dark"}});
    html.element("title", {}, frame.title);
    html.empty("link", {{"rel", "stylesheet"}, {"href", kStyleSheetPath}});
    if (!frame.alternate.empty())
        html.empty("link", {{"rel", "alternate"},
                            {"type", "text/calendar"},
                            {"title", "iCalendar"},
                            {"href", frame.alternate}});
}

}  // namespace

std::string PageFrame::around(const std::function<void(HtmlWriter&)>& content) const
{
    HtmlWriter html;
    html.doctype();
    {
        const auto root = html.element("html", {{"lang", "de"}});
        appendHead(html, *this);
        const auto body = html.element("body");
        html.element("a", {{"class", "skip"}, {"href", "#inhalt"}}, "Zum Inhalt springen");
        if (!isListing) {
            const auto header = html.element("header", {{"class", "site"}});
            html.element("a", {{"href", kListingPath}}, "‹ Öffentliche Kalender");
        }
        const auto main = html.element("main", {{"id", "inhalt"}});
        content(html);
    }
    return html.html();
}

std::string errorPage(std::string_view title, std::string_view explanation)
{
    return PageFrame{title}.around([&](HtmlWriter& html) {
        html.element("h1", {}, title);
        html.element("p", {}, explanation);
    });
}

}  // namespace kt
