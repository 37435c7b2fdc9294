#pragma once

#include <string_view>
#include <utility>

#include "Sync/Foundation/Exception.h"
#include "Sync/HostInterface/KTFileLogger.h"

namespace kt {

/// The house's one way to say "catch an Exception, log it, throw it on". The contexts are
/// callables, evaluated only when something went wrong, so that they show the state at the moment
/// of failure; the exception's description is the format's last argument. Anything that is no
/// Exception passes untouched.
///
///     guarded(fileLogger, "[KTSyncEvent init]:\n%@\n%@", [&] { return lines.description(); }, [&]
///     { ... });
template <class Context, class Body>
decltype(auto) guarded(KTFileLogger* fileLogger, std::string_view format, const Context& context,
                       Body&& body)
{
    try {
        return std::forward<Body>(body)();
    } catch (const Exception& exception) {
        logTo(fileLogger, format, context(), exception.description());
        throw;
    }
}

/// As above, for formats whose only argument is the exception's description.
template <class Body>
decltype(auto) guarded(KTFileLogger* fileLogger, std::string_view format, Body&& body)
{
    try {
        return std::forward<Body>(body)();
    } catch (const Exception& exception) {
        logTo(fileLogger, format, exception.description());
        throw;
    }
}

/// Runs the body; an Exception goes to `failed`, whose result stands in for the body's.
template <class Body, class Failed>
auto guardedOr(Body&& body, Failed&& failed) -> decltype(body())
{
    try {
        return std::forward<Body>(body)();
    } catch (const Exception& exception) {
        return std::forward<Failed>(failed)(exception);
    }
}

}  // namespace kt
