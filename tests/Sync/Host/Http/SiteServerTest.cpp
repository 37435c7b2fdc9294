#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <httplib.h>
#include <sys/resource.h>

#include "Sync/Foundation/Exception.h"
#include "tests/Sync/Host/Http/SiteServerFixture.h"

namespace kt::test {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST_F(SiteServers, AnswerOverTheNetwork)
{
    platform.setNow(dateWithISO8601("2007-12-04T09:05:06Z").value());
    server.share("EVENTS  ");
    SiteServer network(site, "127.0.0.1", 0, log());
    ASSERT_GT(network.port(), 0);
    {
        const Running running(network);
        httplib::Client client("127.0.0.1", network.port());
        const auto answer = client.Get("/vl/calendar/C1.ics");
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->status, 200);
        EXPECT_EQ(answer->get_header_value("Content-Type"), "text/calendar; charset=utf-8");
        EXPECT_EQ(answer->get_header_value("Connection"), "close");
        EXPECT_EQ(answer->get_header_value("Date"), "Tue, 04 Dec 2007 09:05:06 GMT");
        EXPECT_THAT(answer->body, HasSubstr("BEGIN:VCALENDAR"));
        const auto again = client.Get("/vl/calendar/C1.ics",
                                      {{"If-None-Match", answer->get_header_value("ETag")}});
        ASSERT_TRUE(again);
        EXPECT_EQ(again->status, 304);
        EXPECT_FALSE(again->has_header("Content-Length"));
        const auto head = client.Head("/vl/calendar/C1.ics");
        ASSERT_TRUE(head);
        EXPECT_EQ(head->get_header_value("Content-Length"), std::to_string(answer->body.size()));
        EXPECT_THAT(head->body, IsEmpty());
    }
    EXPECT_THAT(lines, ElementsAre("GET /vl/calendar/C1.ics 200", "GET /vl/calendar/C1.ics 304",
                                   "HEAD /vl/calendar/C1.ics 200"));
}

// The clock of the whole is what ends a site that lets the silent ones keep everybody waiting.
TEST_F(SiteServers, AnswerWhileManyOthersSayNothing)
{
    SiteServer network(site, "127.0.0.1", 0, log(), patient());
    const Running running(network);
    std::vector<std::unique_ptr<Connection>> silent;
    for (int number = 0; number < 100; ++number)
        silent.push_back(std::make_unique<Connection>(network.port()));
    const Connection asking(network.port());
    asking.send("GET /vl/calendar HTTP/1.0\r\n\r\n");
    EXPECT_TRUE(asking.receive().starts_with("HTTP/1.1 200 OK\r\n"));
}

TEST_F(SiteServers, SendAwayWhoIsOneTooMany)
{
    SiteServerLimits limits = patient();
    limits.connections = 3;
    SiteServer network(site, "127.0.0.1", 0, log(), limits);
    {
        const Running running(network);
        const Connection first(network.port());
        const Connection second(network.port());
        const Connection third(network.port());
        const std::string answer = Connection(network.port()).receive();
        EXPECT_TRUE(answer.starts_with("HTTP/1.1 503 Service Unavailable\r\n")) << answer;
        EXPECT_THAT(answer, HasSubstr("\r\nX-Content-Type-Options: nosniff\r\n"));
        EXPECT_THAT(answer, HasSubstr("<h1>Zurzeit nicht verfügbar</h1>"));
        first.send("GET / HTTP/1.0\r\n\r\n");
        EXPECT_TRUE(first.receive().starts_with("HTTP/1.1 302 Found\r\n"));
        third.send("GET / HTTP/1.0\r\n\r\n");
        EXPECT_TRUE(third.receive().starts_with("HTTP/1.1 302 Found\r\n"));
    }
    EXPECT_THAT(lines, ElementsAre("- - 503", "GET / 302", "GET / 302"));
}

/// A server that fails as no code expects.
class BrokenServer : public SyncServer {
public:
    OpenedSession openSession(std::string_view, std::string_view, ServerAccess) override
    {
        throw std::runtime_error("/home/anna is full");
    }
    void setAccountEnabled(std::string_view, bool) override {}
    std::string description() const override { return "broken"; }
};

