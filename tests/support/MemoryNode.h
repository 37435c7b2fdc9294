#pragma once

#include <map>
#include <memory>
#include <string>

#include "tests/support/MemoryFileManager.h"

namespace kt::test {

/// A file or a folder of the disk in memory.
struct MemoryFileManager::Node {
    FileStatus status;
    std::shared_ptr<const std::string> content;             // of a file
    std::map<std::string, std::shared_ptr<Node>> children;  // of a folder

    bool isFolder() const { return status.kind == FileStatus::Kind::directory; }
};

}  // namespace kt::test
