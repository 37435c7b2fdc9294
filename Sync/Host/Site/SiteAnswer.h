#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

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
/// 414, 431, 500, 501, 503 or 505. With what every answer says.
SiteAnswer refusalAnswer(int status);

/// Adds what every answer says: when it was made, and what tells a browser to do nothing with it
/// but show it.
void addCommonHeaders(SiteAnswer& answer);

}  // namespace kt
