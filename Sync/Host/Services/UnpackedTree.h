#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Sync/Foundation/FileDescriptor.h"

namespace kt {

/// A tree of files that is being unpacked. Nothing that stands there is ever replaced or followed.
/// Every operation answers false when the disk does not take it.
class UnpackedTree {
public:
    struct Attributes {
        std::uint32_t permissions = 0;  // POSIX bits, 07777
        std::int64_t seconds = 0;       // of the last change, since 1970
        long nanoseconds = 0;
    };

    bool addFolder(const std::string& path, const Attributes& attributes);
    bool addLink(const std::string& path, const std::string& target, const Attributes& attributes);

    // A file, from its beginning to its end.
    bool beginFile(const std::string& path);
    bool addBytes(std::string_view bytes);  // long runs of zeros become holes
    bool endFile(const Attributes& attributes);

    /// Gives the folders their rights and times, which what came into them has changed.
    bool finish();

private:
    struct Folder {
        std::string path;
        Attributes attributes;
    };

    std::vector<Folder> _folders;  // each behind the one that it stands in
    FileDescriptor _file{-1};
    std::int64_t _size = 0;  // of the file so far
};

}  // namespace kt
