#include <map>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/CalendarDate.h"
#include "Sync/Host/Site/SiteAnswer.h"
#include "tests/support/PlatformScope.h"

namespace kt::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

TEST(SiteAnswers, RefuseWithSafeguardsAndAReason)
{
    PlatformScope platform;
    platform.setNow(dateWithISO8601("2007-12-04T09:05:06Z").value());
    for (const int status : {400, 408, 414, 431, 500, 501, 503, 505}) {
        const SiteAnswer answer = refusalAnswer(status);
        EXPECT_EQ(answer.status, status);
        EXPECT_EQ(answer.contentType, "text/html; charset=utf-8");
        std::map<std::string, std::string> headers(answer.headers.begin(), answer.headers.end());
        EXPECT_EQ(headers["Date"], "Tue, 04 Dec 2007 09:05:06 GMT");
        EXPECT_THAT(headers["Content-Security-Policy"], StartsWith("default-src 'none';"));
        EXPECT_EQ(headers["X-Content-Type-Options"], "nosniff");
        EXPECT_EQ(headers["Cache-Control"], "no-store");
        EXPECT_THAT(answer.bytes(), HasSubstr("<h1>"));
    }
}

}  // namespace
}  // namespace kt::test
