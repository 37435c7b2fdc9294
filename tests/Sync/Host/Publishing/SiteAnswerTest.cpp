#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/CalendarDate.h"
#include "Sync/Host/Publishing/SiteAnswer.h"

namespace kt::test {
namespace {

using testing::HasSubstr;
using testing::Not;

const Date kNow = dateWithISO8601("2007-12-04T09:05:06Z").value();

TEST(SiteAnswers, AreHeadedAsHttpWants)
{
    SiteAnswer answer = foundAnswer("text/plain", "Grüße");
    answer.headers = {{"ETag", "\"a\""}};
    EXPECT_EQ(headOf(answer, kNow),
              "HTTP/1.1 200 OK\r\nDate: Tue, 04 Dec 2007 09:05:06 GMT\r\nETag: \"a\"\r\n"
              "Content-Type: text/plain\r\nContent-Length: 7\r\nConnection: close\r\n\r\n");
    EXPECT_TRUE(hasBody(answer, "GET"));
    EXPECT_FALSE(hasBody(answer, "HEAD"));
}

TEST(SiteAnswers, SayNothingOfTheBodyOfWhatHasNotChanged)
{
    const SiteAnswer answer{304, "", nullptr, {}};
    EXPECT_THAT(headOf(answer, kNow), Not(HasSubstr("Content-")));
    EXPECT_FALSE(hasBody(answer, "GET"));
}

TEST(SiteAnswers, RefuseWithSafeguardsAndAReason)
{
    for (const int status : {400, 408, 414, 431, 500, 501, 503, 505}) {
        const SiteAnswer answer = refusalAnswer(status);
        EXPECT_EQ(answer.status, status);
        const std::string head = headOf(answer, kNow);
        EXPECT_THAT(head, HasSubstr("\r\nContent-Security-Policy: default-src 'none';"));
        EXPECT_THAT(head, HasSubstr("\r\nX-Content-Type-Options: nosniff\r\n"));
        EXPECT_THAT(head, HasSubstr("\r\nCache-Control: no-store\r\n"));
        EXPECT_THAT(head, Not(HasSubstr(std::to_string(status) + " \r\n")));
        EXPECT_THAT(answer.bytes(), HasSubstr("<h1>"));
    }
}

}  // namespace
}  // namespace kt::test
