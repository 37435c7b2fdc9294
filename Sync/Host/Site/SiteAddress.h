#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kt {

/// What a browser asks for, taken from the target of its request as it came over the wire.
struct SiteAddress {
    enum class Kind { root, listing, calendar, calendarFile, styleSheet };

    Kind kind = Kind::listing;
    std::string key;                   // of a calendar
    std::optional<std::string> month;  // as written; parameters that nobody knows are passed over
    std::optional<std::string> zone;

    /// Why there is no address.
    enum class Refusal {
        malformed,  // no target that a browser sends: a wrong escape, NUL, no path
        unknown,    // nothing of this site, or nothing that could be
    };
    struct Result;
    static Result fromTarget(std::string_view target);
};

struct SiteAddress::Result {
    std::optional<SiteAddress> address;
    Refusal refusal = Refusal::unknown;  // without an address
};

}  // namespace kt
