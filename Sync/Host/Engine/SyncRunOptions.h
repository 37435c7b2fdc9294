#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

/// What makes a run a settling run: what the store's files looked like when the rewrite returned,
/// and how to look again. A fingerprint is any text that changes when a name, size or time of a
/// file of the store changes.
struct SettlingCheck {
    std::string notedFingerprint;
    std::function<std::string()>
        currentFingerprint;             // asked in finishSync, after the store was loaded
    std::vector<KTLoss> losses;         // what the plug-in told in the run that rewrote the store
    std::vector<KTLoss> overwritten{};  // unread texts among them that had to go
};

struct SyncRunOptions {
    bool fromServer = false;       // the user wants the store overwritten with what the server has
    bool acceptLosses = false;     // write what is known over what cannot be read, and go on where
                                   // carrying the store's texts would not keep all
    bool allowMassDelete = false;  // the user really deleted most of it
    bool dryRun = false;           // count, but change nothing
    int systemVersion = 0;         // whose layout the store has, 0 where there is only one
    std::string backupName;        // the dated backup made before this run; the mark carries it
    std::string home;              // paths below it are remembered relative to it
    std::map<std::string, bool> switches{};  // of calendars, by their keys, as the user set them
    // Makes the switch of a calendar that has another key now its own again.
    std::function<void(const std::string& former, const std::string& now)> renameSwitch{};
    std::optional<SettlingCheck> settling;
};

/// A record that a dry run would have exchanged.
struct StagedRecord {
    SyncRecord record;  // a tombstone where it would be deleted
    bool goesUp = false;
    bool comesDown = false;
};

/// How a settling run ended.
enum class Settlement {
    notReached,    // it did not get as far, or there was none
    storeChanged,  // somebody wrote into the store since it was rewritten
    unproved,      // not all that was handed out came back
    notStored,     // the state could not be written
    settled,
};

/// What came of a run.
struct SyncRunSummary {
    int startResult = 0;    // as of the rules; a dry run tells the plug-in 1 where this is 3 to 6
    bool finished = false;  // finishSync took effect (or would have, in a dry run)
    std::size_t sent = 0;   // records added or changed on the server
    std::size_t received = 0;  // records added or changed here
    std::size_t deletedOnServer = 0;
    std::size_t deletedHere = 0;
    std::size_t refused = 0;           // records of the server that no store could take
    bool held = false;                 // unsafe texts kept everything from coming down
    std::vector<KTLoss> losses;        // all that the plug-in told in this run
    std::size_t remarksLeftOut = 0;    // further remarks that were told
    std::vector<KTLoss> newlyUnread;   // unread texts that were not there at the last settled run
    std::vector<KTLoss> overwritten;   // unread texts that what is known was written over
    std::vector<std::string> notices;  // German lines of what the user has to know of a run that
                                       // did what was asked
    bool rewriteExpected = false;      // the session ended so that the plug-in rewrites the store
    bool needsSettling = false;        // ... and doSync said YES: a settling run is due
    bool settled = false;              // this was a settling run and it counted
    Settlement settlement = Settlement::notReached;  // of a settling run
    std::vector<std::string> unproved;  // title and calendar of what did not come back from the
                                        // store, and was not told as unwritten either
    std::vector<StagedRecord> staged;   // of a dry run, by conduit and key
    // Keys that the plug-in computed of a calendar at the last run and computes of it now.
    std::vector<std::pair<std::string, std::string>> renamedCalendars;
    std::vector<std::string>
        reasons;  // German lines: why the session was not opened or not finished
};

}  // namespace kt
