#include "Sync/Host/Publishing/BoundedStream.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include <poll.h>
#include <sys/socket.h>

namespace kt {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kSlice{200};  // after which a stop is noticed

}  // namespace

BoundedStream::BoundedStream(socket_t socket, const Limits& limits,
                             const std::atomic<bool>& isStopping)
    : _socket(socket),
      _limits(limits),
      _isStopping(isStopping)
{}

bool BoundedStream::waitFor(short event, Clock::time_point deadline) const
{
    while (!_isStopping) {
        const auto left = std::chrono::duration_cast<milliseconds>(deadline - Clock::now());
        if (left.count() <= 0)
            return false;
        pollfd wanted{_socket, event, 0};
        const int ready = ::poll(&wanted, 1, static_cast<int>(std::min(left, kSlice).count()));
        if (ready > 0)
            return true;
        if (ready < 0 && errno != EINTR)
            return false;
    }
    return false;
}

bool BoundedStream::is_readable() const
{
    return _bufferBegin < _bufferEnd || waitFor(POLLIN, _begin + _limits.requestTime);
}

bool BoundedStream::is_writable() const
{
    const Clock::time_point begin =
        _answerBegin == Clock::time_point{} ? Clock::now() : _answerBegin;
    return waitFor(POLLOUT, begin + _limits.answerTime);
}

bool BoundedStream::fillBuffer()
{
    const std::size_t room = std::min(_limits.requestBytes - _received, _buffer.size());
    _isTooLong = room == 0;
    if (_isTooLong)
        return false;
    _isTooSlow = !waitFor(POLLIN, _begin + _limits.requestTime);
    if (_isTooSlow)
        return false;
    const ssize_t count = ::recv(_socket, _buffer.data(), room, MSG_DONTWAIT);
    if (count <= 0)
        return false;
    _bufferBegin = 0;
    _bufferEnd = static_cast<std::size_t>(count);
    _received += _bufferEnd;
    return true;
}

// What may not come any more reads as the end of the request: the library then answers what it has,
// where a failure would leave the client without an answer.
ssize_t BoundedStream::read(char* bytes, std::size_t size)
{
    if (_bufferBegin == _bufferEnd && !fillBuffer())
        return 0;
    const std::size_t count = std::min(size, _bufferEnd - _bufferBegin);
    std::copy_n(_buffer.data() + _bufferBegin, count, bytes);
    _bufferBegin += count;
    return static_cast<ssize_t>(count);
}

ssize_t BoundedStream::write(const char* bytes, std::size_t size)
{
    if (_answerBegin == Clock::time_point{})
        _answerBegin = Clock::now();
    for (;;) {
        if (!is_writable())
            return -1;
        const ssize_t count = ::send(_socket, bytes, size, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count >= 0 || (errno != EAGAIN && errno != EINTR))
            return count;
    }
}

void BoundedStream::get_remote_ip_and_port(std::string& ip, int& port) const
{
    ip.clear();  // who asks is nobody's business
    port = 0;
}

void BoundedStream::get_local_ip_and_port(std::string& ip, int& port) const
{
    ip.clear();
    port = 0;
}

void BoundedStream::finish()
{
    constexpr milliseconds kMoment{500};
    constexpr std::size_t kMost = 4 * 1024 * 1024;
    ::shutdown(_socket, SHUT_WR);
    const Clock::time_point deadline = Clock::now() + kMoment;
    std::array<char, 16 * 1024> rest;
    for (std::size_t taken = 0; taken < kMost && waitFor(POLLIN, deadline);) {
        const ssize_t count = ::recv(_socket, rest.data(), rest.size(), MSG_DONTWAIT);
        if (count <= 0)
            return;
        taken += static_cast<std::size_t>(count);
    }
}

}  // namespace kt
