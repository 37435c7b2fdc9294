#pragma once

#include <cstddef>
#include <list>
#include <memory>
#include <mutex>
#include <string>

#include "Sync/Host/Publishing/PublishedCalendar.h"
#include "Sync/Host/Server/SyncServer.h"

namespace kt {

/// A calendar as it was read, and its file.
struct CachedCalendar {
    PublishedCalendar calendar;
    std::string file;
};

/// Keeps the calendars that were asked for last, each until something on the server changes, so
/// that a page need not read ten thousand records. Whether a calendar is public at all is asked of
/// the server every time. For several threads.
class CalendarCache {
public:
    explicit CalendarCache(std::size_t capacity = 8) : _capacity(capacity) {}

    /// Null for a key that stands for nothing public. Throws Exception when the server fails.
    std::shared_ptr<const CachedCalendar> calendar(SyncServerSession& session,
                                                   const std::string& key);

private:
    struct Entry {
        std::string key;
        std::string state;
        std::shared_ptr<const CachedCalendar> calendar;
    };
    std::shared_ptr<const CachedCalendar> find(const std::string& key, const std::string& state);
    void keep(Entry entry);

    std::size_t _capacity;
    std::mutex _mutex;
    std::list<Entry> _entries;  // the latest first
};

}  // namespace kt
