#include "Sync/Host/Http/SiteServer.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <exception>
#include <optional>
#include <sstream>
#include <utility>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/thread_pool.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/span_body.hpp>
#include <boost/beast/http/write.hpp>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/Text.h"

namespace kt {

namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using asio::ip::tcp;
using Clock = std::chrono::steady_clock;
using Error = boost::system::error_code;
/// The library looks into no body of a request, and copies none of an answer.
using RequestParser = http::request_parser<http::empty_body>;
using Message = http::response<http::span_body<const char>>;

constexpr std::uint32_t kLongestHead = 16 * 1024;
constexpr std::size_t kLongestLine = 8 * 1024;
constexpr std::size_t kLongestTarget = 2048;
constexpr std::size_t kPart = 4096;  // of a request, read at a time

std::string_view viewOf(boost::beast::string_view text) { return {text.data(), text.size()}; }

// Host = uri-host [ ":" port ], which may be empty (RFC 9110, 7.2)
bool isHost(std::string_view text)
{
    return text.find_first_not_of(
               "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"
               "-._~!$&'()*+,;=%[]:") == std::string_view::npos;
}

/// What the library leaves to whoever serves: the status for a request that it read, 0 for one that
/// can be answered.
int refusalOf(const RequestParser::value_type& request)
{
    const auto isTooLong = [](const auto& field) {
        return field.name_string().size() + field.value().size() + 3 > kLongestLine;  // ":" CR LF
    };
    if (request.target().size() > kLongestTarget)
        return 414;
    if (std::any_of(request.begin(), request.end(), isTooLong))
        return 431;
    const std::size_t hosts = request.count(http::field::host);
    if (hosts > 1 || (hosts == 0 && request.version() > 10) ||
        !isHost(viewOf(request[http::field::host])))
        return 400;
    return 0;
}

SiteRequest siteRequest(const RequestParser::value_type& request)
{
    SiteRequest asked{std::string(request.method_string()), std::string(request.target()), {}};
    const auto [begin, end] = request.equal_range(http::field::if_none_match);
    for (auto field = begin; field != end; ++field) {
        asked.ifNoneMatch += asked.ifNoneMatch.empty() ? "" : ", ";
        asked.ifNoneMatch += viewOf(field->value());
    }
    return asked;
}

/// A request of a version of HTTP that the library does not take; nullopt for what has none.
std::optional<SiteRequest> otherVersionRequest(std::string_view text)
{
    const auto words = componentsSeparatedByString(text.substr(0, text.find('\r')), " ");
    if (words.size() != 3 || words[2].size() != 8 || !words[2].starts_with("HTTP/"))
        return std::nullopt;
    return SiteRequest{std::string(words[0]), std::string(words[1]), {}};
}

/// The answer as it goes over the wire; its body stays where it is.
Message messageOf(const SiteAnswer& answer, std::string_view method)
{
    Message message(static_cast<http::status>(answer.status), 11);
    for (const auto& [name, value] : answer.headers)
        message.set(name, value);
    if (!answer.contentType.empty())
        message.set(http::field::content_type, answer.contentType);
    const std::string_view bytes = answer.bytes();
    if (message.result() != http::status::not_modified)
        message.content_length(bytes.size());
    message.keep_alive(false);
    if (method != "HEAD")
        message.body() = {bytes.data(), bytes.size()};
    return message;
}

/// What all conversations share.
struct Service {
    void log(const SiteRequest& request, int status) const
    {
        constexpr const char* kUnread = "-";
        if (accessLog)
            accessLog(request.method.empty() ? kUnread : request.method,
                      request.target.empty() ? kUnread : request.target, status);
    }

    Site& site;
    SiteServer::AccessLog accessLog;
    SiteServerLimits limits;
    std::atomic<std::size_t> conversations{0};
    asio::io_context loop{1};
    asio::thread_pool answering{limits.answers};  // last, because what it holds belongs to the loop
};

/// One connection from its request to its end, kept alive by what it waits for. All of it is done
/// by the thread of the loop, but the making of the answer.
class Conversation : public std::enable_shared_from_this<Conversation> {
public:
    Conversation(Service& service, tcp::socket socket)
        : _service(service),
          _socket(std::move(socket)),
          _deadline(service.loop)
    {
        ++_service.conversations;
        _parser.header_limit(kLongestHead);
        _parser.skip(true);
    }
    ~Conversation() { --_service.conversations; }
    Conversation(const Conversation&) = delete;
    Conversation& operator=(const Conversation&) = delete;

