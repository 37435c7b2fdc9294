#include "Sync/Host/Site/ListingPage.h"

#include "Sync/Host/Publishing/PublicSite.h"
#include "Sync/Host/Site/CalendarHeading.h"
#include "Sync/Host/Site/PageFrame.h"

namespace kt {

namespace {

void appendCalendar(HtmlWriter& html, const PublishedHead& head)
{
    const std::string path = pathOfCalendar(head.key);
    const auto item = html.element("li");
    {
        const auto heading = html.element("h2");
        appendSwatch(html, head);
        html.element("a", {{"href", path}}, shownTitle(head));
    }
    appendNotes(html, head);
    const auto paragraph = html.element("p", {{"class", "muted"}});
    html.text(contentsText(head.options) + " · ");
    html.element("a", {{"href", path + ".ics"}, {"type", "text/calendar"}}, "Kalenderdatei (.ics)");
}

}  // namespace

std::string listingPage(const std::vector<PublishedHead>& calendars)
{
    return PageFrame{"Öffentliche Kalender", "", true}.around([&](HtmlWriter& html) {
        html.element("h1", {}, "Öffentliche Kalender");
        if (calendars.empty()) {
            html.element("p", {{"class", "note"}}, "Zurzeit ist kein Kalender öffentlich.");
            return;
        }
        const auto list = html.element("ul", {{"class", "calendars"}});
        for (const PublishedHead& head : calendars)
            appendCalendar(html, head);
    });
}

}  // namespace kt
