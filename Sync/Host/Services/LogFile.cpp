#include "Sync/Host/Services/LogFile.h"

#include <utility>

#include <spdlog/details/log_msg.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/rotating_file_sink.h>

#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/Platform.h"

namespace kt {

namespace {

constexpr std::size_t kLargestFile = 4 * 1024 * 1024;  // bytes
constexpr std::size_t kOlderFiles = 3;

}  // namespace

LogFile::LogFile(std::string path, std::function<void(std::string_view)> failed)
    : _path(std::move(path)),
      _failed(std::move(failed))
{}

LogFile::~LogFile() = default;

void LogFile::write(std::string_view entry)
{
    const std::lock_guard lock(_mutex);
    if (_hasGivenUp || Platform::shared().isWriteGuarded())
        return;
    try {
        if (!_sink)
            open();
        const spdlog::string_view_t text(entry.data(), entry.size());
        _sink->log(spdlog::details::log_msg("", spdlog::level::info, text));
        _sink->flush();
    } catch (const spdlog::spdlog_ex&) {
        giveUp();
    }
}

void LogFile::open()
{
    _sink =
        std::make_shared<spdlog::sinks::rotating_file_sink_st>(_path, kLargestFile, kOlderFiles);
    _sink->set_formatter(std::make_unique<spdlog::pattern_formatter>("%Y-%m-%d %H:%M:%S.%e  %v"));
}

void LogFile::giveUp()
{
    _hasGivenUp = true;
    _sink.reset();
    _failed(stringWithFormat("Das Protokoll \"%@\" kann nicht geschrieben werden.", _path));
}

}  // namespace kt