    void begin()
    {
        const auto& limits = _service.limits;
        giveUpAt(_begin + std::min(limits.firstByteTime, limits.requestTime));
        readOn();
    }

private:
    /// Ends what is waited for by then. The end may come between two waits, so whoever waited looks
    /// at _isLate as well.
    void giveUpAt(Clock::time_point end)
    {
        _isLate = false;
        _deadline.expires_at(end);
        _deadline.async_wait([conversation = weak_from_this()](Error) {
            const auto self = conversation.lock();
            if (!self || self->_deadline.expiry() > Clock::now())
                return;
            self->_isLate = true;
            Error ignored;
            self->_socket.cancel(ignored);
        });
    }

    void readOn()
    {
        _socket.async_read_some(_buffer.prepare(kPart),
                                [self = shared_from_this()](Error error, std::size_t size) {
                                    self->_buffer.commit(size);
                                    self->takePart(error, size);
                                });
    }

    void takePart(Error error, std::size_t size)
    {
        if (!_hasRequest && size == 0)
            return;  // nothing was asked
        if (!_hasRequest)
            giveUpAt(_begin + _service.limits.requestTime);
        _hasRequest = true;
        if (_isLate)
            return refuse(408);
        skipLeadingLine();
        Error state = http::error::need_more;
        if (!error)
            _buffer.consume(_parser.put(_buffer.data(), state));
        if (_parser.is_header_done())
            takeHead();
        else if (!error && state == http::error::need_more)
            readOn();
        else
            refuse(refusalOfHalf(state));
    }

    std::string_view unread() const
    {
        return {static_cast<const char*>(_buffer.data().data()), _buffer.size()};
    }

    /// Some clients send an empty line too many (RFC 9112, 2.2).
    void skipLeadingLine()
    {
        if (!_parser.got_some() && unread().starts_with("\r\n"))
            _buffer.consume(2);
    }

    void takeHead()
    {
        _request = siteRequest(_parser.get());
        const int refusal = refusalOf(_parser.get());
        if (refusal != 0)
            refuse(refusal);
        else
            makeAnswer();
    }

    /// The status for a request whose head is not whole.
    int refusalOfHalf(Error state)
    {
        _request = siteRequest(_parser.get());
        if (state == http::error::header_limit)
            return _request.target.empty() && unread().find('\r') == std::string_view::npos ? 414
                                                                                            : 431;
        if (state != http::error::bad_version)
            return 400;
        const auto other = otherVersionRequest(unread());
        _request = other.value_or(SiteRequest{});
        return other ? 505 : 400;
    }

    void refuse(int status) { send(refusalAnswer(status)); }

    void makeAnswer()
    {
        asio::post(_service.answering, [self = shared_from_this()]() mutable {
            try {
                SiteAnswer answer = self->answer();
                asio::io_context& loop = self->_service.loop;
                asio::post(loop, [self = std::move(self), answer = std::move(answer)]() mutable {
                    self->send(std::move(answer));
                });
            } catch (const std::exception&) {
                // Not even memory for saying so.
            }
        });
    }

    SiteAnswer answer() const
    {
        try {
            return _service.site.answer(_request);
        } catch (const std::exception&) {
            return refusalAnswer(500);
        }
    }

    void send(SiteAnswer answer)
    {
        _service.log(_request, answer.status);
        _answer = std::move(answer);
        _message = messageOf(_answer, _request.method);
        giveUpAt(Clock::now() + _service.limits.answerTime);
        sendOn();
    }

    void sendOn()
    {
        http::async_write_some(_socket, _serializer,
                               [self = shared_from_this()](Error error, std::size_t) {
                                   if (error || self->_isLate)
                                       return;
                                   if (self->_serializer.is_done())
                                       self->finish();
                                   else
                                       self->sendOn();
                               });
    }

    /// Takes what the client still sends, for a moment: closing a socket with unread bytes in it
    /// would take the answer back.
    void finish()
    {
        constexpr std::chrono::milliseconds kMoment{500};
        constexpr std::size_t kMost = 4 * 1024 * 1024;
        Error ignored;
        _socket.shutdown(tcp::socket::shutdown_send, ignored);
        giveUpAt(Clock::now() + kMoment);
        takeRest(kMost);
    }

    void takeRest(std::size_t most)
    {
        _buffer.clear();
        _socket.async_read_some(_buffer.prepare(kPart),
                                [self = shared_from_this(), most](Error error, std::size_t size) {
                                    if (!error && !self->_isLate && size < most)
                                        self->takeRest(most - size);
                                });
    }

