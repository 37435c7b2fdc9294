#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "Sync/Foundation/Platform.h"
#include "tests/support/PlatformScope.h"
#include "tests/support/TemporaryFolder.h"

namespace kt {
namespace {

TEST(ResourceForks, ReachNothingUntilTheSystemHasThem)
{
    const test::PlatformScope platform;
    const test::TemporaryFolder folder;
    folder.write("file", "x");
    const std::string path = folder.path("file");
    ResourceForks& forks = *Platform::shared().resourceForks();
    EXPECT_FALSE(forks.isReachable(path));
    EXPECT_EQ(forks.physicalSizeAtPath(path), std::nullopt);
    EXPECT_EQ(forks.createResourceFile(folder.path(), "file"), ResourceForks::Creation::failed);
    EXPECT_EQ(forks.open(path, ResourceForks::Access::reading), std::nullopt);
    EXPECT_EQ(forks.size(0), std::nullopt);
    EXPECT_FALSE(forks.setSize(0, 1));
    EXPECT_EQ(forks.read(0, 1), "");
    EXPECT_EQ(forks.write(0, "x"), 0U);
    forks.close(0);
    EXPECT_EQ(folder.read("file"), "x");
}

TEST(ResourceForks, AreReplacedForAWholeProcessAndComeBack)
{
    const test::PlatformScope platform;
    const auto other = std::make_shared<ResourceForks>();
    Platform::shared().setResourceForks(other);
    EXPECT_EQ(Platform::shared().resourceForks(), other);
    Platform::shared().setResourceForks(nullptr);
    ASSERT_NE(Platform::shared().resourceForks(), nullptr);
    EXPECT_NE(Platform::shared().resourceForks(), other);
    Platform::shared().setResourceForks(other);
    Platform::shared().reset();
    EXPECT_NE(Platform::shared().resourceForks(), other);
}

}  // namespace
}  // namespace kt
