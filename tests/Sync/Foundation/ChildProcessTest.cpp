#include <cerrno>
#include <chrono>
#include <optional>
#include <thread>

#include <gtest/gtest.h>
#include <sys/wait.h>

#include "Sync/Foundation/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

namespace kt {
namespace {

using test::TemporaryFolder;

/// What a program leaves in a file under its final name.
std::optional<std::string> awaitedFile(const TemporaryFolder& folder, const std::string& name)
{
    for (int round = 0; round < 6000; ++round) {
        if (auto contents = folder.read(name))
            return contents;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return std::nullopt;
}

TEST(ChildProcess, StartsAProgramWithItsArguments)
{
    const TemporaryFolder folder;
    const std::string script = R"(printf '%s|' "$@" > "$0.new" && mv "$0.new" "$0")";
    ASSERT_TRUE(
        startDetachedProcess("/bin/sh", {"-c", script, folder.path("out"), "a b", "", "$c"}));
    EXPECT_EQ(awaitedFile(folder, "out"), "a b||$c|");
}

TEST(ChildProcess, LooksANameUpInThePath)
{
    EXPECT_TRUE(startDetachedProcess("true", {}));
    EXPECT_FALSE(startDetachedProcess("surely-no-program-of-that-name", {}));
}

TEST(ChildProcess, SaysWhenItCannotStart)
{
    const TemporaryFolder folder;
    folder.write("no-program", "text");
    EXPECT_FALSE(startDetachedProcess(folder.path("no-program"), {}));
    EXPECT_FALSE(startDetachedProcess(folder.path("missing"), {}));
    EXPECT_FALSE(startDetachedProcess(folder.path(), {}));
    EXPECT_FALSE(startDetachedProcess("", {}));
}

TEST(ChildProcess, DoesNotWaitAndLeavesNoChildBehind)
{
    // The program goes on only when this test does; it gives up by itself after a while.
    const TemporaryFolder folder;
    const std::string script =
        R"(for i in $(seq 600); do [ -e "$0.go" ] && break; sleep 0.05; done; echo "$i" > "$0.new" && mv "$0.new" "$0")";
    ASSERT_TRUE(startDetachedProcess("/bin/sh", {"-c", script, folder.path("out")}));
    EXPECT_FALSE(folder.exists("out"));
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
    folder.write("out.go", "");
    const auto out = awaitedFile(folder, "out");
    ASSERT_TRUE(out.has_value());
    EXPECT_NE(*out, "600\n");
}

TEST(ChildProcess, GivesTheProgramNoneOfItsOwnStreams)
{
    const TemporaryFolder folder;
    const std::string script =
        R"(readlink /proc/self/fd/0 /proc/self/fd/1 /proc/self/fd/2 > "$0.new"; [ -t 0 ] || ls /proc/$$/fd | wc -l >> "$0.new"; mv "$0.new" "$0")";
    testing::internal::CaptureStdout();
    ASSERT_TRUE(startDetachedProcess("/bin/sh", {"-c", "echo noise; echo noise >&2; " + script,
                                                 folder.path("out")}));
    const auto out = awaitedFile(folder, "out");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    ASSERT_TRUE(out.has_value());
    EXPECT_TRUE(out->starts_with("/dev/null\n")) << *out;
}

}  // namespace
}  // namespace kt
