#pragma once

#include <string>

#include "Sync/Foundation/Exception.h"

namespace kt::test {

/// Runs the body and answers "NAME: reason" of the exception that it throws, or "" when it throws
/// none.
template <class Body>
std::string exceptionOf(Body&& body)
{
    try {
        body();
    } catch (const Exception& exception) {
        return exception.name() + ": " + exception.reason();
    }
    return {};
}

}  // namespace kt::test
