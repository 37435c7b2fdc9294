#include <string>

#include <gtest/gtest.h>

#include "Sync/Host/Publishing/RequestHead.h"

namespace kt::test {
namespace {

using State = RequestHeadReader::State;

/// What becomes of a request, and how much of it was read.
struct Reading {
    RequestHeadReader reader;
    State state = State::reading;
    std::size_t taken = 0;

    explicit Reading(const std::string& bytes)
    {
        while (state == State::reading && taken < bytes.size())
            state = reader.take(bytes[taken++]);
    }
};

struct Row {
    std::string bytes;
    int refusal;  // 0 for a request that is whole
};
class RequestHeads : public testing::TestWithParam<Row> {};

const std::string kHost = "Host: x\r\n";

INSTANTIATE_TEST_SUITE_P(
    Rows, RequestHeads,
    testing::Values(Row{"GET / HTTP/1.1\r\n" + kHost + "\r\n", 0}, Row{"GET / HTTP/1.0\r\n\r\n", 0},
                    Row{"GET / HTTP/1.2\r\n" + kHost + "\r\n", 0},
                    Row{"\r\nGET / HTTP/1.0\r\n\r\n", 0}, Row{"GET / HTTP/1.1\r\nhOST:\r\n\r\n", 0},
                    Row{"GET / HTTP/1.1\r\nHost: [::1]:80\r\n\r\n", 0},
                    Row{"GET / HTTP/1.0\r\nX:\ta b\xC3\xA4\r\n\r\n", 0},
                    Row{"GET / HTTP/1.1\r\nX: y\r\n\r\n", 400},
                    Row{"GET / HTTP/1.1\r\n" + kHost + kHost + "\r\n", 400},
                    Row{"GET / HTTP/1.1\r\nHost: a b\r\n\r\n", 400},
                    Row{"GET / HTTP/1.1\r\nHost: a/b\r\n\r\n", 400}, Row{"\r\n\r\n", 400},
                    Row{"GET\r\n", 400}, Row{"GET /\r\n", 400}, Row{"GET  HTTP/1.1\r\n", 400},
                    Row{"GET /a b HTTP/1.1\r\n", 400}, Row{" GET / HTTP/1.1\r\n", 400},
                    Row{"G\"T / HTTP/1.1\r\n", 400}, Row{"GET / HTTP/1\r\n", 400},
                    Row{"GET / http/1.1\r\n", 400}, Row{"GET / HTTP/1.1\n", 400},
                    Row{"GET / HTTP/1.1\r\r", 400}, Row{"GET /\r HTTP/1.1", 400},
                    Row{std::string("GET /\0", 6), 400}, Row{"\x16\x03\x01", 400},
                    Row{"GET /\x7F", 400}, Row{"GET / HTTP/1.0\r\nX\r\n", 400},
                    Row{"GET / HTTP/1.0\r\n: y\r\n", 400}, Row{"GET / HTTP/1.0\r\nX : y\r\n", 400},
                    Row{"GET / HTTP/1.0\r\nX: y\r\n z\r\n", 400}, Row{"GET / HTTP/2.0\r\n", 505},
                    Row{"GET / HTTP/9.9\r\n", 505},
                    Row{"GET /" + std::string(2047, 'a') + " HTTP/1.0\r\n\r\n", 0},
                    Row{"GET /" + std::string(2048, 'a') + " HTTP/1.0\r\n", 414},
                    Row{"GET /" + std::string(1'000'000, 'a'), 414},
                    Row{"GET / HTTP/1.0\r\nX:" + std::string(8 * 1024 - 3, 'a') + "\r\n\r\n", 0},
                    Row{"GET / HTTP/1.0\r\nX:" + std::string(8 * 1024 - 2, 'a') + "\r\n", 431},
                    Row{"GET / HTTP/1.0\r\nX:" + std::string(7000, 'a') +
                            "\r\nY:" + std::string(7000, 'a') + "\r\nZ:" + std::string(7000, 'a'),
                        431}));

TEST_P(RequestHeads, AreWholeOrRefusedForAReason)
{
    const Reading reading(GetParam().bytes);
    EXPECT_EQ(reading.state, GetParam().refusal == 0 ? State::whole : State::refused);
    EXPECT_EQ(reading.reader.refusal(), GetParam().refusal);
}

TEST(RequestHead, EndsWithTheEmptyLine)
{
    const std::string head = "POST /a?b HTTP/1.1\r\nHost: x\r\nContent-Length: 4\r\n\r\n";
    const Reading reading(head + "body");
    EXPECT_EQ(reading.taken, head.size());
    EXPECT_EQ(reading.reader.head().method, "POST");
    EXPECT_EQ(reading.reader.head().target, "/a?b");
    EXPECT_EQ(reading.reader.head().ifNoneMatch, "");
    EXPECT_EQ(Reading("GET / HTTP/1.1\r\nHost: x\r\n").state, State::reading);
}

TEST(RequestHead, MakesOneListOfSeveralTagLines)
{
    const Reading reading(
        "GET / HTTP/1.0\r\nIf-None-Match: \"a\"\r\nX: y\r\nif-none-match:\"b\", \"c\" \r\n\r\n");
    EXPECT_EQ(reading.reader.head().ifNoneMatch, "\"a\", \"b\", \"c\"");
}

TEST(RequestHead, TellsOfARefusedRequestWhatCouldBeRead)
{
    const Reading reading("HEAD /a HTTP/9.9\r\n");
    EXPECT_EQ(reading.reader.head().method, "HEAD");
    EXPECT_EQ(reading.reader.head().target, "/a");
}

}  // namespace
}  // namespace kt::test
