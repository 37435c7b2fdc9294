#include <array>
#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include "Sync/Host/Publishing/BoundedStream.h"

namespace kt::test {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kPatience{600'000};  // longer than any test

class BoundedStreams : public testing::Test {
protected:
    BoundedStreams() { EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, sockets.data()), 0); }
    ~BoundedStreams() override
    {
        ::close(sockets[0]);
        if (sockets[1] >= 0)
            ::close(sockets[1]);
    }
    BoundedStreams(const BoundedStreams&) = delete;
    BoundedStreams& operator=(const BoundedStreams&) = delete;

    BoundedStream stream(milliseconds firstByteTime, milliseconds time)
    {
        return BoundedStream(sockets[0], {firstByteTime, time, time}, isStopping);
    }
    BoundedStream stream(milliseconds time = kPatience) { return stream(time, time); }
    void send(const std::string& text)
    {
        EXPECT_EQ(::send(sockets[1], text.data(), text.size(), 0),
                  static_cast<ssize_t>(text.size()));
    }
    static std::string readAll(BoundedStream& stream)
    {
        std::string text;
        while (const auto byte = stream.next())
            text += *byte;
        return text;
    }
    void closeClient()
    {
        ::close(sockets[1]);
        sockets[1] = -1;
    }

    std::array<int, 2> sockets{};
    std::atomic<bool> isStopping{false};
};

TEST_F(BoundedStreams, GiveWhatTheClientSends)
{
    send("GET / HTTP/1.1");
    closeClient();
    BoundedStream one = stream();
    EXPECT_FALSE(one.hasRequest());
    EXPECT_EQ(readAll(one), "GET / HTTP/1.1");
    EXPECT_TRUE(one.hasRequest());
    EXPECT_FALSE(one.isLate());
}

// What is there counts, however late anybody comes to look.
TEST_F(BoundedStreams, EndARequestThatIsTooSlow)
{
    send("012");
    BoundedStream one = stream(kPatience, milliseconds(0));
    EXPECT_EQ(readAll(one), "012");
    EXPECT_TRUE(one.isLate());
}

TEST_F(BoundedStreams, WaitLessForAClientThatSaysNothing)
{
    BoundedStream one = stream(milliseconds(1), kPatience);
    EXPECT_EQ(readAll(one), "");
    EXPECT_FALSE(one.hasRequest());
    EXPECT_TRUE(one.isLate());
}

TEST_F(BoundedStreams, DoNotWaitForAClientThatTakesNothing)
{
    BoundedStream one = stream(milliseconds(100));
    EXPECT_FALSE(one.write(std::string(16 * 1024 * 1024, 'x')));
}

TEST_F(BoundedStreams, SendItAll)
{
    const std::string much(4 * 1024 * 1024, 'x');
    std::string received;
    std::thread taking([&] {
        std::array<char, 4096> part;
        for (ssize_t count; (count = ::recv(sockets[1], part.data(), part.size(), 0)) > 0;)
            received.append(part.data(), static_cast<std::size_t>(count));
    });
    BoundedStream one = stream();
    EXPECT_TRUE(one.write(much));
    ::shutdown(sockets[0], SHUT_WR);
    taking.join();
    EXPECT_EQ(received.size(), much.size());
}

TEST_F(BoundedStreams, EndWhenTheServerStops)
{
    BoundedStream one = stream();
    std::thread stopping([&] {
        std::this_thread::sleep_for(milliseconds(50));
        isStopping = true;
    });
    EXPECT_EQ(readAll(one), "");
    EXPECT_FALSE(one.isLate());
    stopping.join();
}

}  // namespace
}  // namespace kt::test
