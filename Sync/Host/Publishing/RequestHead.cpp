#include "Sync/Host/Publishing/RequestHead.h"

#include <algorithm>

namespace kt {

namespace {

constexpr std::size_t kMostBesidesTarget = 64;  // of a request line: method, version, blanks

bool isDigit(char character) { return character >= '0' && character <= '9'; }

bool isLetter(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

char lower(char character)
{
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                                : character;
}

bool isSame(std::string_view text, std::string_view lowerCase)
{
    return std::equal(text.begin(), text.end(), lowerCase.begin(), lowerCase.end(),
                      [](char left, char right) { return lower(left) == right; });
}

bool consistsOf(std::string_view text, std::string_view others)
{
    return std::all_of(text.begin(), text.end(), [&](char character) {
        return isDigit(character) || isLetter(character) ||
               others.find(character) != std::string_view::npos;
    });
}

// token = 1*( "!" / "#" / "$" / "%" / "&" / "'" / "*" / "+" / "-" / "." / "^" / "_" / "`" / "|" /
//             "~" / DIGIT / ALPHA )
bool isToken(std::string_view text) { return !text.empty() && consistsOf(text, "!#$%&'*+-.^_`|~"); }

// Host = uri-host [ ":" port ], which may be empty
bool isHost(std::string_view text) { return consistsOf(text, "-._~!$&'()*+,;=%[]:"); }

// HTTP-version = "HTTP/" DIGIT "." DIGIT
bool isVersion(std::string_view text)
{
    return text.size() == 8 && text.starts_with("HTTP/") && isDigit(text[5]) && text[6] == '.' &&
           isDigit(text[7]);
}

bool isControl(char byte)
{
    const auto code = static_cast<unsigned char>(byte);
    return (code < 0x20 && byte != '\t') || code == 0x7F;
}

std::string_view withoutBlanks(std::string_view text)
{
    const std::size_t begin = text.find_first_not_of(" \t");
    if (begin == std::string_view::npos)
        return {};
    return text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
}

}  // namespace

RequestHeadReader::State RequestHeadReader::refuse(int status)
{
    _refusal = status;
    return State::refused;
}

RequestHeadReader::State RequestHeadReader::take(char byte)
{
    const bool isAfterReturn = !_line.empty() && _line.back() == '\r';
    if (isAfterReturn != (byte == '\n') || (isControl(byte) && byte != '\r' && byte != '\n'))
        return refuse(400);
    if (isAfterReturn) {
        _line.pop_back();
        const State state = takeLine(_line);
        _line.clear();
        return state;
    }
    _line += byte;
    if (!_hasRequestLine && _line.size() > kLongestTarget + kMostBesidesTarget)
        return refuse(414);
    if (++_size > kLongestHead || _line.size() > kLongestLine)
        return refuse(431);
    return State::reading;
}

RequestHeadReader::State RequestHeadReader::takeLine(std::string_view line)
{
    if (_hasRequestLine)
        return line.empty() ? takeEnd() : takeField(line);
    if (line.empty() && !_hasLeadingLine) {
        _hasLeadingLine = true;  // some clients send an empty line too many (RFC 9112, 2.2)
        return State::reading;
    }
    return takeRequestLine(line);
}

// request-line = method SP request-target SP HTTP-version
RequestHeadReader::State RequestHeadReader::takeRequestLine(std::string_view line)
{
    const std::size_t first = line.find(' ');
    const std::size_t last = line.rfind(' ');
    if (first == std::string_view::npos || first == last)
        return refuse(400);
    const std::string_view method = line.substr(0, first);
    const std::string_view target = line.substr(first + 1, last - first - 1);
    const std::string_view version = line.substr(last + 1);
    if (!isToken(method) || target.empty() || target.find_first_of(" \t") != target.npos ||
        !isVersion(version))
        return refuse(400);
    _head.method = method;
    _head.target = target;
    if (target.size() > kLongestTarget)
        return refuse(414);
    if (version[5] != '1')
        return refuse(505);
    _needsHost = version[7] != '0';
    _hasRequestLine = true;
    return State::reading;
}

// field-line = field-name ":" OWS field-value OWS
RequestHeadReader::State RequestHeadReader::takeField(std::string_view line)
{
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos || !isToken(line.substr(0, colon)))
        return refuse(400);
    const std::string_view name = line.substr(0, colon);
    const std::string_view value = withoutBlanks(line.substr(colon + 1));
    if (isSame(name, "host") && (++_hosts > 1 || !isHost(value)))
        return refuse(400);
    if (isSame(name, "if-none-match")) {
        if (!_head.ifNoneMatch.empty())
            _head.ifNoneMatch += ", ";
        _head.ifNoneMatch += value;
    }
    return State::reading;
}

RequestHeadReader::State RequestHeadReader::takeEnd()
{
    return _needsHost && _hosts == 0 ? refuse(400) : State::whole;
}

}  // namespace kt
