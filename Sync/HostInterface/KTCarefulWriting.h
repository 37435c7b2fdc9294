#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

/// The host's optional class that asks the plug-in to keep the store's texts when it rewrites the
/// store: what did not change stays byte for byte, what could not be read stays in its place.
/// Without it the whole store is written anew from records.
class KTCarefulWriting : public KTHostClass {
public:
    static constexpr std::string_view className = "KTCarefulWriting";

    /// Whether text that could not be read is to go, because the host has handed out what it last
    /// held. Asked for every such text, with what was told of it as a loss; the reason is empty.
    virtual bool isGivenUp(const KTLoss& unread) const = 0;

    /// The record of this run's load that a record of getLocalState is, whatever of it was edited
    /// since; the record itself for one that the store does not have; null where the host cannot
    /// tell.
    virtual const KTSyncRecord* storedRecordOf(const KTSyncRecord& handed) const = 0;

    /// Told before a rewrite touches anything, where only an index says which folders are
    /// calendars: the names of the folders that it makes or takes away. False when that cannot be
    /// noted for later runs; nothing is touched then.
    virtual bool noteFolders(const std::vector<std::string>& names) = 0;

    /// Those that rewrites before this one have noted and that may be half made or half gone, since
    /// none of them was settled.
    virtual std::vector<std::string> foldersLeftBehind() const = 0;
};

}  // namespace kt
