#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/Bundle.h"
#include "Sync/Foundation/PropertyList.h"
#include "tests/support/PlatformScope.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/ValuePrinting.h"

namespace kt {
namespace {

using test::PlatformScope;
using test::TemporaryFolder;
using testing::HasSubstr;

/// A shared library that every program has open: the C library's mathematics.
std::string someLibrary()
{
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
        if (line.find("/libm.so") != std::string::npos || line.find("/libm-") != std::string::npos)
            return line.substr(line.find('/'));
    return {};
}

class BundleOnDisk : public testing::Test {
protected:
    void writeInfo(const Dictionary& info)
    {
        folder.write("Some.bundle/Contents/Info.plist", xmlPropertyList(info));
    }
    std::shared_ptr<Bundle> bundle() { return Bundle::bundleWithPath(folder.path("Some.bundle")); }

    PlatformScope scope;
    TemporaryFolder folder;
};

TEST_F(BundleOnDisk, IsFoundByItsInfoDictionary)
{
    EXPECT_EQ(bundle(), nullptr);
    folder.write("Some.bundle/Contents/Info.plist", "junk");
    EXPECT_EQ(bundle(), nullptr);
    writeInfo({{"NSPrincipalClass", "Some"}});
    ASSERT_NE(bundle(), nullptr);
    EXPECT_EQ(bundle()->infoDictionary(), (Dictionary{{"NSPrincipalClass", "Some"}}));
    EXPECT_EQ(bundle()->bundlePath(), folder.path("Some.bundle"));
}

TEST_F(BundleOnDisk, HasItsExecutableAndResourcesInTheirPlaces)
{
    writeInfo({{"CFBundleExecutable", "Runs"}});
    EXPECT_EQ(bundle()->executablePath(), folder.path("Some.bundle/Contents/Linux/Runs"));
    EXPECT_EQ(bundle()->resourcePath(), folder.path("Some.bundle/Contents/Resources"));
    folder.write("Some.bundle/Contents/Resources/icon.icns", "i");
    EXPECT_EQ(bundle()->pathForResource("icon.icns"),
              folder.path("Some.bundle/Contents/Resources/icon.icns"));
    EXPECT_EQ(bundle()->pathForResource("missing"), std::nullopt);
    EXPECT_EQ(bundle()->pathForResource(""), std::nullopt);
}

TEST_F(BundleOnDisk, TakesItsOwnNameForAnExecutableThatLeadsElsewhere)
{
    for (const Value& name :
         {Value("../../../evil"), Value("/evil"), Value(".."), Value(""), Value(7)}) {
        writeInfo({{"CFBundleExecutable", name}});
        EXPECT_EQ(bundle()->executablePath(), folder.path("Some.bundle/Contents/Linux/Some"))
            << name.description();
    }
    writeInfo({{"a", 1}});
    EXPECT_EQ(bundle()->executablePath(), folder.path("Some.bundle/Contents/Linux/Some"));
}

TEST_F(BundleOnDisk, OpensItsExecutableAndFindsSymbols)
{
    ASSERT_NE(someLibrary(), "");
    writeInfo({{"CFBundleExecutable", "Runs"}});
    folder.makeFolder("Some.bundle/Contents/Linux");
    std::filesystem::copy_file(someLibrary(), folder.path("Some.bundle/Contents/Linux/Runs"));
    const auto some = bundle();
    EXPECT_EQ(some->symbolNamed("cos"), nullptr) << "not opened yet";
    std::string error;
    ASSERT_TRUE(some->load(error)) << error;
    EXPECT_TRUE(some->load(error)) << "a second time";
    EXPECT_EQ(error, "");
    const auto cosine = reinterpret_cast<double (*)(double)>(some->symbolNamed("cos"));
    ASSERT_NE(cosine, nullptr);
    EXPECT_EQ(cosine(0), 1);
    EXPECT_EQ(some->symbolNamed("surely_no_symbol_of_that_name"), nullptr);
}

TEST_F(BundleOnDisk, SaysWhyItCannotBeOpened)
{
    writeInfo({{"CFBundleExecutable", "Runs"}});
    std::string error;
    EXPECT_FALSE(bundle()->load(error));
    EXPECT_THAT(error, HasSubstr("Contents/Linux/Runs"));
    folder.write("Some.bundle/Contents/Linux/Runs", "no program");
    error.clear();
    EXPECT_FALSE(bundle()->load(error));
    EXPECT_NE(error, "");
    EXPECT_EQ(bundle()->symbolNamed("cos"), nullptr);
}

}  // namespace
}  // namespace kt
