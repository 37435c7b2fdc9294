#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

namespace spdlog::sinks {
class sink;
}

namespace kt {

/// A log on disk: one dated entry after another, the oldest megabytes dropped. The file is opened
/// with its first entry, so that a host that only looks leaves none behind, and nothing is written
/// while the write guard stands. Safe from every thread.
class LogFile {
public:
    /// `failed` is told once, with a line for the user, when the file cannot be written.
    LogFile(std::string path, std::function<void(std::string_view)> failed);
    ~LogFile();
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    void write(std::string_view entry);

private:
    void open();
    void giveUp();

    std::string _path;
    std::function<void(std::string_view)> _failed;
    std::mutex _mutex;
    std::shared_ptr<spdlog::sinks::sink> _sink;  // null until the first entry
    bool _hasGivenUp = false;
};

}  // namespace kt
