#pragma once

#include <chrono>
#include <functional>

#include "tests/histories/Operation.h"

namespace kt::test {

/// The smallest history found in time for which it still holds: operations are left out, many at
/// once first, then numbers become 0 or half.
History shrunk(History history, const std::function<bool(const History&)>& holds,
               std::chrono::seconds time);

}  // namespace kt::test
