// What each failing step of a rewrite in the 10.4 layout says, and what it leaves on disk.

#include <sys/stat.h>

#include "tests/Sync/PlugIns/iCal/Calendar/Layout104FailuresFixture.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST_F(Layout104Failures, DoNotHappenInThisOrderOfOperations)
{
    prepare();
    ASSERT_EQ(disk(), before);
    const auto files = failFileOperation(0);
    EXPECT_TRUE(rewrite());
    std::vector<std::string> operations;
    for (const std::string& operation : files->operations())
        operations.push_back(shortened(operation));
    EXPECT_THAT(
        operations,
        ElementsAre("removeFileAtPath plug-in/Sources.bak",
                    "copyPath Sources -> plug-in/Sources.bak", "removeFileAtPath Sources.bak",
                    "movePath Sources -> Sources.bak", "createDirectoryAtPath Sources",
                    "createDirectoryAtPath Sources/new.calendar",
                    "writeAtomically Sources/new.calendar/corestorage.ics",
                    "writeAtomically Sources/new.calendar/Info.plist",
                    "writeAtomically plug-in/nodes.plist",
                    "removeFileAtPath plug-in/nodes.plist.bak",
                    "copyPath nodes.plist -> plug-in/nodes.plist.bak",
                    "removeFileAtPath nodes.plist.bak", "movePath nodes.plist -> nodes.plist.bak",
                    "copyPath plug-in/nodes.plist -> nodes.plist", "synchronizeFileSystem ~iCal"));
    EXPECT_EQ(disk(), rewritten);
    EXPECT_THAT(errors(), IsEmpty());
    EXPECT_THAT(losses(), IsEmpty());
}

struct FailureRow {
    std::set<std::string> failing;
    bool result;
    std::vector<std::string> errors;
    Disk disk;

    friend void PrintTo(const FailureRow& row, std::ostream* out)
    {
        for (const std::string& operation : row.failing)
            *out << operation << "; ";
    }
};
class Layout104FailingStep : public Layout104Failures,
                             public ::testing::WithParamInterface<FailureRow> {};

INSTANTIATE_TEST_SUITE_P(
    BeforeTheCalendarsAreWritten, Layout104FailingStep,
    ::testing::Values(FailureRow{{"removeFileAtPath plug-in/Sources.bak"},
                                 true,
                                 {kNotSaved},
                                 {"new", "old", "new", "old", "older", "old", "new"}},
                      FailureRow{{"copyPath Sources -> plug-in/Sources.bak"},
                                 true,
                                 {kNotSaved},
                                 {"new", "old", "new", "old", "none", "old", "new"}},
                      // The folder stays where it is, so that no empty one can be made beside it.
                      FailureRow{{"removeFileAtPath Sources.bak"},
                                 false,
                                 {kNotMoved, kNotMade, kNotBack},
                                 {"old", "older", "old", "older", "old", "older", "older"}},
                      FailureRow{{"movePath Sources -> Sources.bak"},
                                 false,
                                 {kNotMoved, kNotMade, kNotBack},
                                 {"old", "none", "old", "older", "old", "older", "older"}},
                      FailureRow{{"createDirectoryAtPath Sources"},
                                 false,
                                 {kNotMade},
                                 {"old", "none", "old", "older", "old", "older", "older"}},
                      FailureRow{{"createDirectoryAtPath Sources",
                                  "movePath Sources.bak -> Sources"},
                                 false,
                                 {kNotMade, kNotBack},
                                 {"none", "old", "old", "older", "old", "older", "older"}}));

INSTANTIATE_TEST_SUITE_P(
    BeforeTheNodeFileIsMoved, Layout104FailingStep,
    ::testing::Values(FailureRow{{"writeAtomically plug-in/nodes.plist"},
                                 false,
                                 {kNodesNotWritten},
                                 {"new", "old", "old", "older", "old", "older", "older"}},
                      FailureRow{{"removeFileAtPath plug-in/nodes.plist.bak"},
                                 false,
                                 {kNodesNotSaved},
                                 {"new", "old", "old", "older", "old", "older", "new"}},
                      FailureRow{{"copyPath nodes.plist -> plug-in/nodes.plist.bak"},
                                 false,
                                 {kNodesNotSaved},
                                 {"new", "old", "old", "older", "old", "none", "new"}}));

