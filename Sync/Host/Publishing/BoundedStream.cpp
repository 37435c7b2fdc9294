#include "Sync/Host/Publishing/BoundedStream.h"

#include <algorithm>
#include <cerrno>

#include <poll.h>
#include <sys/socket.h>

namespace kt {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kSlice{200};  // after which a stop is noticed

}  // namespace

BoundedStream::BoundedStream(int socket, const Limits& limits, const std::atomic<bool>& isStopping)
    : _socket(socket),
      _limits(limits),
      _isStopping(isStopping)
{}

bool BoundedStream::waitFor(short event, Clock::time_point deadline) const
{
    while (!_isStopping) {
        const auto left = std::chrono::duration_cast<milliseconds>(deadline - Clock::now());
        const auto wait = std::clamp(left, milliseconds(0), kSlice);
        pollfd wanted{_socket, event, 0};
        const int ready = ::poll(&wanted, 1, static_cast<int>(wait.count()));
        if (ready > 0)
            return true;
        if ((ready < 0 && errno != EINTR) || left.count() <= 0)
            return false;
    }
    return false;
}

bool BoundedStream::fillBuffer()
{
    const auto limit =
        _hasRequest ? _limits.requestTime : std::min(_limits.firstByteTime, _limits.requestTime);
    if (!waitFor(POLLIN, _begin + limit)) {
        _isLate = !_isStopping;
        return false;
    }
    const ssize_t count = ::recv(_socket, _buffer.data(), _buffer.size(), MSG_DONTWAIT);
    if (count <= 0)
        return false;
    _bufferBegin = 0;
    _bufferEnd = static_cast<std::size_t>(count);
    _hasRequest = true;
    return true;
}

std::optional<char> BoundedStream::next()
{
    if (_bufferBegin == _bufferEnd && !fillBuffer())
        return std::nullopt;
    return _buffer[_bufferBegin++];
}

bool BoundedStream::write(std::string_view bytes)
{
    if (!_answerBegin)
        _answerBegin = Clock::now();
    while (!bytes.empty()) {
        if (!waitFor(POLLOUT, *_answerBegin + _limits.answerTime))
            return false;
        const ssize_t count =
            ::send(_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count > 0)
            bytes.remove_prefix(static_cast<std::size_t>(count));
        else if (count < 0 && errno != EAGAIN && errno != EINTR)
            return false;
        if (Clock::now() > *_answerBegin + _limits.answerTime && !bytes.empty())
            return false;
    }
    return true;
}

void BoundedStream::finish()
{
    constexpr milliseconds kMoment{500};
    constexpr std::size_t kMost = 4 * 1024 * 1024;
    ::shutdown(_socket, SHUT_WR);
    const Clock::time_point deadline = Clock::now() + kMoment;
    std::array<char, 16 * 1024> rest;
    for (std::size_t taken = 0;
         taken < kMost && Clock::now() < deadline && waitFor(POLLIN, deadline);) {
        const ssize_t count = ::recv(_socket, rest.data(), rest.size(), MSG_DONTWAIT);
        if (count <= 0)
            return;
        taken += static_cast<std::size_t>(count);
    }
}

}  // namespace kt
