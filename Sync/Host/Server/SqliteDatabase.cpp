#include "Sync/Host/Server/SqliteDatabase.h"

#include <filesystem>
#include <system_error>

#include <SQLiteCpp/Backup.h>
#include <sqlite3.h>

#include "Sync/Foundation/Format.h"

namespace kt {

SqliteDatabase::SqliteDatabase(const std::string& path, const SqliteFormat& format,
                               SqliteAccess access, std::chrono::milliseconds wait)
    : _name(format.name),
      _path(path)
{
    guarded([&] {
        open(path, access, wait);
        if (format.overflow == SqliteOverflow::inMemory)
            _connection->exec("PRAGMA cache_spill = OFF");
        checkFormat(format);
        makeTables(format, access);
    });
}

SqliteDatabase::~SqliteDatabase() { rollback(); }

void SqliteDatabase::open(const std::string& path, SqliteAccess access,
                          std::chrono::milliseconds wait)
{
    std::error_code error;
    const bool isReadOnly = access != SqliteAccess::readWrite;
    if (isReadOnly && !std::filesystem::exists(path, error)) {
        _connection = std::make_unique<SQLite::Database>(":memory:", SQLite::OPEN_READWRITE |
                                                                         SQLite::OPEN_CREATE);
        return;
    }
    // A name that begins with "file:" is a file's name like any other.
    const std::string name = std::filesystem::absolute(path, error).string();
    // A connection is one thread's, so SQLite need not lock it for every column that is read.
    const int flags =
        SQLite::OPEN_NOMUTEX |
        (isReadOnly ? SQLite::OPEN_READONLY : SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
    _connection = std::make_unique<SQLite::Database>(error ? path : name, flags,
                                                     static_cast<int>(wait.count()));
}

std::int64_t SqliteDatabase::number(const char* query)
{
    SQLite::Statement prepared(*_connection, query);
    return prepared.executeStep() ? prepared.getColumn(0).getInt64() : 0;
}

// Looks before anything is written, so that a file that is not ours stays as it is.
void SqliteDatabase::checkFormat(const SqliteFormat& format)
{
    const bool isEmpty = number("SELECT count(*) FROM sqlite_master") == 0;
    if (isEmpty && number("PRAGMA user_version") == 0)
        return;
    if (number("PRAGMA application_id") != format.applicationId)
        throw failed("Die Datei gehört zu einem anderen Programm");
    if (number("PRAGMA user_version") > format.version())
        throw failed("Die Datei stammt von einer neueren Version");
}

void SqliteDatabase::makeTables(const SqliteFormat& format, SqliteAccess access)
{
    const auto isMade = [&] { return number("PRAGMA user_version") == format.version(); };
    if (isMade())
        return;
    if (access == SqliteAccess::readCurrent && number("PRAGMA user_version") > 0)
        throw failed("Die Datei stammt von einer älteren Version");
    // A file that was made and not filled yet, or that is of an older version, reads as what it is
    // going to be.
    if (sqlite3_db_readonly(_connection->getHandle(), "main") == 1)
        continueInMemory();
    SQLite::Transaction transaction(*_connection, SQLite::TransactionBehavior::IMMEDIATE);
    if (isMade())
        return;  // another process was faster
    for (auto version = number("PRAGMA user_version"); version < format.version(); ++version)
        _connection->exec(std::string(format.steps[static_cast<std::size_t>(version)]));
    _connection->exec(stringWithFormat("PRAGMA application_id = %d; PRAGMA user_version = %d",
                                       format.applicationId, format.version()));
    transaction.commit();
}

void SqliteDatabase::continueInMemory()
{
    constexpr int kAllPages = -1;
    auto copy = std::make_unique<SQLite::Database>(":memory:",
                                                   SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
    const int code = SQLite::Backup(*copy, *_connection).executeStep(kAllPages);
    if (code != SQLITE_DONE)
        throw SQLite::Exception(_connection->getHandle(), code);
    _connection = std::move(copy);
}

bool SqliteDatabase::begin()
{
    return guarded([&] {
        const bool isReadOnly = sqlite3_db_readonly(_connection->getHandle(), "main") == 1;
        // tryExec clears the error code of a connection that is merely busy.
        const int code = _connection->tryExec(isReadOnly ? "BEGIN" : "BEGIN IMMEDIATE");
        if (code == SQLITE_BUSY || code == SQLITE_LOCKED)
            return false;
        if (code != SQLITE_OK)
            throw SQLite::Exception(_connection->getHandle(), code);
        _isInTransaction = true;
        return true;
    });
}

void SqliteDatabase::commit()
{
    guarded([&] {
        _connection->exec("COMMIT");
        _isInTransaction = false;
        return 0;
    });
}

void SqliteDatabase::rollback() noexcept
{
    if (!_isInTransaction || !_connection)
        return;
    for (auto& [text, prepared] : _statements)
        prepared->tryReset();
    // A failure that already undid everything leaves nothing to roll back, which is as good.
    _connection->tryExec("ROLLBACK");
    _isInTransaction = false;
}

SQLite::Statement& SqliteDatabase::statement(const char* text)
{
    std::unique_ptr<SQLite::Statement>& prepared = _statements[text];
    if (!prepared)
        prepared = std::make_unique<SQLite::Statement>(*_connection, text);
    prepared->tryReset();
    prepared->clearBindings();
    return *prepared;
}

void SqliteDatabase::bindOne(SQLite::Statement& prepared, int index,
                             const std::optional<std::string>& value)
{
    if (value)
        prepared.bindNoCopy(index, *value);
    else
        prepared.bind(index);
}

Exception SqliteDatabase::failed(const SQLite::Exception& failure) const
{
    return failed(failure.getErrorCode() == SQLITE_NOTADB
                      ? std::string("Die Datei ist keine Datenbank")
                      : std::string(failure.what()));
}

Exception SqliteDatabase::failed(std::string_view reason) const
{
    return Exception(NSGenericException,
                     stringWithFormat("%@ '%@' ist nicht verfügbar: %@", _name, _path, reason));
}

std::optional<std::string> textOrNull(const SQLite::Statement& row, int column)
{
    if (row.isColumnNull(column))
        return std::nullopt;
    return row.getColumn(column).getString();
}

}  // namespace kt
