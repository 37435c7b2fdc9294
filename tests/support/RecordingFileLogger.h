#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Sync/HostInterface/KTFileLogger.h"

namespace kt::test {

/// Keeps every entry.
class RecordingFileLogger : public KTFileLogger {
public:
    void logEntry(std::string_view entry) override { _entries.emplace_back(entry); }

    const std::vector<std::string>& entries() const { return _entries; }
    void clear() { _entries.clear(); }

private:
    std::vector<std::string> _entries;
};

}  // namespace kt::test