INSTANTIATE_TEST_SUITE_P(
    TheNodeFileIsNotMoved, Layout104FailingStep,
    ::testing::Values(
        FailureRow{{"removeFileAtPath nodes.plist.bak"},
                   false,
                   {kNodesNotMoved},
                   {"old", "none", "old", "older", "old", "none", "new"}},
        FailureRow{{"movePath nodes.plist -> nodes.plist.bak"},
                   false,
                   {kNodesNotMoved},
                   {"old", "none", "old", "none", "old", "none", "new"}},
        // The steps of the restore are not checked: each of the others is taken all the same.
        FailureRow{{"movePath nodes.plist -> nodes.plist.bak", "removeFileAtPath Sources"},
                   false,
                   {kNodesNotMoved},
                   {"new", "old", "old", "none", "old", "none", "new"}},
        FailureRow{{"movePath nodes.plist -> nodes.plist.bak", "movePath Sources.bak -> Sources"},
                   false,
                   {kNodesNotMoved},
                   {"none", "old", "old", "none", "old", "none", "new"}},
        FailureRow{{"movePath nodes.plist -> nodes.plist.bak", "removeFileAtPath nodes.plist"},
                   false,
                   {kNodesNotMoved},
                   {"old", "none", "old", "none", "old", "old", "new"}},
        FailureRow{{"movePath nodes.plist -> nodes.plist.bak",
                    "movePath plug-in/nodes.plist.bak -> nodes.plist"},
                   false,
                   {kNodesNotMoved},
                   {"old", "none", "none", "none", "old", "old", "new"}}));

INSTANTIATE_TEST_SUITE_P(
    TheNodeFileIsNotReplaced, Layout104FailingStep,
    ::testing::Values(FailureRow{{"copyPath plug-in/nodes.plist -> nodes.plist"},
                                 false,
                                 {kNodesNotReplaced},
                                 {"old", "none", "old", "none", "old", "old", "new"}},
                      FailureRow{{"copyPath plug-in/nodes.plist -> nodes.plist",
                                  "removeFileAtPath Sources"},
                                 false,
                                 {kNodesNotReplaced},
                                 {"new", "old", "old", "none", "old", "old", "new"}},
                      FailureRow{{"copyPath plug-in/nodes.plist -> nodes.plist",
                                  "movePath Sources.bak -> Sources"},
                                 false,
                                 {kNodesNotReplaced},
                                 {"none", "old", "old", "none", "old", "old", "new"}},
                      FailureRow{{"copyPath plug-in/nodes.plist -> nodes.plist",
                                  "movePath nodes.plist.bak -> nodes.plist"},
                                 false,
                                 {kNodesNotReplaced},
                                 {"old", "none", "none", "old", "old", "old", "new"}}));

TEST_P(Layout104FailingStep, SaysSoOnBothLogsAndLeavesThisOnDisk)
{
    prepare();
    const auto files = failing(GetParam().failing);
    EXPECT_EQ(rewrite(), GetParam().result);
    std::set<std::string> failed;
    for (const std::string& operation : files->operations())
        failed.insert(shortened(operation));
    for (const std::string& operation : GetParam().failing)
        EXPECT_TRUE(failed.contains(operation)) << operation << " was never tried";
    EXPECT_EQ(errors(), GetParam().errors);
    for (const std::string& line : GetParam().errors)
        EXPECT_THAT(helper.messages(), ::testing::Contains(line));
    EXPECT_EQ(disk(), GetParam().disk);
}

