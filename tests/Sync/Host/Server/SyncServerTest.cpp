#include <string>

#include <gtest/gtest.h>

#include "Sync/Foundation/Exception.h"
#include "Sync/Host/Server/SyncServer.h"

namespace kt::test {
namespace {

TEST(SyncServerWithURL, MakesAServerOfAFile)
{
    EXPECT_EQ(syncServerWithURL("sqlite:/tmp/a.db")->description(), "sqlite:/tmp/a.db");
}

class UnknownURLs : public testing::TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(Rows, UnknownURLs,
                         testing::Values("", "sqlite:", "/tmp/a.db", "https://example.invalid",
                                         "SQLITE:/tmp/a.db"));

TEST_P(UnknownURLs, AreRefusedByName)
{
    try {
        syncServerWithURL(GetParam());
        FAIL() << "taken";
    } catch (const Exception& exception) {
        EXPECT_EQ(exception.reason(),
                  "Unbekannte Server-Adresse '" + GetParam() + "' (erwartet: sqlite:PFAD)");
    }
}

}  // namespace
}  // namespace kt::test
