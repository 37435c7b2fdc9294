#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <httplib.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include "Sync/Foundation/Exception.h"
#include "Sync/Host/Publishing/SiteServer.h"
#include "tests/Sync/Host/Publishing/PublishingFixture.h"
#include "tests/support/PlatformScope.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

/// Runs until the end of its life, whatever happens meanwhile.
class Running {
public:
    explicit Running(SiteServer& server) : _server(server), _thread([this] { _server.run(); }) {}
    ~Running()
    {
        _server.stop();
        _thread.join();
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

private:
    SiteServer& _server;
    std::thread _thread;
};

/// A connection to a port of this machine.
class Connection {
public:
    explicit Connection(int port) : _socket(::socket(AF_INET, SOCK_STREAM, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(::connect(_socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    }
    ~Connection() { ::close(_socket); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    void send(const std::string& text) const
    {
        EXPECT_EQ(::send(_socket, text.data(), text.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(text.size()));
    }
    /// Everything that comes, to the end.
    std::string receive() const
    {
        std::string text;
        std::array<char, 4096> part;
        for (ssize_t count; (count = ::recv(_socket, part.data(), part.size(), 0)) > 0;)
            text.append(part.data(), static_cast<std::size_t>(count));
        return text;
    }

private:
    int _socket;
};

class SiteServers : public testing::Test {
protected:
    SiteServer::AccessLog log()
    {
        return [this](std::string_view method, std::string_view target, int status) {
            const std::lock_guard lock(_mutex);
            lines.push_back(std::string(method) + ' ' + std::string(target) + ' ' +
                            std::to_string(status));
        };
    }

    /// Nobody is sent away for being slow.
    static SiteServer::Limits patient()
    {
        SiteServer::Limits limits;
        limits.times = {std::chrono::hours(1), std::chrono::hours(1), std::chrono::hours(1)};
        return limits;
    }

    PlatformScope platform;
    FilledServer server;
    Site site{std::make_unique<SqliteServer>(server.path())};
    std::vector<std::string> lines;

private:
    std::mutex _mutex;
};

TEST_F(SiteServers, AnswerOverTheNetwork)
{
    server.share("EVENTS  ");
    SiteServer network(site, "127.0.0.1", 0, log());
    ASSERT_GT(network.port(), 0);
    {
        const Running running(network);
        httplib::Client client("127.0.0.1", network.port());
        const auto answer = client.Get("/vl/calendar/C1.ics");
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->status, 200);
        EXPECT_EQ(answer->get_header_value("Content-Type"), "text/calendar; charset=utf-8");
        EXPECT_EQ(answer->get_header_value("Connection"), "close");
        EXPECT_THAT(answer->body, HasSubstr("BEGIN:VCALENDAR"));
        const auto again = client.Get("/vl/calendar/C1.ics",
                                      {{"If-None-Match", answer->get_header_value("ETag")}});
        ASSERT_TRUE(again);
        EXPECT_EQ(again->status, 304);
    }
    EXPECT_THAT(lines, ElementsAre("GET /vl/calendar/C1.ics 200", "GET /vl/calendar/C1.ics 304"));
}

// The clock of the whole is what ends a site that lets the silent ones keep everybody waiting.
TEST_F(SiteServers, AnswerWhileManyOthersSayNothing)
{
    SiteServer network(site, "127.0.0.1", 0, log(), patient());
    const Running running(network);
    std::vector<std::unique_ptr<Connection>> silent;
    for (int number = 0; number < 100; ++number)
        silent.push_back(std::make_unique<Connection>(network.port()));
    const Connection asking(network.port());
    asking.send("GET /vl/calendar HTTP/1.0\r\n\r\n");
    EXPECT_TRUE(asking.receive().starts_with("HTTP/1.1 200 OK\r\n"));
}

TEST_F(SiteServers, SendAwayWhoIsOneTooMany)
{
    SiteServer::Limits limits = patient();
    limits.connections = {2, 1};
    SiteServer network(site, "127.0.0.1", 0, log(), limits);
    {
        const Running running(network);
        const Connection first(network.port());
        const Connection second(network.port());
        const Connection waiting(network.port());
        const std::string answer = Connection(network.port()).receive();
        EXPECT_TRUE(answer.starts_with("HTTP/1.1 503 Service Unavailable\r\n")) << answer;
        EXPECT_THAT(answer, HasSubstr("\r\nX-Content-Type-Options: nosniff\r\n"));
        EXPECT_THAT(answer, HasSubstr("<h1>Zurzeit nicht verfügbar</h1>"));
        first.send("GET / HTTP/1.0\r\n\r\n");
        EXPECT_TRUE(first.receive().starts_with("HTTP/1.1 302 Found\r\n"));
        waiting.send("GET / HTTP/1.0\r\n\r\n");
        EXPECT_TRUE(waiting.receive().starts_with("HTTP/1.1 302 Found\r\n"));
    }
    EXPECT_THAT(lines, ElementsAre("- - 503", "GET / 302", "GET / 302"));
}

/// A server that fails as no code expects.
class BrokenServer : public SyncServer {
public:
    OpenedSession openSession(std::string_view, std::string_view, ServerAccess) override
    {
        throw std::runtime_error("/home/anna is full");
    }
    void setAccountEnabled(std::string_view, bool) override {}
    std::string description() const override { return "broken"; }
};

TEST_F(SiteServers, KeepAFailureToThemselves)
{
    Site broken(std::make_unique<BrokenServer>());
    SiteServer network(broken, "127.0.0.1", 0, log());
    {
        const Running running(network);
        const Connection asking(network.port());
        asking.send("GET /vl/calendar HTTP/1.0\r\n\r\n");
        const std::string answer = asking.receive();
        EXPECT_TRUE(answer.starts_with("HTTP/1.1 500 Internal Server Error\r\n")) << answer;
        EXPECT_THAT(answer, HasSubstr("\r\nContent-Security-Policy: "));
        EXPECT_THAT(answer, testing::Not(HasSubstr("anna")));
    }
    EXPECT_THAT(lines, ElementsAre("GET /vl/calendar 500"));
}

/// The socket that listens on the port, found among this process's own.
int listeningSocket(int port)
{
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    for (int number = 3; number < static_cast<int>(std::min<rlim_t>(limit.rlim_cur, 4096));
         ++number) {
        int isListening = 0;
        socklen_t size = sizeof isListening;
        sockaddr_in address{};
        socklen_t length = sizeof address;
        if (::getsockopt(number, SOL_SOCKET, SO_ACCEPTCONN, &isListening, &size) == 0 &&
            isListening != 0 &&
            ::getsockname(number, reinterpret_cast<sockaddr*>(&address), &length) == 0 &&
            ntohs(address.sin_port) == port)
            return number;
    }
    return -1;
}

TEST_F(SiteServers, SayThatTheyCanTakeNoConnectionsAnyMore)
{
    SiteServer network(site, "127.0.0.1", 0, {});
    const int socket = listeningSocket(network.port());
    ASSERT_GE(socket, 0);
    ::shutdown(socket, SHUT_RDWR);
    EXPECT_THROW(network.run(), Exception);
}

TEST_F(SiteServers, AnswerEverybodyInTurn)
{
    server.share("EVENTS  ");
    SiteServer::Limits limits = patient();
    limits.answers = 1;
    SiteServer network(site, "127.0.0.1", 0, {}, limits);
    const Running running(network);
    std::atomic<int> answered = 0;
    std::vector<std::thread> clients;
    for (int client = 0; client < 40; ++client)
        clients.emplace_back([&] {
            const Connection connection(network.port());
            connection.send("GET /vl/calendar HTTP/1.1\r\nHost: a\r\n\r\n");
            if (connection.receive().starts_with("HTTP/1.1 200 OK\r\n"))
                ++answered;
        });
    for (std::thread& client : clients)
        client.join();
    EXPECT_EQ(answered, 40);
}

TEST_F(SiteServers, AreStoppedAtAnyTime)
{
    SiteServer network(site, "127.0.0.1", 0, {});
    network.stop();
    network.run();
    SiteServer unused(site, "127.0.0.1", 0, {});
}

TEST_F(SiteServers, ShareNoPort)
{
    const SiteServer first(site, "127.0.0.1", 0, {});
    EXPECT_THROW(SiteServer(site, "127.0.0.1", first.port(), {}), Exception);
    EXPECT_THROW(SiteServer(site, "nirgendwo.invalid", 0, {}), Exception);
}

}  // namespace
}  // namespace kt::test
