#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "Sync/Foundation/Platform.h"
#include "tests/support/PlatformScope.h"
#include "tests/support/TemporaryFolder.h"

namespace kt {
namespace {

TEST(FinderCatalog, ReachesNothingUntilTheSystemHasOne)
{
    const test::PlatformScope platform;
    const test::TemporaryFolder folder;
    FinderCatalog& catalog = *Platform::shared().finderCatalog();
    EXPECT_EQ(catalog.informationAtPath(folder.path()), std::nullopt);
    EXPECT_FALSE(catalog.setInformation({}, folder.path()));
    EXPECT_FALSE(catalog.isAliasAtPath(folder.path()));
    EXPECT_EQ(catalog.aliasTargetAtPath(folder.path()), std::nullopt);
    EXPECT_FALSE(catalog.volumeAtPath(folder.path()).has_value());
    catalog.notifyModified(folder.path());
    EXPECT_TRUE(folder.tree().empty());
}

TEST(FinderCatalog, IsReplacedForAWholeProcessAndComesBack)
{
    const test::PlatformScope platform;
    const auto before = Platform::shared().finderCatalog();
    const auto other = std::make_shared<FinderCatalog>();
    Platform::shared().setFinderCatalog(other);
    EXPECT_EQ(Platform::shared().finderCatalog(), other);
    Platform::shared().setFinderCatalog(nullptr);
    ASSERT_NE(Platform::shared().finderCatalog(), nullptr);
    EXPECT_NE(Platform::shared().finderCatalog(), other);
    Platform::shared().setFinderCatalog(other);
    Platform::shared().reset();
    EXPECT_NE(Platform::shared().finderCatalog(), other);
}

}  // namespace
}  // namespace kt
