#include "Sync/Host/Publishing/SiteServer.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <mutex>
#include <optional>
#include <utility>

#include <httplib.h>
#include <sys/socket.h>
#include <unistd.h>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/Host/Publishing/RequestHead.h"

namespace kt {

namespace {

constexpr const char* kUnread = "-";

class OwnedSocket {
public:
    explicit OwnedSocket(int socket) : _socket(socket) {}
    ~OwnedSocket() { ::close(_socket); }
    OwnedSocket(const OwnedSocket&) = delete;
    OwnedSocket& operator=(const OwnedSocket&) = delete;

    int number() const { return _socket; }

private:
    int _socket;
};

/// As many as may make an answer at a time.
class Turns {
public:
    explicit Turns(std::ptrdiff_t count) : _free(count) {}

    /// Waits for a turn; false, and none is taken, once there are to be no more.
    bool take()
    {
        std::unique_lock lock(_mutex);
        _isFree.wait(lock, [this] { return _free > 0 || _isOver; });
        if (_isOver)
            return false;
        --_free;
        return true;
    }
    void giveBack()
    {
        const std::lock_guard lock(_mutex);
        ++_free;
        _isFree.notify_one();
    }
    void end()
    {
        const std::lock_guard lock(_mutex);
        _isOver = true;
        _isFree.notify_all();
    }

private:
    std::mutex _mutex;
    std::condition_variable _isFree;
    std::ptrdiff_t _free;
    bool _isOver = false;
};

/// One of them, given back at the end. There may be none to take.
class Turn {
public:
    explicit Turn(Turns& turns) : _turns(turns), _isTaken(turns.take()) {}
    ~Turn()
    {
        if (_isTaken)
            _turns.giveBack();
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    bool isTaken() const { return _isTaken; }

private:
    Turns& _turns;
    bool _isTaken;
};

/// The status for a request that cannot be answered as it came, 0 for one that can.
int readRequest(BoundedStream& stream, RequestHeadReader& reader)
{
    while (const auto byte = stream.next()) {
        const auto state = reader.take(*byte);
        if (state != RequestHeadReader::State::reading)
            return reader.refusal();
    }
    return stream.isLate() ? 408 : 400;
}

}  // namespace

/// The library listens and accepts; what is said on a connection is decided here, because the
/// library answers some requests before anybody is asked.
class SiteServer::Implementation : public httplib::Server {
public:
    Implementation(Site& site, AccessLog accessLog, const Limits& limits)
        : _site(site),
          _accessLog(std::move(accessLog)),
          _limits(limits),
          _turns(limits.answers)
    {
        new_task_queue = [this] { return new Connections(*this); };
        set_idle_interval(std::chrono::milliseconds(100));
        // Another program's port is not to be shared, which would be the library's default.
        set_socket_options([](socket_t socket) {
            const int yes = 1;
            ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        });
    }

    /// The library would let five connections wait, and the sixth try again a second later.
    void letMoreWait() { ::listen(svr_sock_, SOMAXCONN); }

    void serve()
    {
        if (!listen_after_bind() && !_isStopping)
            throw Exception(NSGenericException, "Es lassen sich keine Verbindungen mehr annehmen.");
    }

    void stopServing()
    {
        _isStopping = true;
        _turns.end();
        httplib::Server::stop();
    }

private:
    bool process_and_close_socket(socket_t number) override
    {
        const OwnedSocket socket(number);
        try {
            if (ConnectionThreads::isOverloaded())
                sendAway(socket.number());
            else
                converse(socket.number());
            return true;
        } catch (const std::exception&) {
            return false;  // not even memory for saying so
        }
    }

    /// The library passes over a stop that comes before it listens; here it is noticed later.
    class Connections : public httplib::TaskQueue {
    public:
        explicit Connections(Implementation& server)
            : _server(server),
              _threads(server._limits.connections)
        {}
        void enqueue(std::function<void()> job) override
        {
            on_idle();
            _threads.run(std::move(job));
        }
        void on_idle() override
        {
            if (_server._isStopping)
                _server.httplib::Server::stop();
        }
        void shutdown() override { _threads.join(); }

    private:
        Implementation& _server;
        ConnectionThreads _threads;
    };

    void converse(int socket)
    {
        BoundedStream stream(socket, _limits.times, _isStopping);
        RequestHeadReader reader;
        const int refusal = readRequest(stream, reader);
        if (!stream.hasRequest() || _isStopping)
            return;  // nobody waits for an answer
        const RequestHead& head = reader.head();
        const auto answer = refusal == 0 ? answerTo(head) : std::optional(refusalAnswer(refusal));
        if (answer)
            send(*answer, head, stream);
    }

    void send(const SiteAnswer& answer, const RequestHead& head, BoundedStream& stream) const
    {
        log(head, answer.status);
        if (stream.write(headOf(answer, Platform::shared().now())) && hasBody(answer, head.method))
            stream.write(answer.bytes());
        stream.finish();
    }

    /// None where a stop comes first.
    std::optional<SiteAnswer> answerTo(const RequestHead& head)
    {
        const Turn turn(_turns);
        if (!turn.isTaken())
            return std::nullopt;
        try {
            return _site.answer({head.method, head.target, head.ifNoneMatch});
        } catch (const std::exception&) {
            return refusalAnswer(500);
        }
    }

    /// On the thread that accepts: nothing here may wait.
    void sendAway(int socket)
    {
        const SiteAnswer answer = refusalAnswer(503);
        log({}, answer.status);
        const std::string bytes = headOf(answer, Platform::shared().now()) + *answer.body;
        char request[4096];  // unread, it would take the answer back
        ::recv(socket, request, sizeof request, MSG_DONTWAIT);
        ::send(socket, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        ::shutdown(socket, SHUT_WR);
    }

    void log(const RequestHead& head, int status) const
    {
        if (_accessLog)
            _accessLog(head.method.empty() ? kUnread : head.method,
                       head.target.empty() ? kUnread : head.target, status);
    }

    Site& _site;
    AccessLog _accessLog;
    Limits _limits;
    Turns _turns;
    std::atomic<bool> _isStopping{false};
};

SiteServer::SiteServer(Site& site, const std::string& listen, int port, AccessLog accessLog)
    : SiteServer(site, listen, port, std::move(accessLog), Limits{})
{}

SiteServer::SiteServer(Site& site, const std::string& listen, int port, AccessLog accessLog,
                       const Limits& limits)
    : _implementation(std::make_unique<Implementation>(site, std::move(accessLog), limits))
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
    _implementation->letMoreWait();
}

SiteServer::~SiteServer() = default;

void SiteServer::run() { _implementation->serve(); }

void SiteServer::stop() { _implementation->stopServing(); }

}  // namespace kt
