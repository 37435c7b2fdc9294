#pragma once

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Sync/Host/Engine/HostEnhancedDate.h"
#include "Sync/Host/Engine/RecordCoding.h"
#include "Sync/Host/Publishing/PublishedDate.h"
#include "Sync/Host/Server/Sharings.h"
#include "Sync/Host/Server/SqliteServer.h"
#include "tests/support/TemporaryFolder.h"

namespace kt::test {

inline constexpr const char* kBerlin = "Europe/Berlin";

/// The wall clock of "20071224T100000".
inline CalendarDate clockOf(const std::string& text)
{
    const auto clock = CalendarDate::dateWithString(text, "%Y%m%dT%H%M%S");
    if (!clock)
        throw std::invalid_argument(text);
    return *clock;
}

/// As records hold them: "20071224T100000" in a zone, "20071224" all-day.
inline Value recordDate(const std::string& text, const std::string& zone = kBerlin)
{
    const bool isAllDay = text.size() == 8;
    return EnhancedDate(
        std::make_shared<HostEnhancedDate>(clockOf(isAllDay ? text + "T000000" : text), zone,
                                           isAllDay));
}

/// The same as others see it.
inline PublishedDate publishedDate(const std::string& text, const std::string& zone = kBerlin)
{
    return PublishedDate::fromRecord(recordDate(text, zone)).value();
}

inline Dictionary calendarRecord(const std::string& title)
{
    return {{"Title", title},         {"Color", "#0E61B9FF"}, {"Notes", "Für alle"},
            {"Type", "CalendarNode"}, {"Order", 1},           {"SourceKey", "S"}};
}

inline Dictionary eventRecord(const std::string& title, const std::string& start,
                              const std::string& end = "")
{
    Dictionary record{{"Title", title},
                      {"ParentRecordKey", "C1"},
                      {"StartDate", recordDate(start)}};
    if (!end.empty())
        record.set("EndDate", recordDate(end));
    return record;
}

inline Dictionary taskRecord(const std::string& title)
{
    return {{"Title", title}, {"ParentRecordKey", "C1"}, {"Completed", false}};
}

/// A rule's sub-dictionary.
inline Dictionary ruleRecord(const std::string& frequency, Dictionary more = {})
{
    Dictionary rule{{"Frequency", frequency}, {"Interval", 1}};
    rule.merge(more);
    return rule;
}

/// A server whose records a test puts in itself.
class FilledServer {
public:
    FilledServer() { put("ical-calendar", "C1", calendarRecord("Verein")); }

    std::string path() const { return _folder.path("server.sqlite"); }
    std::string url() const { return "sqlite:" + path(); }
    std::string bytes() const { return _folder.read("server.sqlite").value(); }

    void put(const std::string& conduit, const std::string& key, const Dictionary& record)
    {
        putAll({{conduit, key, record}});
    }

    struct Item {
        std::string conduit;
        std::string key;
        Dictionary record;
    };
    /// In one session.
    void putAll(const std::vector<Item>& items)
    {
        std::vector<ServerWrite> writes;
        for (const Item& item : items) {
            ServerWrite write;
            write.id = {item.conduit, item.key};
            if (const Value& parent = item.record["ParentRecordKey"]; parent.isString())
                write.parentKey = parent.string();
            write.hash = contentHash(item.record);
            write.content = encodedRecord(item.record);
            writes.push_back(std::move(write));
        }
        const auto session = open(ServerAccess::readWrite);
        session->write(writes);
        session->commit();
    }

    void erase(const std::string& conduit, const std::string& key)
    {
        ServerWrite write;
        write.id = {conduit, key};
        write.isDeletion = true;
        const auto session = open(ServerAccess::readWrite);
        session->write({&write, 1});
        session->commit();
    }

    void share(const std::string& options, const std::string& key = "C1",
               const std::string& secret = "secret")
    {
        const auto session = open(ServerAccess::readWrite);
        session->sharings()->share(
            {{"ical-calendar", key}, "RO", options, secret, "2007-12-01T08:00:00Z"});
        session->commit();
    }

    void unshare(const std::string& key = "C1")
    {
        const auto session = open(ServerAccess::readWrite);
        session->sharings()->unshare({"ical-calendar", key});
        session->commit();
    }

    std::unique_ptr<SyncServerSession> open(ServerAccess access = ServerAccess::readOnly) const
    {
        OpenedSession opened = SqliteServer(path()).openSession("default", "test", access);
        if (!opened.session)
            throw std::runtime_error(opened.reason);
        return std::move(opened.session);
    }

private:
    TemporaryFolder _folder;
};

}  // namespace kt::test
