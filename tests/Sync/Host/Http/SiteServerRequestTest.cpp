#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/Sync/Host/Http/SiteServerFixture.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// What is no request at all, and what is one that has to be refused, ends with an answer of the
// site's own and a line in its log.

struct Row {
    std::string request;
    int status;
    std::string logged = "- -";  // method and target, as far as they could be read
};
void PrintTo(const Row& row, std::ostream* out)
{
    *out << testing::PrintToString(row.request.substr(0, 60)) << ' ' << row.status;
}

class SiteServerRequests : public SiteServers, public testing::WithParamInterface<Row> {};

const std::string kHost = "Host: x\r\n";
const std::string kGet = "GET /nichts HTTP/1.1\r\n" + kHost;
const std::string kRead = "GET /nichts";

std::string letters(std::size_t count) { return std::string(count, 'a'); }

INSTANTIATE_TEST_SUITE_P(
    Whole, SiteServerRequests,
    testing::Values(Row{kGet + "\r\n", 404, kRead}, Row{"GET /nichts HTTP/1.0\r\n\r\n", 404, kRead},
                    Row{"\r\nGET /nichts HTTP/1.0\r\n\r\n", 404, kRead},
                    Row{"GET /nichts HTTP/1.1\r\nhOST:\r\n\r\n", 404, kRead},
                    Row{"GET /nichts HTTP/1.1\r\nHost: [::1]:80\r\n\r\n", 404, kRead},
                    Row{"GET /nichts HTTP/1.0\r\nX:\ta b\xC3\xA4\r\n\r\n", 404, kRead},
                    Row{"GET http://x/nichts HTTP/1.1\r\n" + kHost + "\r\n", 404,
                        "GET http://x/nichts"},
                    Row{kGet + "Content-Length: 9999999\r\n\r\n", 404, kRead},
                    Row{kGet + "Transfer-Encoding: chunked\r\n\r\nno chunk", 404, kRead},
                    Row{kGet + "Expect: 100-continue\r\nContent-Length: 3\r\n\r\n", 404, kRead},
                    Row{kGet + "Connection: keep-alive\r\n\r\n" + kGet + "\r\n", 404, kRead},
                    Row{"MOVE / HTTP/1.0\r\n\r\n", 501, "MOVE /"},
                    Row{"N'SENSE / HTTP/1.0\r\n\r\n", 501, "N'SENSE /"}));

INSTANTIATE_TEST_SUITE_P(
    Refused, SiteServerRequests,
    testing::Values(Row{"GET /nichts HTTP/1.1\r\nX: y\r\n\r\n", 400, kRead},
                    Row{kGet + kHost + "\r\n", 400, kRead},
                    Row{"GET /nichts HTTP/1.1\r\nHost: a b\r\n\r\n", 400, kRead},
                    Row{"GET /nichts HTTP/1.1\r\nHost: a/b\r\n\r\n", 400, kRead},
                    Row{kGet + "Content-Length: x\r\n\r\n", 400, kRead},
                    Row{kGet + "X\r\n\r\n", 400, kRead}, Row{kGet + ": y\r\n\r\n", 400, kRead},
                    Row{kGet + "X : y\r\n\r\n", 400, kRead},
                    Row{kGet + "X: a\nb\r\n\r\n", 400, kRead},
                    Row{kGet + "X: a\x01\r\n\r\n", 400, kRead}, Row{kGet, 400, kRead},
                    Row{"\r\n\r\n", 400}, Row{"GET", 400}, Row{"GET\r\n\r\n", 400},
                    Row{"GET /\r\n\r\n", 400}, Row{"GET  HTTP/1.1\r\n\r\n", 400},
                    Row{"GET /a b HTTP/1.1\r\n\r\n", 400}, Row{" GET / HTTP/1.1\r\n\r\n", 400},
                    Row{"G\"T / HTTP/1.1\r\n\r\n", 400}, Row{"GET / HTTP/1\r\n\r\n", 400},
                    Row{"GET / http/1.1\r\n\r\n", 400}, Row{"GET / HTTP/1.1\n\n", 400},
                    Row{std::string("GET /\0 HTTP/1.0\r\n\r\n", 19), 400},
                    Row{"GET /\x7F HTTP/1.0\r\n\r\n", 400}, Row{"\x16\x03\x01", 400},
                    Row{"GET /a HTTP/2.0\r\n\r\n", 505, "GET /a"},
                    Row{"HEAD /a HTTP/9.9\r\n\r\n", 505, "HEAD /a"}));