TEST_F(SiteServers, KeepAFailureToThemselves)
{
    Site broken(std::make_unique<BrokenServer>());
    SiteServer network(broken, "127.0.0.1", 0, log());
    {
        const Running running(network);
        const Connection asking(network.port());
        asking.send("GET /vl/calendar HTTP/1.0\r\n\r\n");
        const std::string answer = asking.receive();
        EXPECT_TRUE(answer.starts_with("HTTP/1.1 500 Internal Server Error\r\n")) << answer;
        EXPECT_THAT(answer, HasSubstr("\r\nContent-Security-Policy: "));
        EXPECT_THAT(answer, testing::Not(HasSubstr("anna")));
    }
    EXPECT_THAT(lines, ElementsAre("GET /vl/calendar 500"));
}

/// The socket that listens on the port, found among this process's own.
int listeningSocket(int port)
{
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    for (int number = 3; number < static_cast<int>(std::min<rlim_t>(limit.rlim_cur, 4096));
         ++number) {
        int isListening = 0;
        socklen_t size = sizeof isListening;
        sockaddr_in address{};
        socklen_t length = sizeof address;
        if (::getsockopt(number, SOL_SOCKET, SO_ACCEPTCONN, &isListening, &size) == 0 &&
            isListening != 0 &&
            ::getsockname(number, reinterpret_cast<sockaddr*>(&address), &length) == 0 &&
            ntohs(address.sin_port) == port)
            return number;
    }
    return -1;
}

TEST_F(SiteServers, SayThatTheyCanTakeNoConnectionsAnyMore)
{
    SiteServer network(site, "127.0.0.1", 0, {});
    const int socket = listeningSocket(network.port());
    ASSERT_GE(socket, 0);
    ::shutdown(socket, SHUT_RDWR);
    EXPECT_THROW(network.run(), Exception);
}

TEST_F(SiteServers, AnswerEverybodyInTurn)
{
    server.share("EVENTS  ");
    SiteServerLimits limits = patient();
    limits.answers = 1;
    SiteServer network(site, "127.0.0.1", 0, {}, limits);
    const Running running(network);
    std::atomic<int> answered = 0;
    std::vector<std::thread> clients;
    for (int client = 0; client < 40; ++client)
        clients.emplace_back([&] {
            const Connection connection(network.port());
            connection.send("GET /vl/calendar HTTP/1.1\r\nHost: a\r\n\r\n");
            if (connection.receive().starts_with("HTTP/1.1 200 OK\r\n"))
                ++answered;
        });
    for (std::thread& client : clients)
        client.join();
    EXPECT_EQ(answered, 40);
}

TEST_F(SiteServers, SayNothingToWhoSaysNothing)
{
    SiteServerLimits limits = patient();
    limits.firstByteTime = milliseconds(20);
    SiteServer network(site, "127.0.0.1", 0, log(), limits);
    {
        const Running running(network);
        EXPECT_EQ(Connection(network.port()).receive(), "");
        const Connection leaving(network.port());
        leaving.saysNoMore();
        EXPECT_EQ(leaving.receive(), "");
    }
    EXPECT_THAT(lines, IsEmpty());
}

TEST_F(SiteServers, EndARequestThatIsTooSlow)
{
    SiteServerLimits limits = patient();
    limits.requestTime = milliseconds(50);
    SiteServer network(site, "127.0.0.1", 0, log(), limits);
    {
        const Running running(network);
        const Connection stuck(network.port());
        stuck.send("GET / HTTP/1.1\r\nX: ");
        EXPECT_EQ(statusOf(stuck.receive()), 408);
        const Connection dripping(network.port());
        while (!dripping.hasAnswer() && dripping.send("G"))
            std::this_thread::sleep_for(milliseconds(1));
        EXPECT_EQ(statusOf(dripping.receive()), 408);
    }
    EXPECT_THAT(lines, ElementsAre("- - 408", "- - 408"));
}

/// An answer that does not fit into what the kernel holds of a connection, which is 4 MiB.
constexpr std::size_t kMuch = 6 * 1024 * 1024;

