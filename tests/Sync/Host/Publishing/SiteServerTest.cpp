#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <httplib.h>

#include "Sync/Foundation/Exception.h"
#include "Sync/Host/Publishing/SiteServer.h"
#include "tests/Sync/Host/Publishing/PublishingFixture.h"
#include "tests/support/PlatformScope.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class SiteServers : public testing::Test {
protected:
    SiteServer::AccessLog log()
    {
        return [this](std::string_view method, std::string_view target, int status) {
            const std::lock_guard lock(_mutex);
            lines.push_back(std::string(method) + ' ' + std::string(target) + ' ' +
                            std::to_string(status));
        };
    }

    PlatformScope platform;
    FilledServer server;
    Site site{std::make_unique<SqliteServer>(server.path())};
    std::vector<std::string> lines;

private:
    std::mutex _mutex;
};

TEST_F(SiteServers, AnswerOverTheNetwork)
{
    server.share("EVENTS  ");
    SiteServer network(site, "127.0.0.1", 0, log());
    ASSERT_GT(network.port(), 0);
    std::thread serving([&] { network.run(); });
    httplib::Client client("127.0.0.1", network.port());
    const auto answer = client.Get("/vl/calendar/C1.ics");
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->status, 200);
    EXPECT_EQ(answer->get_header_value("Content-Type"), "text/calendar; charset=utf-8");
    EXPECT_EQ(answer->get_header_value("Connection"), "close");
    EXPECT_THAT(answer->body, HasSubstr("BEGIN:VCALENDAR"));
    const auto again =
        client.Get("/vl/calendar/C1.ics", {{"If-None-Match", answer->get_header_value("ETag")}});
    ASSERT_TRUE(again);
    EXPECT_EQ(again->status, 304);
    network.stop();
    serving.join();
    EXPECT_THAT(lines, ElementsAre("GET /vl/calendar/C1.ics 200", "GET /vl/calendar/C1.ics 304"));
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
