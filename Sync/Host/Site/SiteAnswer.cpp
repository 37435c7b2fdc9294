#include "Sync/Host/Site/SiteAnswer.h"

#include <algorithm>
#include <array>
#include <utility>

#include "Sync/Foundation/CalendarDate.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/Host/Publishing/Day.h"
#include "Sync/Host/Site/PageFrame.h"

namespace kt {

namespace {

struct Refusal {
    int status;
    std::string_view title;
    std::string_view explanation;
};

constexpr std::array<Refusal, 8> kRefusals{{
    {500, "Interner Fehler", "Diese Seite kann gerade nicht gezeigt werden."},
    {400, "Ungültige Anfrage", "Diese Anfrage ist nicht zu lesen."},
    {408, "Zeit abgelaufen", "Die Anfrage war nicht rechtzeitig vollständig."},
    {414, "Adresse zu lang", "Diese Adresse ist länger als jede dieser Seiten."},
    {431, "Anfrage zu lang", "Der Kopf der Anfrage ist zu lang."},
    {501, "Methode nicht bekannt", "Diese Seiten lassen sich nur lesen."},
    {503, "Zurzeit nicht verfügbar",
     "Es fragen gerade zu viele zugleich. Bitte versuchen Sie es in einer Minute noch einmal."},
    {505, "Version nicht bekannt", "Diese Seiten gibt es über HTTP/1.1."},
}};

// IMF-fixdate = day-name "," SP day SP month SP year SP time SP "GMT" (RFC 9110, 5.6.7)
std::string httpDate(Date instant)
{
    constexpr std::array<const char*, 7> kDays{"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
    constexpr std::array<const char*, 12> kMonths{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                  "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const CalendarDate clock = calendarDateOfInstant(instant, "Etc/UTC");
    const int weekday = Day::of(clock).weekday();
    return std::string(kDays[static_cast<std::size_t>(weekday)]) +
           clock.descriptionWithCalendarFormat(", %d ") +
           kMonths[static_cast<std::size_t>(clock.month - 1)] +
           clock.descriptionWithCalendarFormat(" %Y %H:%M:%S GMT");
}

}  // namespace

SiteAnswer foundAnswer(std::string_view contentType, std::string body)
{
    return {200,
            std::string(contentType),
            std::make_shared<const std::string>(std::move(body)),
            {}};
}

SiteAnswer failureAnswer(int status, std::string_view title, std::string_view explanation)
{
    SiteAnswer answer = foundAnswer("text/html; charset=utf-8", errorPage(title, explanation));
    answer.status = status;
    return answer;
}

SiteAnswer refusalAnswer(int status)
{
    const auto* found = std::find_if(kRefusals.begin(), kRefusals.end(),
                                     [&](const Refusal& one) { return one.status == status; });
    const Refusal& refusal = found == kRefusals.end() ? kRefusals.front() : *found;
    SiteAnswer answer = failureAnswer(refusal.status, refusal.title, refusal.explanation);
    addCommonHeaders(answer);
    return answer;
}

void addCommonHeaders(SiteAnswer& answer)
{
    answer.headers.insert(
        answer.headers.end(),
        {{"Date", httpDate(Platform::shared().now())},
         {"Cache-Control", answer.status < 400 ? "no-cache" : "no-store"},
         {"Content-Security-Policy",
          "default-src 'none'; style-src 'self'; form-action 'self'; base-uri 'none'; "
          "frame-ancestors 'none'"},
         {"X-Content-Type-Options", "nosniff"},
         {"X-Frame-Options", "DENY"},
         {"Referrer-Policy", "no-referrer"},
         {"Cross-Origin-Opener-Policy", "same-origin"}});
}

}  // namespace kt
