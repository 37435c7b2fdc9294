#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Sync/Host/Publishing/PublishedCalendar.h"
#include "Sync/Host/Server/Sharings.h"
#include "Sync/Host/Server/SyncServer.h"

namespace kt {

/// Reads what is public of an account off its server, and never writes. What cannot be read of it
/// is not shown. Every operation throws Exception with a German reason when the server fails.
class PublishedCalendarReader {
public:
    /// The session outlives the reader.
    explicit PublishedCalendarReader(SyncServerSession& session) : _session(session) {}

    /// In the order in which their owner has them. What was made public and is not on the server
    /// yet, or any more, is not among them, and neither are groups.
    std::vector<PublishedHead> heads();
    /// Nullopt for a key that stands for nothing public.
    std::optional<PublishedCalendar> calendar(const std::string& key);

    /// Changes whenever something of what the calendar shows may have changed; nullopt for what is
    /// not public. Cheap: looks at no item.
    std::optional<std::string> state(const std::string& key);

private:
    struct Entry {
        PublishedHead head;
        Sharing sharing;
    };
    std::vector<Entry> entries();
    std::optional<Entry> entry(const std::string& key);

    SyncServerSession& _session;
};

}  // namespace kt