TEST_F(Layout104Failures, OfACalendarsOwnFilesAreToldAndTheRestGoesOn)
{
    for (const std::string file : {"corestorage.ics", "Info.plist"}) {
        prepare();
        failing({"writeAtomically Sources/new.calendar/" + file});
        EXPECT_TRUE(rewrite());
        EXPECT_EQ(disk().nodes, "new");
        EXPECT_EQ(losses().back(),
                  (KTLoss{"Privat", home.path(kICal + "Sources/new.calendar"),
                          "Die Ereignisse und Aufgaben konnten nicht vollständig geschrieben "
                          "werden"}));
    }
    EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(Layout104Failures, ToSynchroniseAreNoFailureOfTheRewrite)
{
    prepare();
    failing({"synchronizeFileSystem ~iCal"});
    EXPECT_TRUE(rewrite());
    EXPECT_EQ(disk(), rewritten);
    EXPECT_THAT(errors(), ElementsAre("Das Dateisystem konnte nicht synchronisiert werden: " +
                                      home.path("Library/Application Support/iCal")));
}

TEST_F(Layout104Failures, WithoutOldSourcesGoOnAfterTwoLines)
{
    writeNodes({});
    EXPECT_TRUE(rewrite());
    EXPECT_EQ(errors(), (std::vector<std::string>{kNotSaved, kNotMoved}));
    EXPECT_EQ(disk(), (Disk{"new", "none", "new", "empty", "none", "empty", "new"}));
}

TEST_F(Layout104Failures, ToMakeTheFoldersEndInTheSameWay)
{
    // Neither folder can be made, so every step fails.
    home.write("Library", "a plain file");
    EXPECT_FALSE(rewrite());
    EXPECT_EQ(errors(), (std::vector<std::string>{kNotSaved, kNotMoved, kNotMade, kNotBack}));
    EXPECT_EQ(home.read("Library"), "a plain file");
}

TEST_F(Layout104Failures, BehindAWriteGuardChangeNothing)
{
    prepare();
    const WriteGuard guard;
    EXPECT_FALSE(rewrite());
    EXPECT_EQ(disk(), before);
}

TEST_F(Layout104Failures, OnOneItemOfAFolderStopTheCopyWithTheHandlersLine)
{
    prepare();
    // What is neither file, folder nor link cannot be copied.
    ASSERT_EQ(::mkfifo(home.path(kICal + "Sources/a.pipe").c_str(), 0600), 0);
    EXPECT_TRUE(rewrite());
    const Dictionary error{{"Error", "Error copying"},
                           {"Path", home.path(kICal + "Sources/a.pipe")},
                           {"ToPath", home.path(kPlugin + "Sources.bak/a.pipe")}};
    EXPECT_EQ(errors(), (std::vector<std::string>{stringWithFormat("filemanager error: %@", error),
                                                  kNotSaved}));
    EXPECT_EQ(helper.messages()[0], errors()[0]);
    EXPECT_EQ(disk().sourcesBackup, "empty");
    EXPECT_TRUE(home.exists(kICal + "Sources.bak/a.pipe"));
}

/// Notes with which handler the operations on whole folders were asked for. The node file cannot be
/// replaced, so that the restore is seen too.
class HandlersOfOperations : public FailingFileManager {
public:
    explicit HandlersOfOperations(const FileManagerHandler* expected)
        : FailingFileManager(makePosixFileManager(), 0),
          _expected(expected)
    {}

    std::vector<std::string> withHandler, without;

    bool copyPath(const std::string& source, const std::string& destination,
                  FileManagerHandler* handler) override
    {
        note("copy " + lastPathComponent(source), handler);
        const bool isLast = lastPathComponent(destination) == "nodes.plist";
        return !isLast && FailingFileManager::copyPath(source, destination, handler);
    }
    bool movePath(const std::string& source, const std::string& destination,
                  FileManagerHandler* handler) override
    {
        note("move " + lastPathComponent(source), handler);
        return FailingFileManager::movePath(source, destination, handler);
    }
    bool removeFileAtPath(const std::string& path, FileManagerHandler* handler) override
    {
        note("remove " + lastPathComponent(path), handler);
        return FailingFileManager::removeFileAtPath(path, handler);
    }

private:
    void note(std::string operation, const FileManagerHandler* handler)
    {
        (handler == _expected ? withHandler : without).push_back(std::move(operation));
    }

    const FileManagerHandler* _expected;
};

TEST_F(Layout104Failures, AskTheStoreForEveryCopyAndMoveAndTheFirstRemovalAlone)
{
    prepare();
    const auto files = std::make_shared<HandlersOfOperations>(store.get());
    Platform::shared().setFileManager(files);
    EXPECT_FALSE(rewrite());
    EXPECT_THAT(files->withHandler,
                ElementsAre("remove Sources.bak", "copy Sources", "move Sources",
                            "copy nodes.plist", "move nodes.plist", "copy nodes.plist",
                            "move Sources.bak", "move nodes.plist.bak"));
    EXPECT_THAT(files->without,
                ElementsAre("remove Sources.bak", "remove nodes.plist.bak",
                            "remove nodes.plist.bak", "remove Sources", "remove nodes.plist"));
}

// Every operation, one after the other.

TEST_F(Layout104Failures, OfAnySingleOperationLeaveAStoreThatOpensAndTheNextRewriteSucceeds)
{
    for (std::size_t number = 1;; ++number) {
        SCOPED_TRACE(number);
        prepare();
        const auto files = failFileOperation(number);
        const bool isRewritten = rewrite();
        if (!files->hasFailed()) {
            EXPECT_TRUE(isRewritten);
            EXPECT_EQ(number, 16u);
            return;
        }
        Platform::shared().setFileManager(makePosixFileManager());
        const Disk after = disk();
        EXPECT_EQ(after.nodes, isRewritten ? "new" : "old");
        EXPECT_TRUE(after.sources == "old" || after.sourcesAside == "old");
        EXPECT_TRUE(store->calendars().has_value());
        EXPECT_TRUE(rewrite());
        EXPECT_EQ(disk().sources, "new");
        EXPECT_EQ(disk().nodes, "new");
        EXPECT_THAT(titles(readStore()), ElementsAre("Privat"));
    }
}

TEST_F(Layout104Failures, OfEverythingFromOneOperationOnNeverLoseTheOldStore)
{
    for (std::size_t number = 1;; ++number) {
        SCOPED_TRACE(number);
        prepare();
        const auto files =
            failFileOperation(number, FailingFileManager::Afterwards::everythingFails);
        const bool isRewritten = rewrite();
        if (!files->hasFailed())
            break;
        const Disk after = disk();
        EXPECT_TRUE(after.sources == "old" || after.sourcesAside == "old");
        EXPECT_TRUE(after.nodes == "old" || after.nodesAside == "old");
        // Once the node file is in place only synchronising can fail.
        EXPECT_EQ(isRewritten, number == 15);
    }
}

}  // namespace
}  // namespace kt::test