    Service& _service;
    tcp::socket _socket;
    asio::steady_timer _deadline;
    Clock::time_point _begin = Clock::now();
    boost::beast::flat_buffer _buffer;
    RequestParser _parser;
    SiteRequest _request;  // as far as it could be read
    SiteAnswer _answer;
    Message _message;
    http::response_serializer<http::span_body<const char>> _serializer{_message};
    bool _hasRequest = false;
    bool _isLate = false;
};

/// Whether there will be room for a connection again.
bool isPassing(Error error)
{
    namespace errc = boost::system::errc;
    return error == errc::too_many_files_open || error == errc::too_many_files_open_in_system ||
           error == errc::not_enough_memory || error == errc::no_buffer_space;
}

}  // namespace

class SiteServer::Implementation {
public:
    Implementation(Site& site, AccessLog accessLog, const SiteServerLimits& limits)
        : _service{site, std::move(accessLog), limits}
    {}

    void listen(const std::string& address, int port)
    {
        Error error;
        tcp::resolver resolver(_service.loop);
        for (const auto& found :
             resolver.resolve(address, std::to_string(port), tcp::resolver::passive, error)) {
            if (listen(found.endpoint()))
                return;
        }
        throw Exception(NSGenericException,
                        stringWithFormat("Die Adresse %@, Port %d, ist nicht frei.", address,
                                         port));
    }

    int port() const { return _acceptor.local_endpoint().port(); }

    void run()
    {
        accept();
        for (bool isDone = false; !isDone;) {
            try {
                _service.loop.run();
                isDone = true;
            } catch (const std::exception&) {
                // Not even memory for one conversation; the others go on.
            }
        }
        if (_hasFailed)
            throw Exception(NSGenericException, "Es lassen sich keine Verbindungen mehr annehmen.");
    }

    void stop() { _service.loop.stop(); }

private:
    bool listen(const tcp::endpoint& endpoint)
    {
        Error error;
        _acceptor.close(error);
        _acceptor.open(endpoint.protocol(), error);
        // A port may be taken again at once, but not shared with another program.
        if (!error)
            _acceptor.set_option(tcp::acceptor::reuse_address(true), error);
        if (!error)
            _acceptor.bind(endpoint, error);
        if (!error)
            _acceptor.listen(tcp::acceptor::max_listen_connections, error);
        return !error;
    }

    void accept()
    {
        _acceptor.async_accept([this](Error error, tcp::socket socket) {
            if (isPassing(error))
                return acceptLater();
            if (error)
                return fail();
            accept();
            welcome(std::move(socket));
        });
    }

    void acceptLater()
    {
        constexpr std::chrono::milliseconds kWhile{50};
        _breath.expires_after(kWhile);
        _breath.async_wait([this](Error) { accept(); });
    }

    void fail()
    {
        _hasFailed = true;
        stop();
    }

    void welcome(tcp::socket socket)
    {
        if (_service.conversations < _service.limits.connections)
            std::make_shared<Conversation>(_service, std::move(socket))->begin();
        else
            sendAway(socket);
    }

    /// Nothing here may wait, because everybody would.
    void sendAway(tcp::socket& socket)
    {
        const SiteAnswer answer = refusalAnswer(503);
        _service.log({}, answer.status);
        std::ostringstream bytes;
        bytes << messageOf(answer, "");
        Error ignored;
        std::array<char, kPart> request;  // unread, it would take the answer back
        socket.non_blocking(true, ignored);
        socket.read_some(asio::buffer(request), ignored);
        socket.write_some(asio::buffer(bytes.str()), ignored);
        socket.shutdown(tcp::socket::shutdown_send, ignored);
    }

    Service _service;
    tcp::acceptor _acceptor{_service.loop};
    asio::steady_timer _breath{_service.loop};
    bool _hasFailed = false;
};

SiteServer::SiteServer(Site& site, const std::string& listen, int port, AccessLog accessLog,
                       const SiteServerLimits& limits)
    : _implementation(std::make_unique<Implementation>(site, std::move(accessLog), limits))
{
    _implementation->listen(listen, port);
}

SiteServer::~SiteServer() = default;

int SiteServer::port() const { return _implementation->port(); }

void SiteServer::run() { _implementation->run(); }

void SiteServer::stop() { _implementation->stop(); }

}  // namespace kt
