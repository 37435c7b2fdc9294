#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/FileManager.h"
#include "Sync/Host/Services/IconFile.h"

namespace kt {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string kPng = "\x89PNG\r\n\x1a\n";

std::string bigEndian(std::size_t number)
{
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes += static_cast<char>(number >> shift & 0xFF);
    return bytes;
}

std::string entry(const std::string& type, const std::string& picture)
{
    return type + bigEndian(8 + picture.size()) + picture;
}

std::string icon(const std::string& entries)
{
    return "icns" + bigEndian(8 + entries.size()) + entries;
}

TEST(IconFile, GivesItsPngPicturesInOrder)
{
    EXPECT_THAT(pngPicturesOfIcon(icon(entry("icp4", kPng + "klein") + entry("il32", "anders") +
                                       entry("ic07", kPng + "groß"))),
                ElementsAre(kPng + "klein", kPng + "groß"));
}

struct BrokenRow {
    const char* what;
    std::string bytes;
};
class BrokenIconFile : public testing::TestWithParam<BrokenRow> {};
INSTANTIATE_TEST_SUITE_P(
    Bytes, BrokenIconFile,
    testing::Values(BrokenRow{"empty", ""}, BrokenRow{"short", "icns\0\0"},
                    BrokenRow{"another kind", "icnt" + icon(entry("ic07", kPng)).substr(4)},
                    BrokenRow{"half a header", icon("ic07")},
                    BrokenRow{"length below its own header", icon("ic07" + bigEndian(7) + kPng)},
                    BrokenRow{"length of nothing", icon("ic07" + bigEndian(0) + kPng)},
                    BrokenRow{"length beyond the end", icon("ic07" + bigEndian(17) + kPng)},
                    BrokenRow{"largest length", icon("ic07" + bigEndian(0xFFFFFFFF) + kPng)}));

TEST_P(BrokenIconFile, GivesNothing)
{
    EXPECT_THAT(pngPicturesOfIcon(GetParam().bytes), IsEmpty()) << GetParam().what;
}

TEST(IconFile, GivesWhatStandsBeforeTheDamage)
{
    const std::string damaged = icon(entry("ic07", kPng) + "ic08" + bigEndian(1));
    EXPECT_THAT(pngPicturesOfIcon(damaged), ElementsAre(kPng));
}

TEST(IconFile, OfThePluginHoldsAPictureForEachSize)
{
    const auto bytes = FileManager::defaultManager().contentsAtPath(
        std::string(KT_SOURCE_DIR) + "/Sync/PlugIns/iCal/Resources/iCal.icns");
    ASSERT_TRUE(bytes);
    EXPECT_EQ(pngPicturesOfIcon(*bytes).size(), 7u);
}

}  // namespace
}  // namespace kt
