#include <filesystem>

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/Exception.h"
#include "Sync/Host/Services/HostClasses.h"
#include "Sync/Host/Services/PluginLoader.h"
#include "tests/support/RecordingPluginHelper.h"
#include "tests/support/TemporaryFolder.h"

namespace kt {
namespace {

namespace fs = std::filesystem;
using test::RecordingPluginHelper;
using test::TemporaryFolder;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

std::string bundlePath(const std::string& name)
{
    return std::string(KT_TEST_BUNDLE_DIR) + "/" + name + ".bundle";
}

bool isOpen(const std::string& bundle, const std::string& executable)
{
    void* handle =
        ::dlopen((bundle + "/Contents/Linux/" + executable).c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr)
        ::dlclose(handle);
    return handle != nullptr;
}

class PluginLoaderTest : public testing::Test {
protected:
    std::unique_ptr<LoadedPlugin> load(const std::string& path)
    {
        return PluginLoader::load(path, classes.table(), helper);
    }
    std::string refusalOf(const std::string& path)
    {
        try {
            load(path);
        } catch (const Exception& exception) {
            return exception.reason();
        }
        return "";
    }

    HostClasses classes;
    RecordingPluginHelper helper;
};

TEST_F(PluginLoaderTest, CreatesThePrincipalObject)
{
    const auto plugin = load(bundlePath("SmallPlugin"));
    EXPECT_EQ((*plugin)->name(), "SmallPlugin");
    EXPECT_THAT(helper.messages(), ElementsAre("da"));
}

TEST_F(PluginLoaderTest, LetsThePluginFindTheHostsClasses)
{
    EXPECT_TRUE((*load(bundlePath("SmallPlugin")))->doSync());
    EXPECT_EQ(NSClassFromString(KTSyncRecordClass::className), nullptr);
}

TEST_F(PluginLoaderTest, ClosesTheBundleWithThePlugin)
{
    const std::string path = bundlePath("SmallPlugin");
    {
        const auto plugin = load(path);
        EXPECT_TRUE(isOpen(path, "SmallPlugin"));
    }
    EXPECT_FALSE(isOpen(path, "SmallPlugin"));
    EXPECT_THAT(helper.messages(), ElementsAre("da", "fort"));
}

struct RefusalRow {
    const char* bundle;
    const char* format;  // % stands for the bundle's path
};
class RefusedBundle : public PluginLoaderTest, public testing::WithParamInterface<RefusalRow> {
protected:
    std::string expected() const
    {
        std::string text = GetParam().format;
        const std::size_t position = text.find('%');
        return text.replace(position, 1, bundlePath(GetParam().bundle));
    }
};
INSTANTIATE_TEST_SUITE_P(
    Rows, RefusedBundle,
    testing::Values(
        RefusalRow{"NoSuchBundle", "Es gibt kein Plug-in \"%\"."},
        RefusalRow{"NoPrincipalClass",
                   "Die Info.plist des Plug-ins \"%\" nennt keine Hauptklasse "
                   "(NSPrincipalClass)."},
        RefusalRow{"StrayExecutable",
                   "Die Info.plist des Plug-ins \"%\" nennt kein gültiges Programm."},
        RefusalRow{"MissingExecutable",
                   "Dem Plug-in \"%\" fehlt das Programm \"MissingExecutable\"."},
        RefusalRow{"MissingVersion",
                   "Das Plug-in \"%\" ist kein Synchronisierungs-Plug-in: "
                   "\"KTPluginInterfaceVersion\" fehlt."},
        RefusalRow{"WrongVersion",
                   "Das Plug-in \"%\" spricht Version 4 der Schnittstelle, gebraucht wird 3."},
        RefusalRow{"MissingCreate",
                   "Das Plug-in \"%\" ist kein Synchronisierungs-Plug-in: "
                   "\"KTPluginCreate\" fehlt."},
        RefusalRow{"UnknownPrincipalClass",
                   "Das Plug-in \"%\" kann seine Hauptklasse \"NoSuchPlugin\" nicht "
                   "bereitstellen."},
        RefusalRow{"FailingStart", "Das Plug-in \"%\" konnte nicht starten: nicht bereit"}));

TEST_P(RefusedBundle, SaysWhy) { EXPECT_EQ(refusalOf(bundlePath(GetParam().bundle)), expected()); }

TEST_P(RefusedBundle, LeavesNothingOpenAndNoClassSet)
{
    refusalOf(bundlePath(GetParam().bundle));
    EXPECT_FALSE(isOpen(bundlePath(GetParam().bundle), GetParam().bundle));
    EXPECT_FALSE(isOpen(bundlePath("SmallPlugin"), "SmallPlugin"));
    EXPECT_EQ(NSClassFromString(KTSyncRecordClass::className), nullptr);
}

TEST_P(RefusedBundle, DoesNotKeepTheRightOneFromLoading)
{
    refusalOf(bundlePath(GetParam().bundle));
    EXPECT_EQ((*load(bundlePath("SmallPlugin")))->name(), "SmallPlugin");
}

TEST_F(PluginLoaderTest, RefusesABundleWithoutAReadableInfo)
{
    const TemporaryFolder folder;
    const std::string path = folder.path("Ohne.bundle");
    fs::copy(bundlePath("SmallPlugin"), path, fs::copy_options::recursive);
    folder.remove("Ohne.bundle/Contents/Info.plist");
    const std::string expected = "Das Plug-in \"" + path + "\" hat keine lesbare Info.plist.";
    EXPECT_EQ(refusalOf(path), expected);
    folder.write("Ohne.bundle/Contents/Info.plist", "<plist");
    EXPECT_EQ(refusalOf(path), expected);
    EXPECT_THAT(helper.messages(), IsEmpty());
}

TEST_F(PluginLoaderTest, RefusesAnExecutableThatIsNone)
{
    const TemporaryFolder folder;
    const std::string path = folder.path("Kaputt.bundle");
    fs::copy(bundlePath("SmallPlugin"), path, fs::copy_options::recursive);
    folder.write("Kaputt.bundle/Contents/Linux/SmallPlugin", "kein Programm");
    EXPECT_THAT(refusalOf(path),
                StartsWith("Das Plug-in \"" + path + "\" kann nicht geladen werden: "));
}

TEST_F(PluginLoaderTest, AFailingStartHasEndedByTheTimeOfTheRefusal)
{
    refusalOf(bundlePath("FailingStart"));
    EXPECT_THAT(helper.messages(), ElementsAre("da", "fort"));
}

}  // namespace
}  // namespace kt
