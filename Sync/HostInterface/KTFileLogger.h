#pragma once

#include <string_view>

#include "Sync/Foundation/Format.h"

namespace kt {

/// The host's detailed log file. Owned by the host, outlives the plug-in's use of it.
class KTFileLogger {
public:
    virtual ~KTFileLogger() = default;

    /// One entry.
    virtual void logEntry(std::string_view entry) = 0;

    /// log: a format and its arguments.
    template <class... Arguments>
    void log(std::string_view format, const Arguments&... arguments)
    {
        logEntry(stringWithFormat(format, arguments...));
    }
};

/// Logging to nil does nothing.
template <class... Arguments>
void logTo(KTFileLogger* fileLogger, std::string_view format, const Arguments&... arguments)
{
    if (fileLogger != nullptr)
        fileLogger->log(format, arguments...);
}

}  // namespace kt
