#pragma once

#include <string>

namespace kt {

/// Random, 32 hexadecimal digits.
std::string randomIdentifier();

}  // namespace kt
