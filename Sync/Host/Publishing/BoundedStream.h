#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <string>

#include <httplib.h>

namespace kt {

/// The socket of one connection, with ends to what a client may do: its request has to be whole
/// within some bytes and some time, and it has to take the answer within some time, however slowly
/// it goes about either. The socket is not owned.
class BoundedStream : public httplib::Stream {
public:
    struct Limits {
        std::size_t requestBytes = 16 * 1024;
        std::chrono::milliseconds requestTime{10'000};
        std::chrono::milliseconds answerTime{60'000};
    };

    /// Everything ends early once `isStopping` is set; it outlives the stream.
    BoundedStream(socket_t socket, const Limits& limits, const std::atomic<bool>& isStopping);

    bool is_readable() const override;
    bool is_writable() const override;
    ssize_t read(char* bytes, std::size_t size) override;
    ssize_t write(const char* bytes, std::size_t size) override;
    void get_remote_ip_and_port(std::string& ip, int& port) const override;
    void get_local_ip_and_port(std::string& ip, int& port) const override;
    socket_t socket() const override { return _socket; }

    /// The request was longer than it may be.
    bool isRequestTooLong() const { return _isTooLong; }
    /// The request was not whole in time.
    bool isRequestTooSlow() const { return _isTooSlow; }
    /// Says that the answer is whole, and takes what the client still sends, for a moment: closing
    /// a socket with unread bytes in it would take the answer back.
    void finish();

private:
    using Clock = std::chrono::steady_clock;

    bool waitFor(short event, Clock::time_point deadline) const;
    /// False at the end of what may come.
    bool fillBuffer();

    socket_t _socket;
    Limits _limits;
    const std::atomic<bool>& _isStopping;
    Clock::time_point _begin = Clock::now();
    Clock::time_point _answerBegin{};  // of the first write
    std::array<char, 4096> _buffer;
    std::size_t _bufferBegin = 0;
    std::size_t _bufferEnd = 0;
    std::size_t _received = 0;
    bool _isTooLong = false;
    bool _isTooSlow = false;
};

}  // namespace kt
