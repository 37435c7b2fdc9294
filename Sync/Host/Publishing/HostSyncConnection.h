#pragma once

#include <functional>
#include <memory>
#include <string>

#include "Sync/Host/Server/SyncServer.h"
#include "Sync/HostInterface/KTSyncConnection.h"

namespace kt {

/// The key that a calendar has on the server, for the one that the plug-in has for it; may be
/// empty, when both are the same. May throw Exception.
using KeyOnServer = std::function<std::string(const std::string&)>;

/// The publishing service of this host: what is public stands on the server, beside the records
/// of the account, and the public site reads it there. Each call is one session; failures are told
/// as one German line and change nothing.
class HostSyncConnection : public KTSyncConnection {
public:
    /// The logger may be null; it outlives the connection.
    HostSyncConnection(std::unique_ptr<SyncServer> server, std::string account,
                       KTFileLogger* fileLogger, KeyOnServer keyOnServer = {});

    /// The only mode is "RO". Which sub-conduits are public, the options say.
    bool activatePublicSharingForMainConduit(const std::string& mainConduit,
                                             const std::vector<std::string>& subConduits,
                                             const std::string& mode,
                                             const std::string& mainRecordKey,
                                             const std::string& options,
                                             KTSyncError& error) override;
    bool deactivatePublicSharingForMainConduit(const std::string& mainConduit,
                                               const std::vector<std::string>& subConduits,
                                               const std::string& mainRecordKey,
                                               KTSyncError& error) override;
    /// One entry for a record that is public, none for another.
    bool listPublicSharings(std::vector<Dictionary>& sharings, const std::string& mainConduit,
                            const std::optional<std::vector<std::string>>& subConduits,
                            const std::string& mainRecordKey, KTSyncError& error) override;

private:
    template <class Body>
    bool inSession(ServerAccess access, KTSyncError& error, Body&& body);
    RecordId idOnServer(const std::string& conduit, const std::string& key) const;

    std::unique_ptr<SyncServer> _server;
    std::string _account;
    KTFileLogger* _fileLogger;
    KeyOnServer _keyOnServer;
};

/// The class object: knows the server that its connections speak to.
class HostSyncConnectionClass : public KTSyncConnectionClass {
public:
    /// For an empty address there is no server, and every call of a connection fails.
    explicit HostSyncConnectionClass(std::string serverURL, KeyOnServer keyOnServer = {},
                                     std::string account = "default");

    std::shared_ptr<KTSyncConnection> initForPlugin(KTSyncPluginProtocol* plugin,
                                                    const std::string& name,
                                                    KTFileLogger* fileLogger) const override;

private:
    std::string _serverURL;
    KeyOnServer _keyOnServer;
    std::string _account;
};

}  // namespace kt
