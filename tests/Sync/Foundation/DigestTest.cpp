#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Sync/Foundation/Digest.h"

namespace kt {
namespace {

using testing::TestWithParam;
using testing::Values;

// RFC 1321 and FIPS 180.
struct Row {
    std::string bytes;
    std::string md5;
    std::string sha1;
    std::string sha256;
};

class DigestKnown : public TestWithParam<Row> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, DigestKnown,
    Values(Row{"", "d41d8cd98f00b204e9800998ecf8427e", "da39a3ee5e6b4b0d3255bfef95601890afd80709",
               "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
           Row{"abc", "900150983cd24fb0d6963f7d28e17f72",
               "a9993e364706816aba3e25717850c26c9cd0d89d",
               "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
           Row{"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
               "8215ef0796a20bcaaae116d3876c664a", "84983e441c3bd26ebaae4aa1f95129e5e54670f1",
               "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
           Row{std::string(1'000'000, 'a'), "7707d6ae4e027c70eea2a935c2296f21",
               "34aa973cd4c4daa4f61eeb2bdbad27316534016f",
               "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"}));

TEST_P(DigestKnown, IsLowerCaseHexadecimal)
{
    EXPECT_EQ(md5DigestHex(GetParam().bytes), GetParam().md5);
    EXPECT_EQ(sha1DigestHex(GetParam().bytes), GetParam().sha1);
    EXPECT_EQ(sha256DigestHex(GetParam().bytes), GetParam().sha256);
    SHA256Stream stream;
    for (const char byte : std::string(GetParam().bytes))
        stream.add(std::string_view(&byte, 1));
    EXPECT_EQ(stream.hexText(), GetParam().sha256);
    EXPECT_EQ(hexText(sha1DigestBytes(GetParam().bytes)), GetParam().sha1);
}

std::string hexadecimal(const Data& digest)
{
    std::string hex;
    for (const char byte : digest.bytes) {
        hex += "0123456789abcdef"[static_cast<unsigned char>(byte) >> 4];
        hex += "0123456789abcdef"[static_cast<unsigned char>(byte) & 0xF];
    }
    return hex;
}

TEST_P(DigestKnown, IsTheSameInBytes)
{
    EXPECT_EQ(hexadecimal(md5Digest(GetParam().bytes)), GetParam().md5);
    EXPECT_EQ(hexadecimal(sha1Digest(GetParam().bytes)), GetParam().sha1);
    EXPECT_EQ(hexadecimal(sha256Digest(GetParam().bytes)), GetParam().sha256);
}

TEST(Digest, IsComputedInSeveralThreadsAtOnce)
{
    std::vector<std::string> results(4);
    std::vector<std::thread> threads;
    for (std::string& result : results)
        threads.emplace_back([&result] {
            for (int round = 0; round < 1000; ++round)
                result = sha1DigestHex("abc");
        });
    for (std::thread& thread : threads)
        thread.join();
    for (const std::string& result : results)
        EXPECT_EQ(result, "a9993e364706816aba3e25717850c26c9cd0d89d");
}

}  // namespace
}  // namespace kt
