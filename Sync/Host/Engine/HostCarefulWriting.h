#pragma once

#include <functional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "Sync/HostInterface/KTCarefulWriting.h"

namespace kt {

/// Asks the plug-in to keep the store's texts, and says which of the unread ones are to go and
/// whose text is whose.
class HostCarefulWriting : public KTCarefulWriting {
public:
    bool isGivenUp(const KTLoss& unread) const override;
    const KTSyncRecord* storedRecordOf(const KTSyncRecord& handed) const override;
    bool noteFolders(const std::vector<std::string>& names) override
    {
        return !_noteFolders || _noteFolders(names);
    }
    std::vector<std::string> foldersLeftBehind() const override { return _leftBehind; }

    /// The texts whose records are handed out in this run, in place of those before.
    void giveUp(const std::vector<KTLoss>& texts);
    /// Notes which record of the load one is that is handed out.
    void noteStored(const SyncRecord& handed, const SyncRecord& stored);
    /// What is asked to note folders in this run.
    using NoteFolders = std::function<bool(const std::vector<std::string>& names)>;
    void noteFoldersWith(NoteFolders note) { _noteFolders = std::move(note); }
    void setLeftBehind(std::vector<std::string> names) { _leftBehind = std::move(names); }
    /// From now on what was not noted is no record of the load but itself.
    void noteAllKnown() { _areAllKnown = true; }
    void clear();

private:
    std::unordered_set<std::string> _givenUp;  // what tells one text from another
    // By the handed record, which is held so that no other one can come to stand in its place.
    std::unordered_map<const KTSyncRecord*, std::pair<SyncRecord, SyncRecord>> _stored;
    bool _areAllKnown = false;
    NoteFolders _noteFolders;
    std::vector<std::string> _leftBehind;
};

}  // namespace kt
