#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Additions/KTFileManagerAdditions+ResourceForks.h"
#include "Sync/Foundation/Platform.h"
#include "tests/support/PlatformScope.h"
#include "tests/support/TemporaryFolder.h"

namespace kt {
namespace {

using namespace std::string_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;
using testing::Pair;
using Access = ResourceForks::Access;
using Reference = ResourceForks::Reference;

/// Forks in memory; one that is absent from an item is nullopt.
class MemoryForks : public ResourceForks {
public:
    bool isReachable(const std::string& path) const override { return forks.contains(path); }
    std::optional<std::uint64_t> physicalSizeAtPath(const std::string& path) const override
    {
        if (!isReachable(path))
            return std::nullopt;
        const std::uint64_t size = forks.at(path).value_or("").size();
        return (size + kBlock - 1) / kBlock * kBlock;
    }
    Creation createResourceFile(const std::string& folder, const std::string& name) override
    {
        created.push_back(folder + " + " + name);
        auto& fork = forks.at(folder + "/" + name);
        if (failing == "create")
            return Creation::failed;
        if (fork)
            return Creation::existsAlready;
        fork = "";
        return Creation::created;
    }
    std::optional<Reference> open(const std::string& path, Access access) override
    {
        if (!forks.at(path) || failing == "open")
            return std::nullopt;
        openedFor.push_back(access);
        openPath = path;
        return kReference;
    }
    void close(Reference reference) override
    {
        EXPECT_EQ(reference, kReference);
        EXPECT_NE(openPath, "");
        openPath.clear();
    }
    std::optional<std::uint64_t> size(Reference) override
    {
        if (failing == "size")
            return std::nullopt;
        return forks.at(openPath)->size();
    }
    bool setSize(Reference, std::uint64_t size) override
    {
        if (failing == "setSize")
            return false;
        forks.at(openPath)->resize(size);
        return true;
    }
    std::string read(Reference, std::uint64_t count) override
    {
        if (failing == "read")
            --count;
        return forks.at(openPath)->substr(0, count);
    }
    std::size_t write(Reference, std::string_view bytes) override
    {
        if (failing == "write")
            bytes.remove_suffix(1);
        std::copy(bytes.begin(), bytes.end(), forks.at(openPath)->begin());
        return bytes.size();
    }

    static constexpr std::uint64_t kBlock = 4096;
    static constexpr Reference kReference = 7;
    std::map<std::string, std::optional<std::string>> forks;
    std::vector<std::string> created;
    std::vector<Access> openedFor;
    std::string openPath;  // empty: no fork is open
    std::string failing;   // the operation that fails
};

class KTFileManagerResourceForks : public testing::Test {
protected:
    KTFileManagerResourceForks()
    {
        Platform::shared().setResourceForks(memory);
        memory->forks["/a/icon"] = "resources";
        memory->forks["/a/empty"] = "";
        memory->forks["/a/plain"] = std::nullopt;
    }
    ~KTFileManagerResourceForks() override { EXPECT_EQ(memory->openPath, "") << "left open"; }

    std::string fork(const std::string& path) const
    {
        return memory->forks.at(path).value_or("none");
    }

