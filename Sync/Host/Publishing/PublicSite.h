#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kt {

/// Where the public calendar site is served, and where people find it.
struct PublicSite {
    std::string listen = "127.0.0.1";    // the address of this machine that it listens on
    int port = 8080;                     // 0 to 65535; 0 takes any that is free
    std::optional<std::string> address;  // what browsers outside call it

    /// The site's base address, without a slash at its end.
    std::string url() const;
};

/// Where the list of calendars stands, below the base address.
inline constexpr std::string_view kListingPath = "/vl/calendar";
/// The page of a calendar, below the base address. The file of the calendar is the same with ".ics"
/// behind it.
std::string pathOfCalendar(std::string_view recordKey);

}  // namespace kt
