#pragma once

#include <array>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "Sync/Host/Http/SiteServer.h"
#include "tests/Sync/Host/Publishing/PublishingFixture.h"
#include "tests/support/PlatformScope.h"

namespace kt::test {

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

/// A client on this machine that says what it likes.
class Connection {
public:
    Connection() : _socket(::socket(AF_INET, SOCK_STREAM, 0)) {}
    explicit Connection(int port) : Connection() { connect(port); }
    ~Connection() { ::close(_socket); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    void connect(int port) const
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(::connect(_socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    }
    /// False once nobody listens any more.
    bool send(const std::string& text) const
    {
        return ::send(_socket, text.data(), text.size(), MSG_NOSIGNAL) ==
               static_cast<ssize_t>(text.size());
    }
    void saysNoMore() const { ::shutdown(_socket, SHUT_WR); }
    /// Takes as little as can be before it is read.
    void takesLittle() const
    {
        const int least = 1;
        ::setsockopt(_socket, SOL_SOCKET, SO_RCVBUF, &least, sizeof least);
    }
    /// Is gone without a word, whatever is on its way.
    void willHangUp() const
    {
        const linger none{1, 0};
        ::setsockopt(_socket, SOL_SOCKET, SO_LINGER, &none, sizeof none);
    }
    bool hasAnswer() const
    {
        char byte;
        return ::recv(_socket, &byte, 1, MSG_PEEK | MSG_DONTWAIT) > 0;
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

/// 0 for what is no answer.
inline int statusOf(const std::string& answer)
{
    return answer.starts_with("HTTP/1.1 ") ? std::stoi(answer.substr(9, 3)) : 0;
}

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
    static SiteServerLimits patient()
    {
        constexpr std::chrono::hours kLong(1);
        return {.firstByteTime = kLong, .requestTime = kLong, .answerTime = kLong};
    }

    PlatformScope platform;
    FilledServer server;
    Site site{std::make_unique<SqliteServer>(server.path())};
    std::vector<std::string> lines;

private:
    std::mutex _mutex;
};

}  // namespace kt::test
