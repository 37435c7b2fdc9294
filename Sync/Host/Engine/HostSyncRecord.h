#pragma once

#include <optional>
#include <string>

#include "Sync/Host/Engine/RecordContent.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

/// A record as the host keeps and hands it out.
class HostSyncRecord : public KTSyncRecord {
public:
    HostSyncRecord(int recordType, RecordContent record, std::string key,
                   std::optional<std::string> parentKey, std::string conduit);

    const Dictionary& record() const override { return _record; }
    int recordType() const override { return _recordType; }
    const std::string& recordKey() const override { return _key; }
    const std::optional<std::string>& recordParentKey() const override { return _parentKey; }
    const std::string& conduit() const override { return _conduit; }
    /// Conduit, blank, key, blank, the dictionary's description.
    std::string description() const override;

private:
    int _recordType;
    RecordContent _record;
    std::string _key;
    std::optional<std::string> _parentKey;
    std::string _conduit;
};

/// Whether a record is one that a store can be rewritten from. A record that is not would stop
/// every rewrite halfway, so none is taken from the plug-in and none is handed to it: a key and a
/// conduit are needed; for a calendar the texts Title, Color, Notes and Type and, unless it is a
/// group, SourceKey; for an item the texts Title and ParentRecordKey. What else a record has must
/// be of the kinds that a store can be written from (HostRecordKinds.h).
bool isAcceptableRecord(const Dictionary& record, const std::optional<std::string>& key,
                        const std::string& conduit);

/// Whether a calendar's dictionary is that of a group.
bool isGroup(const Dictionary& calendar);

/// The class object that the host installs under KTSyncRecord's name.
class HostSyncRecordClass : public KTSyncRecordClass {
public:
    /// Null for a record that isAcceptableRecord refuses.
    SyncRecord syncRecordWithRecordType(int recordType, Dictionary record,
                                        const std::optional<std::string>& key,
                                        const std::optional<std::string>& parentKey,
                                        const std::string& conduit) const override;
};

}  // namespace kt
