#pragma once

#include <string_view>
#include <utility>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Platform.h"

namespace kt {

/// Calls what a plug-in gave to its controls. Nothing may be thrown through the event loop, so an
/// Exception ends in the system log.
template <class Body>
void callOwner(std::string_view operation, Body&& body)
{
    try {
        std::forward<Body>(body)();
    } catch (const Exception& exception) {
        NSLog("Nichtabgefangener Fehler in %@ %@", operation, exception.description());
    }
}

}  // namespace kt
