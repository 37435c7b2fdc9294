#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Sync/Foundation/Value.h"

namespace kt {

/// What the site sends back, without the framing that HTTP puts around it.
struct SiteAnswer {
    int status = 200;
    std::string contentType;
    // Of several answers, where it is the same; also of one to HEAD, which is sent without. Null
    // for an empty one.
    std::shared_ptr<const std::string> body;
    std::vector<std::pair<std::string, std::string>> headers;

    std::string_view bytes() const { return body ? std::string_view(*body) : std::string_view(); }
};

/// What was found, of a type as in "text/css".
SiteAnswer foundAnswer(std::string_view contentType, std::string body);

/// A page that says why there is no other.
SiteAnswer failureAnswer(int status, std::string_view title, std::string_view explanation);
/// The same for a request that the site itself never got to see, or could not answer: 400, 408,
/// 414, 431, 500, 501, 503 or 505. With its safeguards.
SiteAnswer refusalAnswer(int status);

/// Adds what tells a browser to do nothing with the answer but show it.
void addSafeguards(SiteAnswer& answer);

/// Everything that goes over the wire before the body (RFC 9112, 4 and 5); the connection ends
/// with the answer.
std::string headOf(const SiteAnswer& answer, Date now);
/// Whether the body follows: not for HEAD, and not where nothing has changed.
bool hasBody(const SiteAnswer& answer, std::string_view method);

}  // namespace kt
