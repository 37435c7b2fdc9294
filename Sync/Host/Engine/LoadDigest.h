#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Sync/Foundation/Digest.h"
#include "Sync/Host/Engine/HostIdentityReport.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

/// Tells whether a later run is given exactly what this one was: records in their order with
/// content, keys and places, and whatever else a comparison depends on.
class LoadDigest {
public:
    /// `hash` is the contentHash of the record.
    void add(const KTSyncRecord& record, std::string_view hash, const StorePlace& place);
    void add(std::string_view text);
    /// Hexadecimal; afterwards nothing can be added.
    std::string text();

private:
    SHA256Stream _stream;
    std::string _pending;
};

}  // namespace kt
