#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "Sync/Host/Engine/HostIdentityReport.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

/// Tells whether a later run is given exactly what this one was: records in their order with
/// content, keys and places, and whatever else a comparison depends on.
///
/// Its text is XXH3 of 128 bits under a random key, with that key in front, which is kept on this
/// device alone. Who can write events, but knows neither key nor digest, cannot make an event that
/// looks like another; if he could, he would keep nothing but his own event from being compared,
/// until anything else changes. What leaves this device, or is compared with what comes from
/// elsewhere, has to go by a cryptographic digest instead.
class LoadDigest {
public:
    /// With the key of an earlier text, so that an equal load gives that text again. Any other text
    /// counts as none, and is never given.
    explicit LoadDigest(std::string_view earlier);
    ~LoadDigest();
    LoadDigest(const LoadDigest&) = delete;
    LoadDigest& operator=(const LoadDigest&) = delete;

    /// `hash` is the contentHash of the record.
    void add(const KTSyncRecord& record, std::string_view hash,
             const HostIdentityReport::View& identity);
    void add(std::string_view text);
    /// Of all that was added.
    std::string text() const;

private:
    struct State;
    std::unique_ptr<State> _state;
    std::string _key;
};

}  // namespace kt
