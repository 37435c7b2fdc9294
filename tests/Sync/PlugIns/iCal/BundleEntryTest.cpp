#include <cstdio>
#include <set>
#include <sstream>

#include "Sync/Foundation/Bundle.h"
#include "Sync/HostInterface/KTSyncPluginProtocol.h"
#include "tests/Sync/PlugIns/iCal/StoreFixture.h"

namespace kt::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

/// The real bundle as the build lays it down, opened as a host opens it.
class RealBundle : public StoreFixture {
protected:
    RealBundle()
    {
        // Opened once and kept: closing it would unload code that objects may still need.
        static const std::shared_ptr<Bundle> opened = Bundle::bundleWithPath(KT_BUNDLE_PATH);
        bundle = opened;
        std::string error;
        if (!bundle || !bundle->load(error))
            ADD_FAILURE() << KT_BUNDLE_PATH << ": " << error;
    }
    template <class Function>
    Function symbol(const char* name) const
    {
        return reinterpret_cast<Function>(bundle->symbolNamed(name));
    }
    std::unique_ptr<KTSyncPluginProtocol> create(const char* principalClass,
                                                 const KTClassTable* table,
                                                 KTSyncPluginHelper* helper) const
    {
        const auto function = symbol<PluginCreateFunction>(kPluginCreateSymbol);
        return std::unique_ptr<KTSyncPluginProtocol>(
            function(principalClass, table, helper, KT_BUNDLE_PATH));
    }
    std::unique_ptr<KTSyncPluginProtocol> createPlugin()
    {
        const KTClassTable table = hostClassTable();
        return create("ICalSyncPlugin", &table, &host);
    }

    std::shared_ptr<Bundle> bundle;
};

struct InfoRow {
    const char* key;
    const char* value;
};
class RealBundleInfo : public RealBundle, public ::testing::WithParamInterface<InfoRow> {};
INSTANTIATE_TEST_SUITE_P(
    Keys, RealBundleInfo,
    ::testing::Values(InfoRow{"NSPrincipalClass", "ICalSyncPlugin"},
                      InfoRow{"CFBundleExecutable", "ICalSyncPlugin"},
                      InfoRow{"CFBundleIdentifier",
                              "invalid.velorasuite.syncplugins.ICalSyncPlugin"}));

TEST_P(RealBundleInfo, SaysWhatAHostLooksFor)
{
    EXPECT_EQ(bundle->infoDictionary()[GetParam().key], Value(GetParam().value));
}

TEST_F(RealBundle, CarriesAVersionOfThreeNumbers)
{
    EXPECT_THAT(bundle->infoDictionary()["CFBundleVersion"].string(),
                ::testing::MatchesRegex("[0-9]+\\.[0-9]+\\.[0-9]+"));
}

TEST_F(RealBundle, AnswersTheInterfaceVersionItWasBuiltWith)
{
    const auto version = symbol<PluginInterfaceVersionFunction>(kPluginInterfaceVersionSymbol);
    ASSERT_NE(version, nullptr);
    EXPECT_EQ(version(), kPluginInterfaceVersion);
}

TEST_F(RealBundle, CreatesThePrincipalObjectAndTakesOverTheClassTable)
{
    const KTClassTable table = hostClassTable();
    setHostClassTable(KTClassTable());
    const auto plugin = create("ICalSyncPlugin", &table, &host);
    ASSERT_NE(plugin, nullptr);
    EXPECT_EQ(plugin->name(), "ICalSyncPlugin");
    EXPECT_EQ(plugin->displayName(), "iCal-Kalender");
    EXPECT_EQ(plugin->shortDisplayName(), "iCal");
    EXPECT_THAT(plugin->syncConduits(), ElementsAre("ical-event", "ical-task", "ical-calendar"));
    EXPECT_EQ(NSClassFromString("KTSyncRecord"), &recordClass);
}

TEST_F(RealBundle, CreatesNothingForAnythingButItsPrincipalClassWithTableAndHelper)
{
    const KTClassTable table = hostClassTable();
    setHostClassTable(KTClassTable());
    EXPECT_EQ(create("OtherSyncPlugin", &table, &host), nullptr);
    EXPECT_EQ(create("", &table, &host), nullptr);
    EXPECT_EQ(create(nullptr, &table, &host), nullptr);
    EXPECT_EQ(create("ICalSyncPlugin", nullptr, &host), nullptr);
    EXPECT_EQ(create("ICalSyncPlugin", &table, nullptr), nullptr);
    EXPECT_EQ(NSClassFromString("KTSyncRecord"), nullptr);
}

TEST_F(RealBundle, BringsItsIcon)
{
    const auto plugin = createPlugin();
    const auto path = bundle->pathForResource("iCal.icns");
    ASSERT_TRUE(path);
    const auto icon = plugin->menuIcon();
    ASSERT_NE(icon, nullptr);
    EXPECT_TRUE(icon->contents().starts_with("icns"));
    EXPECT_EQ(icon->contents(), FileManager::defaultManager().contentsAtPath(*path));
}

TEST_F(RealBundle, RefusesToSyncWhileItIsNotActivated)
{
    EXPECT_FALSE(createPlugin()->doSync());
    EXPECT_EQ(host.status(), "Die iCal-Synchronisierung ist nicht aktiviert");
    EXPECT_THAT(host.engineCalls(), IsEmpty());
}

