#include "Sync/Host/Services/HostLog.h"

#include <utility>

namespace kt {

HostLog::HostLog(std::string path, StatusLine& statusLine)
    : _statusLine(statusLine),
      _file(std::move(path), [&statusLine](std::string_view line) { statusLine.warn(line); })
{}

void HostLog::line(std::string_view message)
{
    _file.write(message);
    _statusLine.print(message);
}

HostFileLogger::HostFileLogger(std::string path, StatusLine& statusLine)
    : _file(std::move(path), [&statusLine](std::string_view line) { statusLine.warn(line); })
{}

}  // namespace kt
