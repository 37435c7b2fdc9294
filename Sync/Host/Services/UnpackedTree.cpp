#include "Sync/Host/Services/UnpackedTree.h"

#include <array>
#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Sync/Foundation/Platform.h"

namespace kt {

namespace {

bool mayWrite() { return !Platform::shared().isWriteGuarded(); }

std::array<timespec, 2> timesIn(const UnpackedTree::Attributes& attributes)
{
    std::array<timespec, 2> times{};
    times[0].tv_nsec = UTIME_OMIT;
    times[1].tv_sec = static_cast<time_t>(attributes.seconds);
    times[1].tv_nsec = attributes.nanoseconds;
    return times;
}

bool isAllZeros(std::string_view bytes)
{
    return bytes.find_first_not_of('\0') == std::string_view::npos;
}

bool writeAt(int file, std::string_view bytes, std::int64_t offset)
{
    while (!bytes.empty()) {
        const ssize_t written = ::pwrite(file, bytes.data(), bytes.size(), offset);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        bytes.remove_prefix(static_cast<std::size_t>(written));
        offset += written;
    }
    return true;
}

}  // namespace

bool UnpackedTree::addFolder(const std::string& path, const Attributes& attributes)
{
    if (!mayWrite() || ::mkdir(path.c_str(), 0700) != 0)
        return false;
    _folders.push_back({path, attributes});
    return true;
}

bool UnpackedTree::addLink(const std::string& path, const std::string& target,
                           const Attributes& attributes)
{
    return mayWrite() && ::symlink(target.c_str(), path.c_str()) == 0 &&
           ::utimensat(AT_FDCWD, path.c_str(), timesIn(attributes).data(), AT_SYMLINK_NOFOLLOW) ==
               0;
}

bool UnpackedTree::beginFile(const std::string& path)
{
    _size = 0;
    _file.reset(mayWrite() ? ::open(path.c_str(),
                                    O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600)
                           : -1);
    return _file.isOpen();
}

bool UnpackedTree::addBytes(std::string_view bytes)
{
    constexpr std::size_t kShortestHole = 4096;  // bytes
    const bool isHole = bytes.size() >= kShortestHole && isAllZeros(bytes);
    if (!isHole && !writeAt(_file.get(), bytes, _size))
        return false;
    _size += static_cast<std::int64_t>(bytes.size());
    return true;
}

bool UnpackedTree::endFile(const Attributes& attributes)
{
    const bool isLike = ::ftruncate(_file.get(), _size) == 0 &&
                        ::fchmod(_file.get(), attributes.permissions) == 0 &&
                        ::futimens(_file.get(), timesIn(attributes).data()) == 0;
    return _file.close() && isLike;
}

bool UnpackedTree::finish()
{
    bool isDone = true;
    for (auto folder = _folders.rbegin(); folder != _folders.rend(); ++folder) {
        const auto& [path, attributes] = *folder;
        isDone = ::chmod(path.c_str(), attributes.permissions) == 0 &&
                 ::utimensat(AT_FDCWD, path.c_str(), timesIn(attributes).data(), 0) == 0 && isDone;
    }
    _folders.clear();
    return isDone;
}

}  // namespace kt