TEST_F(RealBundle, RefusesToSyncWhileICalRuns)
{
    const auto plugin = createPlugin();
    plugin->enable();
    host.script.runningBinaries = {"iCal"};
    EXPECT_FALSE(plugin->doSync());
    EXPECT_EQ(host.status(), "iCal ist noch aktiv");
    EXPECT_THAT(host.engineCalls(), ElementsAre("enableFileNotifications"));
}

TEST_F(RealBundle, SyncsAStoreThroughTheHostsClasses)
{
    writeCalendar("A", "Arbeit");
    writeItems("A", "1.ics", eventLines("Termin") + taskLines("Aufgabe"));
    const auto plugin = createPlugin();
    plugin->enable();
    EXPECT_TRUE(plugin->doSync());
    EXPECT_EQ(host.status(), "1 Kalender\n1 Ereignis, 1 Aufgabe");
    ASSERT_EQ(host.localUpdates()->size(), 3u);
    EXPECT_EQ(plugin->describeRecord(*host.localUpdates()->at(1)),
              "Ereignis: 'Termin' (20071224T100000 Europe/Berlin)");
}

TEST_F(RealBundle, CatchesAnExceptionThatTheSharedLibraryThrowsAndReportsTheLossToTheHost)
{
    writeFolder("A.calendar", with(calendarInfo("A", "Arbeit"), "Title", 1));
    const auto plugin = createPlugin();
    plugin->enable();
    EXPECT_FALSE(plugin->doSync());
    EXPECT_EQ(host.status(), "Die Kalender konnten nicht geladen werden!");
    EXPECT_EQ(classes.losses().size(), 1u);
}

TEST_F(RealBundle, CatchesAnExceptionOfTheHost)
{
    const auto plugin = createPlugin();
    plugin->enable();
    host.script.before = [](std::string_view call) {
        if (call == "disableFileNotifications")
            throw Exception(NSGenericException, "mittendrin");
    };
    EXPECT_FALSE(plugin->doSync());
    EXPECT_THAT(host.messages(),
                Contains("Nichtabgefangener Fehler in [ICalSyncPlugin doSync]: mittendrin"));
}

// What the executable is made of.

/// The lines that a program of the build tools prints about the executable.
std::vector<std::string> linesOf(const std::string& command, const Bundle& bundle)
{
    FILE* pipe = popen((command + " '" + bundle.executablePath() + "'").c_str(), "r");
    if (pipe == nullptr)
        return {};
    std::string output;
    char buffer[4096];
    while (const std::size_t read = std::fread(buffer, 1, sizeof buffer, pipe))
        output.append(buffer, read);
    EXPECT_EQ(pclose(pipe), 0) << command;
    std::vector<std::string> lines;
    std::istringstream stream(output);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

/// "libplist-2.0.so.3" gives "libplist-2.0".
std::string libraryName(const std::string& file) { return file.substr(0, file.find(".so")); }

const std::set<std::string> kAllowedLibraries{
    // Its own ground and the libraries under that.
    "libKTFoundation", "libplist-2.0", "libcctz", "libcrypto",
    // The language's runtime, with sanitizers where they are built in.
    "libstdc++", "libgcc_s", "libc", "libm", "libdl", "libpthread", "librt", "libresolv",
    "ld-linux-x86-64", "ld-linux-aarch64", "linux-vdso", "libasan", "libubsan", "libtsan",
    // Compression, which some builds of libcrypto bring along.
    "libz", "libzstd"};

TEST_F(RealBundle, LinksDirectlyAgainstNoHostLibrary)
{
    std::set<std::string> needed;
    for (const std::string& line : linesOf("readelf -d", *bundle)) {
        if (line.find("(NEEDED)") == std::string::npos)
            continue;
        const std::size_t open = line.find('[');
        needed.insert(libraryName(line.substr(open + 1, line.find(']') - open - 1)));
    }
    EXPECT_THAT(needed, Contains("libKTFoundation"));
    for (const std::string& library : needed)
        EXPECT_TRUE(kAllowedLibraries.contains(library)) << library;
}

TEST_F(RealBundle, LoadsNoHostLibraryThroughOthersEither)
{
    std::size_t libraries = 0;
    for (const std::string& line : linesOf("ldd", *bundle)) {
        const std::size_t start = line.find_first_not_of(" \t");
        const std::string path = line.substr(start, line.find(' ', start) - start);
        EXPECT_TRUE(kAllowedLibraries.contains(libraryName(lastPathComponent(path)))) << line;
        ++libraries;
    }
    EXPECT_GT(libraries, 3u);
}

TEST_F(RealBundle, ShowsNothingButItsTwoEntryPoints)
{
    std::vector<std::string> symbols;
    for (const std::string& line : linesOf("nm -D --defined-only", *bundle)) {
        const std::string name = line.substr(line.rfind(' ') + 1);
        if (!name.starts_with("__asan") && !name.starts_with("__odr_asan"))
            symbols.push_back(name);
    }
    EXPECT_THAT(symbols, UnorderedElementsAre("KTPluginInterfaceVersion", "KTPluginCreate"));
}

}  // namespace
}  // namespace kt::test
