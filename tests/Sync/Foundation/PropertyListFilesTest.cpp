#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/KeyedArchive.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/Foundation/PropertyList.h"
#include "tests/support/PlatformScope.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/ValuePrinting.h"

namespace kt {
namespace {

using test::PlatformScope;
using test::TemporaryFolder;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class PropertyListFiles : public testing::Test {
protected:
    PlatformScope scope;
    TemporaryFolder folder;
};

TEST_F(PropertyListFiles, ComeBackAsTheyWereWritten)
{
    const Dictionary dictionary{{"z", 1}, {"a", Array{"x", 1.5}}};
    EXPECT_TRUE(writeDictionaryToFile(dictionary, folder.path("a.plist")));
    EXPECT_TRUE(folder.read("a.plist")->starts_with("<?xml"));
    PropertyListError error{};
    EXPECT_EQ(dictionaryWithContentsOfFile(folder.path("a.plist"), &error), dictionary);
    EXPECT_EQ(error, PropertyListError::none);
    EXPECT_EQ(folder.tree().size(), 1U);
}

TEST_F(PropertyListFiles, SayWhyTheyCannotBeRead)
{
    std::string nested;
    for (int level = 0; level < 513; ++level)
        nested = "<array>" + nested + "</array>";
    folder.write("empty", "");
    folder.write("array", "<plist><array/></plist>");
    folder.write("deep", "<plist>" + nested + "</plist>");
    const auto errorOf = [&](const std::string& name) {
        PropertyListError error{};
        EXPECT_EQ(dictionaryWithContentsOfFile(folder.path(name), &error), std::nullopt);
        EXPECT_EQ(dictionaryWithContentsOfFile(folder.path(name)), std::nullopt);
        return error;
    };
    EXPECT_EQ(errorOf("absent"), PropertyListError::missing);
    EXPECT_EQ(errorOf(""), PropertyListError::missing);
    EXPECT_EQ(errorOf("empty"), PropertyListError::malformed);
    EXPECT_EQ(errorOf("array"), PropertyListError::malformed);
    EXPECT_EQ(errorOf("deep"), PropertyListError::tooDeep);
}

TEST_F(PropertyListFiles, AreNotWrittenForWhatAPropertyListCannotHold)
{
    folder.write("a.plist", "old");
    EXPECT_FALSE(
        writeDictionaryToFile({{"a", std::make_shared<URL>("x")}}, folder.path("a.plist")));
    EXPECT_FALSE(writeDictionaryToFile({{"a", "\xFF"}}, folder.path("a.plist")));
    EXPECT_FALSE(writeDictionaryToFile({{"a", 1}}, folder.path("missing/a.plist")));
    EXPECT_THAT(folder.tree(), ElementsAre(Pair("a.plist", "old")));
}

TEST_F(PropertyListFiles, AreNotWrittenBehindAWriteGuard)
{
    const WriteGuard guard;
    EXPECT_FALSE(writeDictionaryToFile({{"a", 1}}, folder.path("a.plist")));
    EXPECT_THAT(folder.tree(), IsEmpty());
}

}  // namespace
}  // namespace kt