    test::PlatformScope platform;
    std::shared_ptr<MemoryForks> memory = std::make_shared<MemoryForks>();
};

TEST_F(KTFileManagerResourceForks, GivesTheAllocatedSize)
{
    std::uint64_t size = 0;
    EXPECT_TRUE(hasResourceForkAtPath("/a/icon", &size));
    EXPECT_EQ(size, MemoryForks::kBlock);
    EXPECT_TRUE(hasResourceForkAtPath("/a/icon"));
}

TEST_F(KTFileManagerResourceForks, TakesAForkWithoutAllocatedBytesForNone)
{
    for (const std::string path : {"/a/empty", "/a/plain"}) {
        std::uint64_t size = 1;
        EXPECT_FALSE(hasResourceForkAtPath(path, &size));
        EXPECT_EQ(size, 0U);
    }
}

TEST_F(KTFileManagerResourceForks, HasNoForkOfAnItemThatIsNotThere)
{
    std::uint64_t size = 1;
    EXPECT_FALSE(hasResourceForkAtPath("/a/gone", &size));
    EXPECT_EQ(size, 1U);
}

TEST_F(KTFileManagerResourceForks, OpensForReadingAndMakesNothing)
{
    Reference reference = 0;
    ASSERT_TRUE(fileReference(reference, "/a/icon", Access::reading));
    EXPECT_EQ(reference, MemoryForks::kReference);
    EXPECT_THAT(memory->openedFor, ElementsAre(Access::reading));
    EXPECT_THAT(memory->created, IsEmpty());
    memory->close(reference);
}

TEST_F(KTFileManagerResourceForks, OpensNothingForReadingWhereThereIsNoFork)
{
    Reference reference = 1;
    EXPECT_FALSE(fileReference(reference, "/a/plain", Access::reading));
    EXPECT_EQ(reference, 1);
    EXPECT_EQ(fork("/a/plain"), "none");
}

TEST_F(KTFileManagerResourceForks, MakesTheForkInTheItemsFolderBeforeItIsOpenedForWriting)
{
    Reference reference = 0;
    ASSERT_TRUE(fileReference(reference, "/a/plain", Access::writing));
    EXPECT_THAT(memory->created, ElementsAre("/a + plain"));
    EXPECT_THAT(memory->openedFor, ElementsAre(Access::writing));
    memory->close(reference);
}

TEST_F(KTFileManagerResourceForks, TakesAForkThatExistsAlready)
{
    Reference reference = 0;
    ASSERT_TRUE(fileReference(reference, "/a/icon", Access::writing));
    EXPECT_EQ(fork("/a/icon"), "resources");
    memory->close(reference);
}

TEST_F(KTFileManagerResourceForks, OpensNothingWhereNoItemStands)
{
    Reference reference = 1;
    for (const Access access : {Access::reading, Access::writing})
        EXPECT_FALSE(fileReference(reference, "/a/gone", access));
    EXPECT_EQ(reference, 1);
    EXPECT_THAT(memory->created, IsEmpty());
}

TEST_F(KTFileManagerResourceForks, MakesNoForkForANameOver1024Units)
{
    for (const std::size_t units : {1023U, 1024U, 1025U}) {
        const std::string umlauts = [&] {  // two bytes a unit: units count, not bytes
            std::string name;
            for (std::size_t index = 0; index < units; ++index)
                name += "\u00E4";
            return name;
        }();
        memory->forks["/a/" + umlauts] = std::nullopt;
        Reference reference = 0;
        EXPECT_EQ(fileReference(reference, "/a/" + umlauts, Access::writing), units <= 1024);
        memory->openPath.clear();
    }
}

TEST_F(KTFileManagerResourceForks, OpensNothingForWritingWhereNoForkCanBeMade)
{
    memory->failing = "create";
    Reference reference = 1;
    EXPECT_FALSE(fileReference(reference, "/a/plain", Access::writing));
    EXPECT_EQ(reference, 1);
    EXPECT_THAT(memory->openedFor, IsEmpty());
}

TEST_F(KTFileManagerResourceForks, ReadsTheWholeFork)
{
    EXPECT_THAT(dataForResourceForkAtPath("/a/icon"), Optional(Data{"resources"}));
    EXPECT_THAT(dataForResourceForkAtPath("/a/empty"), Optional(Data{}));
}

TEST_F(KTFileManagerResourceForks, ReadsNothingWhereThereIsNoFork)
{
    EXPECT_EQ(dataForResourceForkAtPath("/a/plain"), std::nullopt);
    EXPECT_EQ(dataForResourceForkAtPath("/a/gone"), std::nullopt);
}

class ResourceForkFailure : public KTFileManagerResourceForks,
                            public testing::WithParamInterface<const char*> {};

class ResourceForkReading : public ResourceForkFailure {};
INSTANTIATE_TEST_SUITE_P(Steps, ResourceForkReading, testing::Values("open", "size", "read"));
TEST_P(ResourceForkReading, GivesNilUnlessTheWholeForkWasRead)
{
    memory->failing = GetParam();
    EXPECT_EQ(dataForResourceForkAtPath("/a/icon"), std::nullopt);
}

TEST_F(KTFileManagerResourceForks, ReplacesTheForksBytes)
{
    EXPECT_TRUE(writeResourceFork(Data{"new"}, "/a/icon"));
    EXPECT_EQ(fork("/a/icon"), "new");
    EXPECT_TRUE(writeResourceFork(Data{"longer than before\0"s}, "/a/icon"));
    EXPECT_EQ(fork("/a/icon"), "longer than before\0"s);
    EXPECT_TRUE(writeResourceFork(Data{"first"}, "/a/plain"));
    EXPECT_EQ(fork("/a/plain"), "first");
}

TEST_F(KTFileManagerResourceForks, WritesNoNilOrEmptyData)
{
    EXPECT_FALSE(writeResourceFork(std::nullopt, "/a/icon"));
    EXPECT_FALSE(writeResourceFork(Data{}, "/a/icon"));
    EXPECT_FALSE(writeResourceFork(Data{}, "/a/plain"));
    EXPECT_EQ(fork("/a/icon"), "resources");
    EXPECT_EQ(fork("/a/plain"), "none");
    EXPECT_THAT(memory->created, IsEmpty());
}

class ResourceForkWriting : public ResourceForkFailure {};
INSTANTIATE_TEST_SUITE_P(Steps, ResourceForkWriting,
                         testing::Values("create", "open", "setSize", "write"));
TEST_P(ResourceForkWriting, FailsUnlessAllBytesWereWritten)
{
    memory->failing = GetParam();
    EXPECT_FALSE(writeResourceFork(Data{"new"}, "/a/icon"));
}

TEST_F(KTFileManagerResourceForks, StillReadsButChangesNothingBehindAWriteGuard)
{
    const WriteGuard guard;
    Reference reference = 1;
    EXPECT_FALSE(fileReference(reference, "/a/icon", Access::writing));
    EXPECT_FALSE(writeResourceFork(Data{"new"}, "/a/icon"));
    EXPECT_FALSE(writeResourceFork(Data{"new"}, "/a/plain"));
    EXPECT_EQ(fork("/a/icon"), "resources");
    EXPECT_EQ(fork("/a/plain"), "none");
    EXPECT_THAT(dataForResourceForkAtPath("/a/icon"), Optional(Data{"resources"}));
}

TEST(KTFileManagerResourceForksHere, ReachesNothing)
{
    const test::PlatformScope platform;
    const test::TemporaryFolder folder;
    folder.write("a.ics", "x");
    const std::string path = folder.path("a.ics");
    std::uint64_t size = 1;
    Reference reference = 2;
    EXPECT_FALSE(hasResourceForkAtPath(path, &size));
    EXPECT_FALSE(fileReference(reference, path, Access::reading));
    EXPECT_FALSE(fileReference(reference, path, Access::writing));
    EXPECT_EQ(dataForResourceForkAtPath(path), std::nullopt);
    EXPECT_FALSE(writeResourceFork(Data{"new"}, path));
    EXPECT_EQ(size, 1U);
    EXPECT_EQ(reference, 2);
    EXPECT_THAT(folder.tree(), ElementsAre(Pair("a.ics", "x")));
}

}  // namespace
}  // namespace kt
