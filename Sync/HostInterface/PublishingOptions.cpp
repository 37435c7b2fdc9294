#include "Sync/HostInterface/PublishingOptions.h"

#include "Sync/Foundation/Format.h"

namespace kt {

namespace {

constexpr std::string_view kEvents = "EVENTS";
constexpr std::string_view kTasks = "TASKS";
constexpr std::string_view kAnonymous = "ANON";

}  // namespace

PublishingOptions PublishingOptions::fromText(std::string_view text)
{
    const auto holds = [&](std::string_view word) {
        return text.find(word) != std::string_view::npos;
    };
    return {holds(kEvents), holds(kTasks), holds(kAnonymous)};
}

std::string PublishingOptions::text() const
{
    return stringWithFormat("%@ %@ %@", events ? kEvents : "", tasks ? kTasks : "",
                            anonymous ? kAnonymous : "");
}

}  // namespace kt
