#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "Sync/Host/Site/HtmlWriter.h"

namespace kt {

/// What every page of the site has around its content.
struct PageFrame {
    std::string_view title;
    std::string_view alternate{};  // address of the same as a calendar file; empty for none
    bool isListing = false;        // the page that the others lead back to

    /// The whole page.
    std::string around(const std::function<void(HtmlWriter&)>& content) const;
};

/// A page that says why there is none: "Seite nicht gefunden".
std::string errorPage(std::string_view title, std::string_view explanation);

}  // namespace kt
