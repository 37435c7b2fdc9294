#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "Sync/Host/Publishing/BoundedStream.h"
#include "Sync/Host/Publishing/ConnectionThreads.h"
#include "Sync/Host/Publishing/Site.h"

namespace kt {

/// Serves a site over HTTP/1.1, one request a connection.
class SiteServer {
public:
    struct Limits {
        ConnectionThreads::Limits connections{};
        BoundedStream::Limits times{};
        std::ptrdiff_t answers = 8;  // that are made at a time, each with memory of its own
    };

    /// Method, target and status of each answer, from several threads; "-" for what could not be
    /// read.
    using AccessLog =
        std::function<void(std::string_view method, std::string_view target, int status)>;

    /// Takes the address and port at once; port 0 takes any that is free. The site outlives the
    /// server. Throws Exception NSGenericException, with a line for the user, for an address that
    /// cannot be listened on.
    SiteServer(Site& site, const std::string& listen, int port, AccessLog accessLog);
    SiteServer(Site& site, const std::string& listen, int port, AccessLog accessLog,
               const Limits& limits);
    ~SiteServer();
    SiteServer(const SiteServer&) = delete;
    SiteServer& operator=(const SiteServer&) = delete;

    int port() const { return _port; }
    /// Answers until stop() is called. Throws Exception NSGenericException, with a line for the
    /// user, when connections cannot be taken any more.
    void run();
    /// From any thread, before or during run(); what is being answered is cut short.
    void stop();

private:
    class Implementation;
    std::unique_ptr<Implementation> _implementation;
    int _port = 0;
};

}  // namespace kt
