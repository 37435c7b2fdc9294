#pragma once

#include <functional>
#include <optional>

#include "tests/torture/DiskCalls.h"

namespace kt::torture {

/// What becomes of a call.
struct Verdict {
    enum class Kind { allow, kill, fail };
    Kind kind = Kind::allow;
    int error = 0;  // of a call that fails: a number of errno
};

/// Runs a program and asks about every call that is watched, of it, of its threads and of what it
/// starts, before it is made. All are held while one is decided. A killed program is killed before
/// the call; nothing that it started lives on.
///
/// Returns the exit code, 128 and the signal of one that was ended by a signal, nothing when the
/// program cannot be watched here.
std::optional<int> runWatched(char* const* command, Watched watched,
                              const std::function<Verdict(const Call&)>& decide);

/// Whether calls can be made to fail on this machine, and not only to be the last one.
bool canFailCalls();

}  // namespace kt::torture
