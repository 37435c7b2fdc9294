#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "Sync/Host/Server/SyncServer.h"

namespace kt {

/// A server that is one SQLite file, on this machine or a shared folder: `sqlite:PATH`. One session
/// at a time, of whatever account and device; the others wait for its end.
class SqliteServer : public SyncServer {
public:
    /// Touches nothing yet. `wait` bounds how long another session is waited for.
    explicit SqliteServer(std::string path,
                          std::chrono::milliseconds wait = std::chrono::seconds(20));

    OpenedSession openSession(std::string_view account, std::string_view deviceId,
                              ServerAccess access) override;
    void setAccountEnabled(std::string_view account, bool enabled) override;
    std::string description() const override;

private:
    std::string _path;
    std::chrono::milliseconds _wait;
};

}  // namespace kt
