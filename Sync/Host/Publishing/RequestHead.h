#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kt {

/// What matters here of the head of a request.
struct RequestHead {
    std::string method;       // "GET"; empty until its line is whole and can be read
    std::string target;       // as it came over the wire
    std::string ifNoneMatch;  // of all such lines, as one list; empty without
};

/// Reads the head of one HTTP/1.1 request (RFC 9112, 2 to 5), byte for byte and strictly: lines end
/// in CR LF, nothing is folded, and no control character is part of anything. Whatever body
/// follows is nobody's. Memory is bounded.
class RequestHeadReader {
public:
    static constexpr std::size_t kLongestTarget = 2048;
    static constexpr std::size_t kLongestLine = 8 * 1024;
    static constexpr std::size_t kLongestHead = 16 * 1024;

    enum class State { reading, whole, refused };

    /// Nothing may be taken any more once the state is another than reading.
    State take(char byte);
    const RequestHead& head() const { return _head; }
    /// The status for a request that was refused: 400, 414, 431 or 505.
    int refusal() const { return _refusal; }

private:
    State refuse(int status);
    State takeLine(std::string_view line);
    State takeRequestLine(std::string_view line);
    State takeField(std::string_view line);
    State takeEnd();

    RequestHead _head;
    std::string _line;
    std::size_t _size = 0;
    int _hosts = 0;
    int _refusal = 0;
    bool _hasRequestLine = false;
    bool _hasLeadingLine = false;
    bool _needsHost = false;
};

}  // namespace kt
