#pragma once

#include <string>

#include "tests/histories/Operation.h"

namespace kt::test {

/// How a history ends.
struct Verdict {
    std::string fault;   // what is wrong at its end; empty where nothing is
    std::string story;   // all that happened
    std::string digest;  // of every byte of every disk
};

/// Plays a history in a fresh world, lets that come to rest and looks at it.
Verdict play(const History& history);

}  // namespace kt::test
