#pragma once

#include <string>
#include <vector>

#include "Sync/Host/Command/Output.h"
#include "Sync/Host/Services/SyncRun.h"

namespace kt {

/// What is told of a run when it is over.
struct SyncReport {
    SyncRunResult result;
    SyncRunWishes wishes;
    bool wasSwitchedOn = false;  // by this run, being the first on its home
    std::string device;
    std::string server;
    std::vector<std::string> goingUp;  // dry run: records, in the plug-in's words
    std::vector<std::string> comingDown;
};

/// Whether the store was rewritten without proof that all of it arrived: the next run does it
/// again.
bool isUnsettled(const SyncRunResult& result);

/// The one line that says how it ended; where something is not as it should be it names a file.
std::string statusOfRun(const SyncReport& report);

/// For people; each line ends in a line feed.
std::string textForReport(const SyncReport& report);
Json jsonForReport(const SyncReport& report);

}  // namespace kt
