#pragma once

#include "Sync/Host/Engine/Knowledge.h"
#include "Sync/Host/Server/SyncServer.h"

namespace kt {

// A server whose file was put back from an older copy, and that has grown since, has the same
// identity and perhaps a higher revision than this device has ever seen. It shows in single
// records only.

/// Whether what the server has of an agreed record cannot have come of what this device exchanged
/// with it: it is older than agreed, or other than agreed although whatever changed up to its
/// revision is known here.
bool contradictsPast(const ServerDigest& digest, const AgreedRow& agreed,
                     const Knowledge& knowledge);

/// Looks at the few records that were exchanged last.
bool contradictsLatest(SyncServerSession& server, const Knowledge& knowledge);

}  // namespace kt
