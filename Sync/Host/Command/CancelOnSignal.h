#pragma once

#include <string>

#include "Sync/Host/Services/StopWish.h"

namespace kt {

/// While it lives, the first SIGINT or SIGTERM is the wish that the run ends where nothing is half
/// done, the second one writes a line to standard error that asks for patience, and the third one
/// ends the program at once. One at a time.
class CancelOnSignal {
public:
    /// The wish is not owned and outlives it. `patience` is the whole line, with its line break.
    CancelOnSignal(StopWish& wish, std::string patience);
    ~CancelOnSignal();
    CancelOnSignal(const CancelOnSignal&) = delete;
    CancelOnSignal& operator=(const CancelOnSignal&) = delete;

private:
    std::string _patience;
};

}  // namespace kt
