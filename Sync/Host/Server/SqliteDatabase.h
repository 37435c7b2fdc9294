#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

#include <SQLiteCpp/SQLiteCpp.h>

#include "Sync/Foundation/Exception.h"

namespace kt {

/// Where a transaction keeps what does not fit into the cache.
enum class SqliteOverflow {
    inMemory,  // whoever reads the file is kept out only while it is committed
    inFile,    // of the device alone: memory stays small
};

/// What a database file has to be.
struct SqliteFormat {
    std::string_view name;  // in German messages: "Der Sync-Stand"
    std::int32_t
        applicationId;  // in the file's header, tells our two kinds of file from anyone else's
    std::span<const std::string_view> steps;  // the statements that lead from each version of the
                                              // tables to the next, from none on
    SqliteOverflow overflow = SqliteOverflow::inMemory;

    std::int32_t version() const { return static_cast<std::int32_t>(steps.size()); }
};

enum class SqliteAccess {
    readWrite,
    readOnly,     // a file that does not exist is an empty database in memory
    readCurrent,  // the same, but a file of an older version is refused
};

/// Bytes to be stored as such, not as text. Refers to what it was made from.
struct SqliteBytes {
    const std::string& bytes;
};

/// One connection to one file, with prepared statements kept for reuse. Every operation throws
/// Exception with a German reason; nothing else is thrown. For one thread at a time.
class SqliteDatabase {
public:
    /// Opens, or makes, the file. It is left alone when it is no database, another program's, or
    /// newer than `format`. `wait` bounds how long a lock of another connection is waited
    /// for.
    SqliteDatabase(const std::string& path, const SqliteFormat& format, SqliteAccess access,
                   std::chrono::milliseconds wait);
    ~SqliteDatabase();
    SqliteDatabase(const SqliteDatabase&) = delete;
    SqliteDatabase& operator=(const SqliteDatabase&) = delete;

    /// Begins a transaction that nobody else writes beside; false when another connection held the
    /// file longer than the waiting time.
    bool begin();
    void commit();
    void rollback() noexcept;
    bool isInTransaction() const { return _isInTransaction; }

    /// The statement of that text, made once, reset and unbound. The text has to outlive the
    /// database.
    SQLite::Statement& statement(const char* text);
    /// Binds the values in order and runs the statement to its end; the number of rows changed.
    template <class... Values>
    int run(const char* text, const Values&... values)
    {
        return guarded([&] {
            SQLite::Statement& prepared = statement(text);
            bindAll(prepared, values...);
            const int changed = prepared.exec();
            prepared.reset();
            return changed;
        });
    }
    /// Binds the values and calls `row` with the statement for every row of the result.
    template <class Row, class... Values>
    void each(const char* text, Row&& row, const Values&... values)
    {
        guarded([&] {
            SQLite::Statement& prepared = statement(text);
            bindAll(prepared, values...);
            while (prepared.executeStep())
                row(prepared);
            prepared.reset();
            return 0;
        });
    }

    /// Runs the body; a failure of the database becomes an Exception with a German reason.
    template <class Body>
    auto guarded(Body&& body) -> decltype(body())
    {
        try {
            return body();
        } catch (const SQLite::Exception& failure) {
            throw failed(failure);
        } catch (const Exception&) {
            throw;
        } catch (const std::exception& failure) {
            throw failed(failure.what());
        }
    }

private:
    template <class... Values>
    static void bindAll(SQLite::Statement& prepared, const Values&... values)
    {
        int index = 0;
        (bindOne(prepared, ++index, values), ...);
    }
    static void bindOne(SQLite::Statement& prepared, int index, std::int64_t value)
    {
        prepared.bind(index, value);
    }
    static void bindOne(SQLite::Statement& prepared, int index, const std::string& value)
    {
        prepared.bindNoCopy(index, value);
    }
    static void bindOne(SQLite::Statement& prepared, int index, const SqliteBytes& value)
    {
        prepared.bindNoCopy(index, value.bytes.data(), static_cast<int>(value.bytes.size()));
    }
    static void bindOne(SQLite::Statement& prepared, int index,
                        const std::optional<std::string>& value);

    void open(const std::string& path, SqliteAccess access, std::chrono::milliseconds wait);
    void checkFormat(const SqliteFormat& format);
    void makeTables(const SqliteFormat& format, SqliteAccess access);
    void continueInMemory();
    std::int64_t number(const char* query);
    Exception failed(const SQLite::Exception& failure) const;
    Exception failed(std::string_view reason) const;

    std::string _name;
    std::string _path;
    std::unique_ptr<SQLite::Database> _connection;
    std::unordered_map<const char*, std::unique_ptr<SQLite::Statement>> _statements;
    bool _isInTransaction = false;
};

/// A column's text, or nullopt for NULL.
std::optional<std::string> textOrNull(const SQLite::Statement& row, int column);

}  // namespace kt