INSTANTIATE_TEST_SUITE_P(
    AtTheLimits, SiteServerRequests,
    testing::Values(
        Row{"GET /" + letters(2047) + " HTTP/1.0\r\n\r\n", 404, "GET /" + letters(2047)},
        Row{"GET /" + letters(2048) + " HTTP/1.0\r\n\r\n", 414, "GET /" + letters(2048)},
        Row{"GET /" + letters(1'000'000), 414},
        Row{kGet + "X:" + letters(8 * 1024 - 4) + "\r\n\r\n", 404, kRead},
        Row{kGet + "X:" + letters(8 * 1024 - 3) + "\r\n\r\n", 431, kRead},
        Row{kGet + "X:" + letters(7000) + "\r\nY:" + letters(7000) + "\r\n\r\n", 404, kRead},
        Row{kGet + "X:" + letters(7000) + "\r\nY:" + letters(7000) + "\r\nZ:" + letters(7000), 431,
            kRead},
        Row{kGet + "X:" + letters(1'000'000), 431, kRead}));

TEST_P(SiteServerRequests, GetTheirStatus)
{
    SiteServer network(site, "127.0.0.1", 0, log());
    {
        const Running running(network);
        const Connection client(network.port());
        client.send(GetParam().request);
        client.saysNoMore();
        const std::string answer = client.receive();
        EXPECT_EQ(statusOf(answer), GetParam().status) << answer;
        EXPECT_EQ(answer.find("HTTP/1.1 ", 1), std::string::npos) << "a second answer";
        EXPECT_THAT(answer, HasSubstr("\r\nX-Content-Type-Options: nosniff\r\n"));
        EXPECT_THAT(answer, HasSubstr("\r\nConnection: close\r\n"));
        EXPECT_EQ(answer.ends_with("</html>\n"), !GetParam().request.starts_with("HEAD"));
    }
    EXPECT_THAT(lines, ElementsAre(GetParam().logged + ' ' + std::to_string(GetParam().status)));
}

TEST_F(SiteServers, ReadARequestThatComesInPieces)
{
    SiteServer network(site, "127.0.0.1", 0, log(), patient());
    {
        const Running running(network);
        const Connection client(network.port());
        for (const char byte : kGet + "X-Y: z\r\n\r\n")
            client.send(std::string(1, byte));
        EXPECT_EQ(statusOf(client.receive()), 404);
    }
    EXPECT_THAT(lines, ElementsAre("GET /nichts 404"));
}

TEST_F(SiteServers, TakeSeveralLinesOfTagsForOneList)
{
    server.share("EVENTS  ");
    SiteServer network(site, "127.0.0.1", 0, {});
    const Running running(network);
    const std::string get = "GET /vl/calendar/C1.ics HTTP/1.1\r\n" + kHost;
    const Connection first(network.port());
    first.send(get + "\r\n");
    const std::string answer = first.receive();
    const std::size_t begin = answer.find("ETag: ") + 6;
    const std::string tag = answer.substr(begin, answer.find('\r', begin) - begin);
    const Connection second(network.port());
    second.send(get + "If-None-Match: \"a\"\r\nX: y\r\nif-none-match:\"b\", " + tag + " \r\n\r\n");
    EXPECT_EQ(statusOf(second.receive()), 304);
}

}  // namespace
}  // namespace kt::test
