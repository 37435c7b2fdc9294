#include "Sync/Host/Publishing/ConnectionThreads.h"

#include <system_error>
#include <utility>

namespace kt {

thread_local bool ConnectionThreads::isOverloadedHere = false;

void ConnectionThreads::addThread()
{
    try {
        _threads.emplace_back([this] { work(); });
    } catch (const std::system_error&) {
        // The machine has no more; those that there are will do.
    }
}

ConnectionThreads::Place ConnectionThreads::findPlace(std::function<void()>& job)
{
    const std::lock_guard lock(_mutex);
    if (_open >= _threads.size() && _threads.size() < _limits.threads)
        addThread();
    if (_threads.empty() || _open >= _threads.size() + _limits.waiting)
        return Place::none;
    ++_open;
    _jobs.push_back(std::move(job));
    return Place::taken;
}

void ConnectionThreads::run(std::function<void()> job)
{
    if (findPlace(job) == Place::taken) {
        _hasJob.notify_one();
        return;
    }
    isOverloadedHere = true;
    job();
    isOverloadedHere = false;
}

void ConnectionThreads::work()
{
    std::unique_lock lock(_mutex);
    for (;;) {
        _hasJob.wait(lock, [this] { return !_jobs.empty() || _isEnding; });
        if (_jobs.empty())
            return;
        const std::function<void()> job = std::move(_jobs.front());
        _jobs.pop_front();
        lock.unlock();
        job();
        lock.lock();
        --_open;
    }
}

void ConnectionThreads::join()
{
    {
        const std::lock_guard lock(_mutex);
        _isEnding = true;
    }
    _hasJob.notify_all();
    for (std::thread& thread : _threads)
        thread.join();
}

}  // namespace kt
