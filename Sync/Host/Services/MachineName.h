#pragma once

#include <string>

namespace kt {

/// This machine's name for people, without its domain.
std::string machineName();

}  // namespace kt
