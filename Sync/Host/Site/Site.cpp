#include "Sync/Host/Site/Site.h"

#include <algorithm>
#include <array>

#include "Sync/Foundation/Digest.h"
#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/Foundation/Text.h"
#include "Sync/Host/Publishing/PublicSite.h"
#include "Sync/Host/Publishing/PublishedCalendarReader.h"
#include "Sync/Host/Server/RandomIdentifier.h"
#include "Sync/Host/Site/CalendarPage.h"
#include "Sync/Host/Site/ListingPage.h"
#include "Sync/Host/Site/StyleSheet.h"
#include "Sync/Host/Site/TimeZoneChoice.h"

namespace kt {

namespace {

constexpr const char* kHtml = "text/html; charset=utf-8";
constexpr std::size_t kTagLength = 32;

SiteAnswer page(std::string html) { return foundAnswer(kHtml, std::move(html)); }

SiteAnswer notFound()
{
    return failureAnswer(404, "Seite nicht gefunden",
                         "Unter dieser Adresse ist kein Kalender öffentlich.");
}

SiteAnswer badRequest(std::string_view explanation)
{
    return failureAnswer(400, "Ungültige Anfrage", explanation);
}

SiteAnswer unavailable()
{
    SiteAnswer answer =
        failureAnswer(503, "Zurzeit nicht verfügbar",
                      "Die Kalender können gerade nicht gelesen werden. Bitte versuchen "
                      "Sie es in einer Minute noch einmal.");
    answer.headers.emplace_back("Retry-After", "60");
    return answer;
}

SiteAnswer methodNotAllowed()
{
    SiteAnswer answer =
        failureAnswer(405, "Methode nicht erlaubt", "Diese Seiten lassen sich nur lesen.");
    answer.headers.emplace_back("Allow", "GET, HEAD");
    return answer;
}

/// Of RFC 9110, 9, and RFC 5789.
bool isKnownMethod(std::string_view method)
{
    constexpr std::array<std::string_view, 9> kMethods{"GET",     "HEAD",   "POST",
                                                       "PUT",     "DELETE", "CONNECT",
                                                       "OPTIONS", "TRACE",  "PATCH"};
    return std::find(kMethods.begin(), kMethods.end(), method) != kMethods.end();
}

SiteAnswer movedTo(std::string_view path)
{
    SiteAnswer answer =
        failureAnswer(302, "Öffentliche Kalender", "Die Seite steht an anderer Stelle.");
    answer.headers.emplace_back("Location", std::string(path));
    return answer;
}

std::optional<Month> monthOf(const std::string& text)
{
    const auto date = CalendarDate::dateWithString(text, "%Y-%m");
    if (!date)
        return std::nullopt;
    const Month month{date->year, date->month};
    if (month < kFirstMonth || month > kLastMonth)
        return std::nullopt;
    return month;
}

SiteAnswer calendarPageAnswer(const PublishedCalendar& calendar, const SiteAddress& address)
{
    CalendarView view;
    view.zone = address.zone.value_or(Platform::shared().localTimeZoneName());
    if (address.zone && !isChoosableZone(*address.zone))
        return badRequest("Diese Zeitzone ist nicht bekannt.");
    view.today = Day::of(calendarDateOfInstant(Platform::shared().now(), view.zone));
    const auto month = address.month ? monthOf(*address.month) : Month::of(view.today);
    if (!month)
        return badRequest("Der Monat muss von 1900-01 bis 2199-12 reichen.");
    view.month = *month;
    return page(calendarPage(calendar, view));
}

/// Whether one of the tags that the browser knows is this one (RFC 9110, 13.1.2).
bool matches(std::string_view ifNoneMatch, std::string_view tag)
{
    for (std::string_view known : componentsSeparatedByString(ifNoneMatch, ",")) {
        const std::size_t begin = known.find_first_not_of(" \t");
        if (begin == std::string_view::npos)
            continue;
        known = known.substr(begin, known.find_last_not_of(" \t") - begin + 1);
        if (known.starts_with("W/"))
            known.remove_prefix(2);
        if (known == tag || known == "*")
            return true;
    }
    return false;
}

/// Caches may keep an answer, but have to ask each time whether it still holds.
void addTag(SiteAnswer& answer, const SiteRequest& request)
{
    if (answer.status != 200)
        return;
    const std::string tag = '"' + sha256DigestHex(answer.bytes()).substr(0, kTagLength) + '"';
    answer.headers.emplace_back("ETag", tag);
    if (!matches(request.ifNoneMatch, tag))
        return;
    answer.status = 304;
    answer.body = nullptr;
    answer.contentType.clear();
}

}  // namespace

Site::Site(std::unique_ptr<SyncServer> server, std::string account)
    : _server(std::move(server)),
      _account(std::move(account))
{}

SiteAnswer Site::answer(const SiteRequest& request)
{
    if (!isKnownMethod(request.method))
        return refusalAnswer(501);
    SiteAnswer answer;
    const auto [address, refusal] = SiteAddress::fromTarget(request.target);
    if (request.method != "GET" && request.method != "HEAD")
        answer = methodNotAllowed();
    else if (address)
        answer = answerTo(*address);
    else
        answer = refusal == SiteAddress::Refusal::malformed ? badRequest("Diese Adresse ist keine.")
                                                            : notFound();
    addTag(answer, request);
    addCommonHeaders(answer);
    return answer;
}

SiteAnswer Site::answerTo(const SiteAddress& address)
{
    if (address.kind == SiteAddress::Kind::root)
        return movedTo(kListingPath);
    if (address.kind == SiteAddress::Kind::styleSheet)
        return foundAnswer("text/css; charset=utf-8", std::string(styleSheet()));
    try {
        // Several pages may be read at once, and a device may have one session only.
        OpenedSession opened =
            _server->openSession(_account, "site-" + randomIdentifier(), ServerAccess::readCurrent);
        if (opened.status == OpenStatus::opened)
            return answerFrom(*opened.session, address);
        if (opened.status != OpenStatus::accountOff)
            return unavailable();
        return address.kind == SiteAddress::Kind::listing ? page(listingPage({})) : notFound();
    } catch (const Exception&) {
        return unavailable();
    }
}

SiteAnswer Site::answerFrom(SyncServerSession& session, const SiteAddress& address)
{
    if (address.kind == SiteAddress::Kind::listing)
        return page(listingPage(PublishedCalendarReader(session).heads()));
    return calendarAnswer(session, address);
}

SiteAnswer Site::calendarAnswer(SyncServerSession& session, const SiteAddress& address)
{
    const auto cached = _cache.calendar(session, address.key);
    if (!cached)
        return notFound();
    if (address.kind == SiteAddress::Kind::calendar)
        return calendarPageAnswer(cached->calendar, address);
    SiteAnswer answer{200, "text/calendar; charset=utf-8", {cached, &cached->file}, {}};
    answer.headers.emplace_back("Content-Disposition", "inline; filename=\"kalender.ics\"");
    return answer;
}

}  // namespace kt
