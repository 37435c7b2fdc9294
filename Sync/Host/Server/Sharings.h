#pragma once

#include <string>
#include <vector>

#include "Sync/Host/Server/RecordId.h"

namespace kt {

/// A record that its owner made public, with all that is below it.
struct Sharing {
    RecordId id;
    std::string mode;     // how far others may go: "RO"
    std::string options;  // what of it is public, in the words of the plug-in
    std::string secret;  // random, made with the sharing: what is derived from it cannot be guessed
    std::string since;   // when it was made public, as in 2007-12-24T09:00:00Z
};

/// What of one account is public. Sharing is no change of records: the account's head revision
/// stays as it is. Every operation throws Exception with a German reason when the server fails.
class Sharings {
public:
    virtual ~Sharings() = default;

    /// By conduit and key.
    virtual std::vector<Sharing> all() = 0;
    /// Makes a record public, known to the server or not yet. What is public already keeps its
    /// secret and its date.
    virtual void share(const Sharing& sharing) = 0;
    /// Does nothing for what is not public.
    virtual void unshare(const RecordId& id) = 0;
};

}  // namespace kt
