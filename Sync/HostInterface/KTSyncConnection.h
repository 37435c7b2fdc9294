#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/HostInterface/KTClassTable.h"
#include "Sync/HostInterface/KTFileLogger.h"

namespace kt {

class KTSyncPluginProtocol;

/// Why a publishing call failed.
struct KTSyncError {
    std::string localizedDescription;
};

/// The host's connection to its publishing service.
class KTSyncConnection {
public:
    virtual ~KTSyncConnection() = default;

    virtual bool activatePublicSharingForMainConduit(const std::string& mainConduit,
                                                     const std::vector<std::string>& subConduits,
                                                     const std::string& mode,
                                                     const std::string& mainRecordKey,
                                                     const std::string& options,
                                                     KTSyncError& error) = 0;
    virtual bool deactivatePublicSharingForMainConduit(const std::string& mainConduit,
                                                       const std::vector<std::string>& subConduits,
                                                       const std::string& mainRecordKey,
                                                       KTSyncError& error) = 0;
    /// Entries hold "public" ("YES" or other) and "publicOptions".
    virtual bool listPublicSharings(std::vector<Dictionary>& sharings,
                                    const std::string& mainConduit,
                                    const std::optional<std::vector<std::string>>& subConduits,
                                    const std::string& mainRecordKey, KTSyncError& error) = 0;
};

/// The class object of KTSyncConnection.
class KTSyncConnectionClass : public KTHostClass {
public:
    static constexpr std::string_view className = "KTSyncConnection";

    /// alloc, initForPlugin:withName:andFileLogger: (plug-in and logger may be null).
    virtual std::shared_ptr<KTSyncConnection> initForPlugin(KTSyncPluginProtocol* plugin,
                                                            const std::string& name,
                                                            KTFileLogger* fileLogger) const = 0;
};

}  // namespace kt
