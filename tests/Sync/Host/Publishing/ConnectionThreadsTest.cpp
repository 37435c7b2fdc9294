#include <atomic>
#include <future>
#include <thread>

#include <gtest/gtest.h>

#include "Sync/Host/Publishing/ConnectionThreads.h"

namespace kt::test {
namespace {

TEST(ConnectionThreads, RunEachJobBesideTheOthers)
{
    constexpr int kJobs = 40;
    ConnectionThreads threads({kJobs, 0});
    std::promise<void> end;
    const std::shared_future<void> isEnding = end.get_future().share();
    std::atomic<int> running{0};
    std::promise<void> all;
    for (int job = 0; job < kJobs; ++job) {
        threads.run([&] {
            if (++running == kJobs)
                all.set_value();
            isEnding.wait();
        });
    }
    all.get_future().wait();
    end.set_value();
    threads.join();
    EXPECT_EQ(running, kJobs);
}

TEST(ConnectionThreads, TellAJobThatItIsOneTooMany)
{
    ConnectionThreads threads({1, 1});
    std::promise<void> end;
    const std::shared_future<void> isEnding = end.get_future().share();
    std::promise<void> begin;
    std::atomic<int> done{0};
    threads.run([&] {
        begin.set_value();
        isEnding.wait();
        done += ConnectionThreads::isOverloaded() ? 100 : 1;
    });
    begin.get_future().wait();
    threads.run([&] { done += ConnectionThreads::isOverloaded() ? 100 : 10; });
    bool isTooMany = false;
    std::thread::id thread;
    threads.run([&] {
        isTooMany = ConnectionThreads::isOverloaded();
        thread = std::this_thread::get_id();
    });
    EXPECT_TRUE(isTooMany);
    EXPECT_EQ(thread, std::this_thread::get_id());
    EXPECT_FALSE(ConnectionThreads::isOverloaded());
    end.set_value();
    threads.join();
    EXPECT_EQ(done, 11);
}

}  // namespace
}  // namespace kt::test