void shareMuch(FilledServer& server)
{
    server.put("ical-event", "E1", eventRecord(std::string(kMuch, 'x'), "20071224"));
    server.share("EVENTS  ");
}

TEST_F(SiteServers, DoNotWaitForWhoTakesNothing)
{
    shareMuch(server);
    SiteServerLimits limits = patient();
    limits.connections = 1;
    limits.answerTime = milliseconds(50);
    SiteServer network(site, "127.0.0.1", 0, {}, limits);
    const Running running(network);
    const Connection stuck;
    stuck.takesLittle();
    stuck.connect(network.port());
    stuck.send("GET /vl/calendar/C1.ics HTTP/1.0\r\n\r\n");
    int status = 503;
    while (status == 503 || status == 0) {
        const Connection other(network.port());
        other.send("GET / HTTP/1.0\r\n\r\n");
        status = statusOf(other.receive());
    }
    EXPECT_EQ(status, 302);
    EXPECT_LT(stuck.receive().size(), kMuch);
}

TEST_F(SiteServers, GiveAllOfALongAnswer)
{
    shareMuch(server);
    SiteServer network(site, "127.0.0.1", 0, {}, patient());
    const Running running(network);
    httplib::Client client("127.0.0.1", network.port());
    client.set_read_timeout(std::chrono::minutes(1));
    const auto answer = client.Get("/vl/calendar/C1.ics");
    ASSERT_TRUE(answer);
    EXPECT_TRUE(answer->body.ends_with("END:VEVENT\r\nEND:VCALENDAR\r\n"));
}

TEST_F(SiteServers, OutliveWhoHangsUp)
{
    shareMuch(server);
    SiteServer network(site, "127.0.0.1", 0, {}, patient());
    const Running running(network);
    for (const char* request :
         {"", "GET /", "GET / HTTP/1.0\r\n\r\n", "GET /vl/calendar/C1.ics HTTP/1.0\r\n\r\n"}) {
        for (int number = 0; number < 5; ++number) {
            const Connection rude(network.port());
            rude.willHangUp();
            rude.send(request);
        }
    }
    const Connection asking(network.port());
    asking.send("GET / HTTP/1.0\r\n\r\n");
    EXPECT_EQ(statusOf(asking.receive()), 302);
}

TEST_F(SiteServers, WaitForRoomWhenTheMachineHasNone)
{
    SiteServer network(site, "127.0.0.1", 0, {}, patient());
    const Running running(network);
    const Connection asking;
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    const int next = ::dup(0);
    ::close(next);
    const rlimit none{static_cast<rlim_t>(next), limit.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    asking.connect(network.port());
    asking.send("GET / HTTP/1.0\r\n\r\n");
    std::this_thread::sleep_for(milliseconds(200));
    EXPECT_FALSE(asking.hasAnswer());
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
    EXPECT_EQ(statusOf(asking.receive()), 302);
}

TEST_F(SiteServers, CutShortWhatIsOpenWhenTheyEnd)
{
    shareMuch(server);
    auto network = std::make_unique<SiteServer>(site, "127.0.0.1", 0, log(), patient());
    const Connection silent;
    const Connection reading;
    {
        const Running running(*network);
        silent.connect(network->port());
        reading.connect(network->port());
        reading.send("GET /vl/calendar/C1.ics HTTP/1.0\r\n\r\n");
        while (!reading.hasAnswer())
            std::this_thread::sleep_for(milliseconds(1));
    }
    network.reset();
    EXPECT_EQ(silent.receive(), "");
    EXPECT_LT(reading.receive().size(), kMuch);
}

TEST_F(SiteServers, AreStoppedAtAnyTime)
{
    SiteServer network(site, "127.0.0.1", 0, {});
    network.stop();
    network.run();
    SiteServer unused(site, "127.0.0.1", 0, {});
}

TEST_F(SiteServers, ShareNoPort)
{
    const SiteServer first(site, "127.0.0.1", 0, {});
    EXPECT_THROW(SiteServer(site, "127.0.0.1", first.port(), {}), Exception);
    EXPECT_THROW(SiteServer(site, "nirgendwo.invalid", 0, {}), Exception);
}

}  // namespace
}  // namespace kt::test
