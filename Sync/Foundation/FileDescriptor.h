#pragma once

#include <cerrno>
#include <string_view>
#include <utility>

#include <unistd.h>

namespace kt {

/// An open file, closed at the end of the scope.
class FileDescriptor {
public:
    explicit FileDescriptor(int descriptor) : _descriptor(descriptor) {}
    ~FileDescriptor() { close(); }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    bool isOpen() const { return _descriptor >= 0; }
    int get() const { return _descriptor; }
    /// Closes it and takes another in its place.
    void reset(int descriptor)
    {
        close();
        _descriptor = descriptor;
    }
    /// False when the file system reports a late write error.
    bool close()
    {
        const int descriptor = std::exchange(_descriptor, -1);
        return descriptor < 0 || ::close(descriptor) == 0;
    }

private:
    int _descriptor;
};

/// Writes all of it, however many calls that takes.
inline bool writeFully(int descriptor, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

}  // namespace kt
