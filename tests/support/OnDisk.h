#pragma once

#include <memory>
#include <string>
#include <utility>

#include "Sync/Foundation/Platform.h"

namespace kt::test {

/// Work on the disk and in the home of one machine, for the length of a scope. Scopes nest; what
/// was in force outside is put back.
class OnDisk {
public:
    OnDisk(std::string home, std::shared_ptr<FileManager> disk)
        : _homeBefore(Platform::shared().homeDirectory()),
          _diskBefore(std::exchange(inForce(), disk))
    {
        Platform::shared().setHomeDirectory(std::move(home));
        Platform::shared().setFileManager(std::move(disk));
    }
    ~OnDisk()
    {
        Platform::shared().setHomeDirectory(_homeBefore);
        Platform::shared().setFileManager(_diskBefore);
        inForce() = _diskBefore;
    }
    OnDisk(const OnDisk&) = delete;
    OnDisk& operator=(const OnDisk&) = delete;

private:
    /// Null for the machine that the tests run on.
    static std::shared_ptr<FileManager>& inForce()
    {
        static std::shared_ptr<FileManager> disk;
        return disk;
    }

    std::string _homeBefore;
    std::shared_ptr<FileManager> _diskBefore;
};

}  // namespace kt::test
