#pragma once

#include <optional>
#include <set>
#include <string>

#include "tests/support/MemoryFileManager.h"

namespace kt::test {

/// A disk in memory on which files can be for a while that nobody can read.
class DiskWithReadErrors : public MemoryFileManager {
public:
    std::set<std::string> unreadable;  // paths

    std::optional<std::string> contentsAtPath(const std::string& path) const override
    {
        return unreadable.count(path) != 0 ? std::nullopt : MemoryFileManager::contentsAtPath(path);
    }
};

}  // namespace kt::test
