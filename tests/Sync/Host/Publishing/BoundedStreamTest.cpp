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

    BoundedStream stream(std::size_t bytes, milliseconds time = milliseconds(5000))
    {
        return BoundedStream(sockets[0], {bytes, time, time}, isStopping);
    }
    void send(const std::string& text)
    {
        EXPECT_EQ(::send(sockets[1], text.data(), text.size(), 0),
                  static_cast<ssize_t>(text.size()));
    }
    static std::string readAll(BoundedStream& stream)
    {
        std::string text;
        std::array<char, 3> part;
        for (ssize_t count; (count = stream.read(part.data(), part.size())) > 0;)
            text.append(part.data(), static_cast<std::size_t>(count));
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
    BoundedStream one = stream(100);
    EXPECT_EQ(readAll(one), "GET / HTTP/1.1");
    EXPECT_FALSE(one.isRequestTooLong());
    EXPECT_FALSE(one.isRequestTooSlow());
}

TEST_F(BoundedStreams, EndARequestThatIsTooLong)
{
    send("0123456789");
    BoundedStream one = stream(9);
    EXPECT_EQ(readAll(one), "012345678");
    EXPECT_TRUE(one.isRequestTooLong());
}

TEST_F(BoundedStreams, LetARequestOfTheFullLengthPass)
{
    send("0123456789");
    closeClient();
    BoundedStream one = stream(11);
    EXPECT_EQ(readAll(one), "0123456789");
    EXPECT_FALSE(one.isRequestTooLong());
}

TEST_F(BoundedStreams, EndARequestThatIsTooSlow)
{
    send("012");
    BoundedStream one = stream(100, milliseconds(50));
    EXPECT_EQ(readAll(one), "012");
    EXPECT_TRUE(one.isRequestTooSlow());
}

TEST_F(BoundedStreams, DoNotWaitForAClientThatTakesNothing)
{
    BoundedStream one = stream(100, milliseconds(100));
    const std::string much(16 * 1024 * 1024, 'x');
    std::size_t written = 0;
    for (ssize_t count; written < much.size() &&
                        (count = one.write(much.data() + written, much.size() - written)) > 0;)
        written += static_cast<std::size_t>(count);
    EXPECT_LT(written, much.size());
}

TEST_F(BoundedStreams, EndWhenTheServerStops)
{
    BoundedStream one = stream(100, milliseconds(60'000));
    std::thread stopping([&] {
        std::this_thread::sleep_for(milliseconds(50));
        isStopping = true;
    });
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(readAll(one), "");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, milliseconds(30'000));
    stopping.join();
}

}  // namespace
}  // namespace kt::test
