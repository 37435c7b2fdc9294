#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "Sync/Host/Site/Site.h"

namespace kt {

/// What a site server bears of its clients.
struct SiteServerLimits {
    std::size_t connections = 512;  // whoever comes then is sent away
    std::size_t answers = 8;        // that are made at a time, each with memory of its own
    // Browsers open connections in advance; most requests come at once or not at all.
    std::chrono::milliseconds firstByteTime{3'000};
    std::chrono::milliseconds requestTime{10'000};  // from the beginning of the connection
    std::chrono::milliseconds answerTime{60'000};   // for the whole of it to be taken
};

/// Serves a site over HTTP/1.1, one request a connection. One thread, that of run(), speaks to
/// all clients, however slow they are; a few others make the answers.
class SiteServer {
public:
    /// Method, target and status of each answer, from the thread of run(); "-" for what could not
    /// be read. Everybody waits for it.
    using AccessLog =
        std::function<void(std::string_view method, std::string_view target, int status)>;

    /// Takes the address and port at once; port 0 takes any that is free. The site outlives the
    /// server. Throws Exception NSGenericException, with a line for the user, for an address that
    /// cannot be listened on.
    SiteServer(Site& site, const std::string& listen, int port, AccessLog accessLog,
               const SiteServerLimits& limits = {});
    /// Closes what is open, after the answers that are being made.
    ~SiteServer();
    SiteServer(const SiteServer&) = delete;
    SiteServer& operator=(const SiteServer&) = delete;

    int port() const;
    /// Answers until stop() is called. Throws Exception NSGenericException, with a line for the
    /// user, when connections cannot be taken any more.
    void run();
    /// From any thread, before or during run(); what is being answered is cut short.
    void stop();

private:
    class Implementation;
    std::unique_ptr<Implementation> _implementation;
};

}  // namespace kt
