#include "Sync/Host/Publishing/SiteServer.h"

#include <atomic>
#include <chrono>
#include <thread>
#include <utility>

#include <httplib.h>
#include <sys/socket.h>
#include <unistd.h>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Host/Publishing/BoundedStream.h"

namespace kt {

namespace {

constexpr std::size_t kThreads = 16;  // most of them wait for slow clients

/// What the HTTP library answered by itself, because it could not read the request.
void explainRefusal(const BoundedStream& stream, httplib::Response& response)
{
    if (stream.isRequestTooLong() && response.status == 400)
        response.status = 431;
    if (stream.isRequestTooSlow() && response.status == 400)
        response.status = 408;
}

}  // namespace

class SiteServer::Implementation : public httplib::Server {
public:
    Implementation(Site& site, AccessLog accessLog) : _site(site), _accessLog(std::move(accessLog))
    {
        new_task_queue = [this] { return new Threads(*this); };
        set_idle_interval(std::chrono::milliseconds(100));
        // Another program's port is not to be shared, which would be the library's default.
        set_socket_options([](socket_t socket) {
            const int yes = 1;
            ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        });
        set_pre_routing_handler(
            [this](const httplib::Request& request, httplib::Response& response) {
                answer(request, response);
                return HandlerResponse::Handled;
            });
        // Nobody's body is ever read.
        set_expect_100_continue_handler(
            [](const httplib::Request&, httplib::Response&) { return 417; });
        set_error_handler([](const httplib::Request&, httplib::Response& response) {
            if (currentStream != nullptr)
                explainRefusal(*currentStream, response);
        });
    }

    void stopServing()
    {
        _isStopping = true;
        httplib::Server::stop();
    }

private:
    void answer(const httplib::Request& request, httplib::Response& response)
    {
        SiteAnswer answer = _site.answer(
            {request.method, request.target, request.get_header_value("If-None-Match")});
        response.status = answer.status;
        for (const auto& [name, value] : answer.headers)
            response.set_header(name, value);
        if (!answer.contentType.empty())
            response.set_content(std::move(answer.body), answer.contentType);
        if (_accessLog)
            _accessLog(request.method, request.target, answer.status);
    }

    bool process_and_close_socket(socket_t socket) override
    {
        constexpr bool kCloseConnection = true;
        BoundedStream stream(socket, {}, _isStopping);
        currentStream = &stream;
        bool isClosed = false;
        const bool isAnswered =
            process_request(stream, kCloseConnection, isClosed, [](httplib::Request& request) {
                // Always the whole, and always as it is: then a tag names one body.
                request.ranges.clear();
                request.headers.erase("Range");
                request.headers.erase("Accept-Encoding");
            });
        currentStream = nullptr;
        stream.finish();
        ::close(socket);
        return isAnswered;
    }

    /// The library passes over a stop that comes before it listens; here it is noticed later.
    class Threads : public httplib::ThreadPool {
    public:
        explicit Threads(Implementation& server) : ThreadPool(kThreads), _server(server) {}
        void on_idle() override
        {
            if (_server._isStopping)
                _server.httplib::Server::stop();
        }

    private:
        Implementation& _server;
    };

    static thread_local BoundedStream* currentStream;

    Site& _site;
    AccessLog _accessLog;
    std::atomic<bool> _isStopping{false};
};

thread_local BoundedStream* SiteServer::Implementation::currentStream = nullptr;

SiteServer::SiteServer(Site& site, const std::string& listen, int port, AccessLog accessLog)
    : _implementation(std::make_unique<Implementation>(site, std::move(accessLog)))
{
    bool isBound = true;
    if (port == 0) {
        _port = _implementation->bind_to_any_port(listen);
        isBound = _port > 0;
    } else {
        _port = port;
        isBound = _implementation->bind_to_port(listen, port);
    }
    if (!isBound)
        throw Exception(NSGenericException,
                        stringWithFormat("Die Adresse %@, Port %d, ist nicht frei.", listen, port));
}

SiteServer::~SiteServer() = default;

void SiteServer::run() { _implementation->listen_after_bind(); }

void SiteServer::stop() { _implementation->stopServing(); }

}  // namespace kt
