#pragma once

#include <memory>
#include <string>

namespace kt {

/// Keeps runs, readers and changes of preferences of one home apart, for as long as the object
/// lives. The system gives it back when a process ends, however it ends.
class HomeLock {
public:
    /// Creates the file if need be. Throws Exception NSGenericException, with a line for the user,
    /// when the lock is taken or the file cannot be opened.
    static std::unique_ptr<HomeLock> exclusive(const std::string& path);
    /// For readers: next to other readers, never next to a run. Creates nothing; without the file
    /// there has been no run and there is nothing to wait for.
    static std::unique_ptr<HomeLock> shared(const std::string& path);

    ~HomeLock();
    HomeLock(const HomeLock&) = delete;
    HomeLock& operator=(const HomeLock&) = delete;

private:
    explicit HomeLock(int descriptor) : _descriptor(descriptor) {}

    int _descriptor;  // -1 without a file
};

}  // namespace kt
