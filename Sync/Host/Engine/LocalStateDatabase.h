#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "Sync/Host/Engine/LocalState.h"
#include "Sync/Host/Engine/LocalStateFormat.h"
#include "Sync/Host/Server/SqliteDatabase.h"

namespace kt {

// Another run of the same device is told to the user at once rather than waited for.
inline constexpr std::chrono::milliseconds kWait{200};

inline SqliteAccess sqliteAccess(StateAccess access)
{
    return access == StateAccess::readOnly ? SqliteAccess::readOnly : SqliteAccess::readWrite;
}

/// What LocalState keeps open: its file, and the facts in it.
struct LocalState::Database {
    Database(const std::string& filePath, StateAccess stateAccess)
        : file(filePath, localStateFormat(), sqliteAccess(stateAccess), kWait),
          path(filePath),
          access(stateAccess)
    {}

    std::optional<std::string> fact(const std::string& name)
    {
        std::optional<std::string> value;
        file.each(
            "SELECT value FROM facts WHERE name = ?",
            [&](auto& row) { value = textOrNull(row, 0); }, name);
        return value;
    }

    void setFact(const std::string& name, const std::optional<std::string>& value)
    {
        if (fact(name) == value)
            return;
        if (value)
            file.run("INSERT OR REPLACE INTO facts (name, value) VALUES (?, ?)", name, *value);
        else
            file.run("DELETE FROM facts WHERE name = ?", name);
    }

    std::int64_t number(const std::string& name)
    {
        const auto value = fact(name);
        return value ? Value(*value).longLongValue() : 0;
    }

    void setNumber(const std::string& name, std::int64_t number)
    {
        setFact(name, number == 0 ? std::nullopt : std::optional(std::to_string(number)));
    }

    /// Of a query that gives one number of rows.
    std::size_t count(const char* query)
    {
        std::size_t rows = 0;
        file.each(query,
                  [&](auto& row) { rows = static_cast<std::size_t>(row.getColumn(0).getInt64()); });
        return rows;
    }

    std::string agreedBytes(const RecordId& id)
    {
        return bytesOf("SELECT record FROM agreed WHERE conduit = ? AND key = ?", id);
    }
    std::string keptBytes(const RecordId& id)
    {
        return bytesOf("SELECT record FROM kept WHERE conduit = ? AND key = ?", id);
    }
    std::string bytesOf(const char* statement, const RecordId& id)
    {
        std::string bytes;
        file.each(
            statement, [&](auto& row) { bytes = row.getColumn(0).getString(); }, id.conduit,
            id.key);
        return bytes;
    }

    SqliteDatabase file;
    std::string path;
    StateAccess access;
    std::string deviceId;
};

}  // namespace kt
