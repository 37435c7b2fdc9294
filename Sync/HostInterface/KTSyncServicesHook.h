#pragma once

namespace kt {

/// A host object that the plug-in only holds a place for.
class KTSyncServicesHook {
public:
    virtual ~KTSyncServicesHook() = default;
};

}  // namespace kt
