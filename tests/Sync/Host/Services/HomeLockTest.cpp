#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/Exception.h"
#include "Sync/Host/Services/HomeLock.h"
#include "tests/support/TemporaryFolder.h"

namespace kt {
namespace {

using test::TemporaryFolder;

constexpr const char* kTaken = "Für diesen Heimordner läuft gerade eine andere Synchronisierung.";

template <class Body>
std::string refusalOf(const Body& body)
{
    try {
        body();
    } catch (const Exception& exception) {
        return exception.reason();
    }
    return "";
}

TEST(HomeLock, KeepsASecondRunOut)
{
    TemporaryFolder folder;
    const auto first = HomeLock::exclusive(folder.path("lock"));
    EXPECT_EQ(refusalOf([&] { HomeLock::exclusive(folder.path("lock")); }), kTaken);
    EXPECT_EQ(refusalOf([&] { HomeLock::shared(folder.path("lock")); }), kTaken);
}

TEST(HomeLock, IsFreeAgainAfterwards)
{
    TemporaryFolder folder;
    HomeLock::exclusive(folder.path("lock"));
    EXPECT_EQ(refusalOf([&] { HomeLock::exclusive(folder.path("lock")); }), "");
}

TEST(HomeLock, ReadersStandNextToEachOtherButNotNextToARun)
{
    TemporaryFolder folder;
    HomeLock::exclusive(folder.path("lock"));
    const auto first = HomeLock::shared(folder.path("lock"));
    const auto second = HomeLock::shared(folder.path("lock"));
    EXPECT_EQ(refusalOf([&] { HomeLock::exclusive(folder.path("lock")); }), kTaken);
}

TEST(HomeLock, AReaderMakesNoFile)
{
    TemporaryFolder folder;
    const auto reader = HomeLock::shared(folder.path("lock"));
    EXPECT_NE(reader, nullptr);
    EXPECT_TRUE(folder.tree().empty());
}

TEST(HomeLock, NamesTheFileThatCannotBeOpened)
{
    TemporaryFolder folder;
    EXPECT_EQ(refusalOf([&] { HomeLock::exclusive(folder.path("gibt/es/nicht")); }),
              "Die Datei \"" + folder.path("gibt/es/nicht") + "\" kann nicht geöffnet werden.");
}

}  // namespace
}  // namespace kt
