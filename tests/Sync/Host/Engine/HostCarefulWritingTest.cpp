#include <gtest/gtest.h>

#include "Sync/Host/Engine/HostCarefulWriting.h"

namespace kt {
namespace {

KTLoss unread(const std::string& file, const std::string& uid = "", const std::string& digest = "")
{
    KTLoss loss{"Privat", file, "unlesbar"};
    loss.uid = uid;
    loss.digest = digest;
    return loss;
}

TEST(HostCarefulWriting, GivesUpNothingByItself)
{
    EXPECT_FALSE(HostCarefulWriting().isGivenUp(unread("/a.ics")));
}

TEST(HostCarefulWriting, GivesUpExactlyWhatItWasTold)
{
    HostCarefulWriting writing;
    writing.giveUp({unread("/a.ics", "uid", "1")});
    KTLoss asked = unread("/a.ics", "uid", "1");
    asked.reason.clear();
    asked.calendar = "Anders";
    EXPECT_TRUE(writing.isGivenUp(asked)) << "titles and reasons tell no texts apart";
    EXPECT_FALSE(writing.isGivenUp(unread("/b.ics", "uid", "1")));
    EXPECT_FALSE(writing.isGivenUp(unread("/a.ics", "anders", "1")));
    EXPECT_FALSE(writing.isGivenUp(unread("/a.ics", "uid", "2")));
    asked.extent = KTLoss::Extent::calendar;
    EXPECT_FALSE(writing.isGivenUp(asked));
}

TEST(HostCarefulWriting, PassesFoldersOnToWhoeverNotesThem)
{
    HostCarefulWriting careful;
    EXPECT_TRUE(careful.noteFolders({"A.calendar"}));
    std::vector<std::string> noted;
    careful.noteFoldersWith([&](const std::vector<std::string>& names) {
        noted = names;
        return false;
    });
    careful.setLeftBehind({"B.calendar"});
    EXPECT_FALSE(careful.noteFolders({"A.calendar"}));
    EXPECT_EQ(noted, std::vector<std::string>{"A.calendar"});
    EXPECT_EQ(careful.foldersLeftBehind(), std::vector<std::string>{"B.calendar"});
    careful.clear();
    EXPECT_TRUE(careful.noteFolders({"A.calendar"}));
    EXPECT_TRUE(careful.foldersLeftBehind().empty());
}

TEST(HostCarefulWriting, ForgetsWhatItGaveUpBefore)
{
    HostCarefulWriting writing;
    writing.giveUp({unread("/a.ics")});
    writing.giveUp({unread("/b.ics")});
    EXPECT_FALSE(writing.isGivenUp(unread("/a.ics")));
    writing.clear();
    EXPECT_FALSE(writing.isGivenUp(unread("/b.ics")));
}

}  // namespace
}  // namespace kt
