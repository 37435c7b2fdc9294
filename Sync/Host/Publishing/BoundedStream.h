#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <optional>
#include <string_view>

namespace kt {

/// The socket of one connection, with ends to the time that a client may take: for the first byte
/// of its request, for the whole of it, and for the answer, however slowly it goes about each. The
/// socket is not owned.
class BoundedStream {
public:
    struct Limits {
        // Browsers open connections in advance; most requests come at once or not at all.
        std::chrono::milliseconds firstByteTime{3'000};
        std::chrono::milliseconds requestTime{10'000};
        std::chrono::milliseconds answerTime{60'000};
    };

    /// Everything ends early once `isStopping` is set; it outlives the stream.
    BoundedStream(int socket, const Limits& limits, const std::atomic<bool>& isStopping);

    /// The next byte of the request; nullopt when none comes any more, or none in time.
    std::optional<char> next();
    /// Something of a request has come.
    bool hasRequest() const { return _hasRequest; }
    /// The request was not whole in time.
    bool isLate() const { return _isLate; }
    /// Sends it all; false when the client did not take it in time, or is gone.
    bool write(std::string_view bytes);
    /// Says that the answer is whole, and takes what the client still sends, for a moment: closing
    /// a socket with unread bytes in it would take the answer back.
    void finish();

private:
    using Clock = std::chrono::steady_clock;

    /// Looks at least once, however late it is.
    bool waitFor(short event, Clock::time_point deadline) const;
    bool fillBuffer();

    int _socket;
    Limits _limits;
    const std::atomic<bool>& _isStopping;
    Clock::time_point _begin = Clock::now();
    std::optional<Clock::time_point> _answerBegin;  // of the first write
    std::array<char, 4096> _buffer;
    std::size_t _bufferBegin = 0;
    std::size_t _bufferEnd = 0;
    bool _hasRequest = false;
    bool _isLate = false;
};

}  // namespace kt
