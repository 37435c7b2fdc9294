#pragma once

#include <string>
#include <string_view>

#include "Sync/Host/Services/LogFile.h"
#include "Sync/Host/Services/StatusLine.h"
#include "Sync/HostInterface/KTFileLogger.h"

namespace kt {

/// The sync log: each line goes to the file and to standard error.
class HostLog {
public:
    HostLog(std::string path, StatusLine& statusLine);

    void line(std::string_view message);

private:
    StatusLine& _statusLine;
    LogFile _file;
};

/// The detailed log, in a file of its own.
class HostFileLogger : public KTFileLogger {
public:
    HostFileLogger(std::string path, StatusLine& statusLine);

    void logEntry(std::string_view entry) override { _file.write(entry); }

private:
    LogFile _file;
};

}  // namespace kt
