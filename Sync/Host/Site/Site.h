#pragma once

#include <memory>
#include <string>

#include "Sync/Host/Server/SyncServer.h"
#include "Sync/Host/Site/CalendarCache.h"
#include "Sync/Host/Site/SiteAddress.h"
#include "Sync/Host/Site/SiteAnswer.h"

namespace kt {

/// One request, as far as it matters here.
struct SiteRequest {
    std::string method;
    std::string target;       // as it came over the wire
    std::string ifNoneMatch;  // empty without the header
};

/// The public calendar site without its network: what it answers to a request. Reads the server
/// each time, so that what was taken back is gone at once, and never writes. May be asked by
/// several threads at a time.
class Site {
public:
    explicit Site(std::unique_ptr<SyncServer> server, std::string account = "default");

    /// Never throws an Exception.
    SiteAnswer answer(const SiteRequest& request);

private:
    SiteAnswer answerTo(const SiteAddress& address);
    SiteAnswer answerFrom(SyncServerSession& session, const SiteAddress& address);
    SiteAnswer calendarAnswer(SyncServerSession& session, const SiteAddress& address);

    std::unique_ptr<SyncServer> _server;
    std::string _account;
    CalendarCache _cache;
};

}  // namespace kt
