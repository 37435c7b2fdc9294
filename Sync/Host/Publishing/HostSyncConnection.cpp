#include "Sync/Host/Publishing/HostSyncConnection.h"

#include <utility>

#include "Sync/Foundation/CalendarDate.h"
#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/Host/Server/RandomIdentifier.h"
#include "Sync/Host/Server/Sharings.h"
#include "Sync/HostInterface/Guard.h"

namespace kt {

namespace {

constexpr std::string_view kReadOnly = "RO";

void check(std::string_view mode, const std::string& key)
{
    if (mode != kReadOnly)
        throw Exception(NSInvalidArgumentException,
                        stringWithFormat("Die Freigabeart '%@' gibt es nicht", mode));
    if (key.empty())
        throw Exception(NSInvalidArgumentException, "Der Kalender hat keinen Schlüssel");
}

}  // namespace

HostSyncConnection::HostSyncConnection(std::unique_ptr<SyncServer> server, std::string account,
                                       KTFileLogger* fileLogger, KeyOnServer keyOnServer)
    : _server(std::move(server)),
      _account(std::move(account)),
      _fileLogger(fileLogger),
      _keyOnServer(std::move(keyOnServer))
{}

RecordId HostSyncConnection::idOnServer(const std::string& conduit, const std::string& key) const
{
    return {conduit, _keyOnServer ? _keyOnServer(key) : key};
}

template <class Body>
bool HostSyncConnection::inSession(ServerAccess access, KTSyncError& error, Body&& body)
{
    const auto fail = [&](const std::string& reason) {
        logTo(_fileLogger, "[KTSyncConnection]: %@", reason);
        error.localizedDescription = reason;
        return false;
    };
    try {
        if (_server == nullptr)
            return fail("Es ist kein Server eingestellt");
        if (access == ServerAccess::readWrite && Platform::shared().isWriteGuarded())
            return fail("Hier wird nur nachgesehen und nichts geändert");
        // A device may have one session only, and a sync of this one may be under way.
        OpenedSession opened =
            _server->openSession(_account, "publishing-" + randomIdentifier(), access);
        if (opened.status != OpenStatus::opened)
            return fail(opened.reason);
        Sharings* sharings = opened.session->sharings();
        if (sharings == nullptr)
            return fail("Dieser Server kann nichts veröffentlichen");
        body(*sharings);
        if (access == ServerAccess::readWrite)
            opened.session->commit();
        return true;
    } catch (const Exception& exception) {
        return fail(exception.reason());
    }
}

bool HostSyncConnection::activatePublicSharingForMainConduit(
    const std::string& mainConduit, const std::vector<std::string>&, const std::string& mode,
    const std::string& mainRecordKey, const std::string& options, KTSyncError& error)
{
    return inSession(ServerAccess::readWrite, error, [&](Sharings& sharings) {
        check(mode, mainRecordKey);
        sharings.share({idOnServer(mainConduit, mainRecordKey), mode, options, randomIdentifier(),
                        iso8601(Platform::shared().now())});
    });
}

bool HostSyncConnection::deactivatePublicSharingForMainConduit(const std::string& mainConduit,
                                                               const std::vector<std::string>&,
                                                               const std::string& mainRecordKey,
                                                               KTSyncError& error)
{
    return inSession(ServerAccess::readWrite, error, [&](Sharings& sharings) {
        sharings.unshare(idOnServer(mainConduit, mainRecordKey));
    });
}

bool HostSyncConnection::listPublicSharings(std::vector<Dictionary>& sharings,
                                            const std::string& mainConduit,
                                            const std::optional<std::vector<std::string>>&,
                                            const std::string& mainRecordKey, KTSyncError& error)
{
    sharings.clear();
    return inSession(ServerAccess::readOnly, error, [&](Sharings& known) {
        for (const Sharing& sharing : known.all()) {
            if (sharing.id == idOnServer(mainConduit, mainRecordKey))
                sharings.push_back({{"public", "YES"}, {"publicOptions", sharing.options}});
        }
    });
}

HostSyncConnectionClass::HostSyncConnectionClass(std::string serverURL, KeyOnServer keyOnServer,
                                                 std::string account)
    : _serverURL(std::move(serverURL)),
      _keyOnServer(std::move(keyOnServer)),
      _account(std::move(account))
{}

std::shared_ptr<KTSyncConnection> HostSyncConnectionClass::initForPlugin(
    KTSyncPluginProtocol*, const std::string&, KTFileLogger* fileLogger) const
{
    return std::make_shared<HostSyncConnection>(_serverURL.empty() ? nullptr
                                                                   : syncServerWithURL(_serverURL),
                                                _account, fileLogger, _keyOnServer);
}

}  // namespace kt
