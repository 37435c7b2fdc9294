#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Host/Services/BrowserWorkspace.h"
#include "tests/support/PlatformScope.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(BrowserWorkspace, HandsAWebAddressToTheDesktop)
{
    const PlatformScope platform;
    EXPECT_TRUE(BrowserWorkspace().openURL("https://site.invalid/vl/calendar"));
    EXPECT_THAT(platform.launches(),
                ElementsAre(
                    PlatformScope::Launch{"xdg-open", {"https://site.invalid/vl/calendar"}}));
}

TEST(BrowserWorkspace, SaysSoWhenNothingCouldBeStarted)
{
    PlatformScope platform;
    platform.setLaunchResult(false);
    EXPECT_FALSE(BrowserWorkspace().openURL("http://site.invalid"));
}

TEST(BrowserWorkspace, OpensNothingButWebAddresses)
{
    const PlatformScope platform;
    for (const char* url : {"", "-version", "/etc/passwd", "file:///etc/passwd", "javascript:1"})
        EXPECT_FALSE(BrowserWorkspace().openURL(url)) << url;
    EXPECT_THAT(platform.launches(), IsEmpty());
}

}  // namespace
}  // namespace kt::test
