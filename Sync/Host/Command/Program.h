#pragma once

namespace kt {

/// The whole program: what it answers is for the shell. Never throws.
int runProgram(int argumentCount, const char* const* arguments);

}  // namespace kt
