#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace kt {

/// Runs one job a connection, each on a thread of its own as long as there may be more threads;
/// most of them wait for slow clients. Threads are made when they are needed and kept.
class ConnectionThreads {
public:
    struct Limits {
        std::size_t threads = 256;
        std::size_t waiting = 256;  // jobs without a thread
    };

    explicit ConnectionThreads(const Limits& limits) : _limits(limits) {}

    /// Where there are too many already, the job runs at once, and isOverloaded() holds in it.
    void run(std::function<void()> job);
    /// Waits for the end of every job; to be called once, at the end.
    void join();

    /// Whether the job that asks is one too many: it keeps everyone else waiting.
    static bool isOverloaded() { return isOverloadedHere; }

private:
    enum class Place { taken, none };

    void addThread();
    Place findPlace(std::function<void()>& job);
    void work();

    static thread_local bool isOverloadedHere;

    Limits _limits;
    std::mutex _mutex;
    std::condition_variable _hasJob;
    std::deque<std::function<void()>> _jobs;
    std::vector<std::thread> _threads;
    std::size_t _open = 0;  // jobs that are not done
    bool _isEnding = false;
};

}  // namespace kt
