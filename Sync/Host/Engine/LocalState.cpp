#include "Sync/Host/Engine/LocalState.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "Sync/Host/Engine/LocalStateDatabase.h"
#include "Sync/Host/Engine/RecordCoding.h"
#include "Sync/Host/Server/RandomIdentifier.h"

namespace kt {

namespace {

constexpr const char* kDevice = "device";
constexpr const char* kServer = "server";
constexpr const char* kAnchor = "anchor";
constexpr const char* kAnchorAfterSettling = "anchor after settling";
constexpr const char* kOwed = "owed";
constexpr const char* kMark = "mark";
constexpr const char* kSystemVersion = "system version";
constexpr const char* kPutBack = "put back";
constexpr const char* kFoldersUnderWay = "folders under way";
constexpr const char* kLoadInVain = "load in vain";
constexpr const char* kUnreadTextsChanged = "unread texts changed";

AgreedRow agreedRowAt(SQLite::Statement& row)
{
    return {{row.getColumn(0).getString(), row.getColumn(1).getString()},
            textOrNull(row, 2),
            row.getColumn(3).getInt64(),
            row.getColumn(4).getString()};
}

SeenRow seenRowAt(SQLite::Statement& row)
{
    SeenRow seen;
    seen.row = row.getColumn(0).getInt64();
    seen.local = {row.getColumn(1).getString(), row.getColumn(2).getString()};
    seen.agreedKey = textOrNull(row, 3);
    seen.localParentKey = textOrNull(row, 4);
    seen.hash = row.getColumn(5).getString();
    seen.timezone = row.getColumn(6).getString();
    seen.place = {row.getColumn(7).getString(), row.getColumn(8).getString(),
                  row.getColumn(9).getString()};
    return seen;
}

// What no name can hold stands between them.
constexpr char kBetweenNames = '/';

std::optional<std::string> joined(const std::vector<std::string>& names)
{
    std::optional<std::string> text;
    for (const std::string& name : names)
        text = text ? *text + kBetweenNames + name : name;
    return text;
}

std::vector<std::string> namesIn(const std::string& text)
{
    std::vector<std::string> names;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find(kBetweenNames, begin), text.size());
        names.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return names;
}

void makeFolderOf(const std::string& path)
{
    // A folder that cannot be made shows when the file is opened.
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
}

}  // namespace

LocalState::LocalState(std::string path, StateAccess access)
{
    if (access == StateAccess::readWrite)
        makeFolderOf(path);
    _database = std::make_unique<Database>(path, access);
    _database->deviceId = _database->fact(kDevice).value_or("");
    if (!_database->deviceId.empty())
        return;
    // Two processes may meet here; the first one's id is everybody's.
    _database->file.run("INSERT OR IGNORE INTO facts (name, value) VALUES (?, ?)",
                        std::string(kDevice), randomIdentifier());
    _database->deviceId = _database->fact(kDevice).value_or("");
}

LocalState::~LocalState() = default;

const std::string& LocalState::path() const { return _database->path; }

const std::string& LocalState::deviceId() const { return _database->deviceId; }

StateAccess LocalState::access() const { return _database->access; }

bool LocalState::begin() { return _database->file.begin(); }

void LocalState::commit() { _database->file.commit(); }

void LocalState::rollback() noexcept { _database->file.rollback(); }

std::int64_t LocalState::versionOfOthers()
{
    std::int64_t version = 0;
    _database->file.each("PRAGMA data_version",
                         [&](auto& row) { version = row.getColumn(0).getInt64(); });
    return version;
}

bool LocalState::isOpen() const { return _database->file.isInTransaction(); }

StateFacts LocalState::facts()
{
    StateFacts facts;
    facts.serverIdentity = _database->fact(kServer).value_or("");
    facts.anchor = _database->number(kAnchor);
    facts.anchorAfterSettling = _database->number(kAnchorAfterSettling);
    facts.owed = _database->number(kOwed) != 0;
    facts.mark = _database->fact(kMark);
    facts.systemVersion = static_cast<int>(_database->number(kSystemVersion));
    facts.unreadTextsChanged = _database->number(kUnreadTextsChanged);
    facts.loadInVain = _database->fact(kLoadInVain).value_or("");
    facts.isPutBack = _database->number(kPutBack) != 0;
    facts.foldersUnderWay = namesIn(_database->fact(kFoldersUnderWay).value_or(""));
    return facts;
}

void LocalState::setFacts(const StateFacts& facts)
{
    _database->setFact(kServer, facts.serverIdentity.empty() ? std::nullopt
                                                             : std::optional(facts.serverIdentity));
    _database->setNumber(kAnchor, facts.anchor);
    _database->setNumber(kAnchorAfterSettling, facts.anchorAfterSettling);
    _database->setNumber(kOwed, facts.owed ? 1 : 0);
    _database->setFact(kMark, facts.mark);
    _database->setNumber(kSystemVersion, facts.systemVersion);
    _database->setNumber(kUnreadTextsChanged, facts.unreadTextsChanged);
    _database->setNumber(kPutBack, facts.isPutBack ? 1 : 0);
    _database->setFact(kFoldersUnderWay, facts.mark ? joined(facts.foldersUnderWay) : std::nullopt);
    _database->setFact(kLoadInVain,
                       facts.loadInVain.empty() ? std::nullopt : std::optional(facts.loadInVain));
}

std::vector<AgreedRow> LocalState::agreedRows()
{
    std::vector<AgreedRow> rows;
    rows.reserve(_database->count("SELECT count(*) FROM agreed"));
    _database->file.each(
        "SELECT conduit, key, parent_key, revision, hash FROM agreed ORDER BY conduit, key",
        [&](auto& row) { rows.push_back(agreedRowAt(row)); });
    return rows;
}

std::vector<AgreedRow> LocalState::agreedRows(const std::vector<RecordId>& ids)
{
    std::vector<AgreedRow> rows;
    for (const RecordId& id : ids)
        _database->file.each(
            "SELECT conduit, key, parent_key, revision, hash FROM agreed WHERE conduit = ? AND key "
            "= ?",
            [&](auto& row) { rows.push_back(agreedRowAt(row)); }, id.conduit, id.key);
    return rows;
}

Dictionary LocalState::agreedRecord(const RecordId& id)
{
    return decodedRecord(_database->agreedBytes(id));
}

RecordPast LocalState::agreedPast(const RecordId& id)
{
    return storedRecord(_database->agreedBytes(id)).past;
}

void LocalState::setAgreed(const AgreedRow& row, const Dictionary& record, const RecordPast& past)
{
    const std::string bytes = encodedRecord(record, past);
    _database->file.run(
        "INSERT OR REPLACE INTO agreed (conduit, key, parent_key, revision, hash, record)"
        " VALUES (?, ?, ?, ?, ?, ?)",
        row.id.conduit, row.id.key, row.parentKey, row.revision, row.hash, SqliteBytes{bytes});
}

void LocalState::setAgreedRevision(const RecordId& id, std::int64_t revision)
{
    _database->file.run("UPDATE agreed SET revision = ? WHERE conduit = ? AND key = ?", revision,
                        id.conduit, id.key);
}

void LocalState::clearAgreedRevisions() { _database->file.run("UPDATE agreed SET revision = 0"); }

void LocalState::removeAgreed(const RecordId& id)
{
    _database->file.run("DELETE FROM agreed WHERE conduit = ? AND key = ?", id.conduit, id.key);
}

std::vector<SeenRow> LocalState::seenRows()
{
    std::vector<SeenRow> rows;
    rows.reserve(_database->count("SELECT count(*) FROM seen"));
    _database->file.each(
        "SELECT id, conduit, local_key, agreed_key, local_parent_key, hash, timezone, uid, file, "
        "recurrence FROM seen ORDER BY id",
        [&](auto& row) { rows.push_back(seenRowAt(row)); });
    return rows;
}

std::vector<SeenRow> LocalState::seenRows(const std::vector<std::int64_t>& numbers)
{
    std::vector<SeenRow> rows;
    for (const std::int64_t number : numbers)
        _database->file.each(
            "SELECT id, conduit, local_key, agreed_key, local_parent_key, hash, timezone, uid, "
            "file, recurrence FROM seen WHERE id = ?",
            [&](auto& row) { rows.push_back(seenRowAt(row)); }, number);
    return rows;
}

Dictionary LocalState::seenRecord(const SeenRow& row)
{
    std::string bytes;
    _database->file.each(
        "SELECT record FROM seen WHERE id = ?",
        [&](auto& found) { bytes = found.getColumn(0).getString(); }, row.row);
    return decodedRecord(bytes);
}

void LocalState::addSeen(const SeenRow& row, const Dictionary& record)
{
    const std::string bytes = encodedRecord(record);
    _database->file.run(
        "INSERT INTO seen (conduit, local_key, agreed_key, local_parent_key, hash, timezone, uid, "
        "file, recurrence, record) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)",
        row.local.conduit, row.local.key, row.agreedKey, row.localParentKey, row.hash, row.timezone,
        row.place.uid, row.place.file, row.place.recurrence, SqliteBytes{bytes});
}

void LocalState::setSeen(const SeenRow& row, const Dictionary& record)
{
    const std::string bytes = encodedRecord(record);
    _database->file.run(
        "UPDATE seen SET conduit = ?, local_key = ?, agreed_key = ?, local_parent_key = ?, hash = "
        "?, timezone = ?, uid = ?, file = ?, recurrence = ?, record = ? WHERE id = ?",
        row.local.conduit, row.local.key, row.agreedKey, row.localParentKey, row.hash, row.timezone,
        row.place.uid, row.place.file, row.place.recurrence, SqliteBytes{bytes}, row.row);
}

void LocalState::removeSeen(const SeenRow& row)
{
    _database->file.run("DELETE FROM seen WHERE id = ?", row.row);
}

std::vector<KeptRow> LocalState::keptRows()
{
    std::vector<KeptRow> rows;
    _database->file.each(
        "SELECT conduit, key, parent_key, hash, uid, file, recurrence, agreed_key FROM kept ORDER "
        "BY conduit, key",
        [&](auto& row) {
            rows.push_back({{row.getColumn(0).getString(), row.getColumn(1).getString()},
                            textOrNull(row, 2),
                            row.getColumn(3).getString(),
                            {row.getColumn(4).getString(), row.getColumn(5).getString(),
                             row.getColumn(6).getString()},
                            textOrNull(row, 7)});
        });
    return rows;
}

Dictionary LocalState::keptRecord(const RecordId& id)
{
    return decodedRecord(_database->keptBytes(id));
}

RecordPast LocalState::keptPast(const RecordId& id)
{
    return storedRecord(_database->keptBytes(id)).past;
}

void LocalState::setKept(const KeptRow& row, const Dictionary& record, const RecordPast& past)
{
    const std::string bytes = encodedRecord(record, past);
    _database->file.run(
        "INSERT OR REPLACE INTO kept (conduit, key, parent_key, hash, uid, file, recurrence, "
        "agreed_key, record) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)",
        row.id.conduit, row.id.key, row.parentKey, row.hash, row.place.uid, row.place.file,
        row.place.recurrence, row.agreedKey, SqliteBytes{bytes});
}

void LocalState::removeKept(const RecordId& id)
{
    _database->file.run("DELETE FROM kept WHERE conduit = ? AND key = ?", id.conduit, id.key);
}

void LocalState::clear()
{
    for (const char* statement :
         {"DELETE FROM agreed", "DELETE FROM seen", "DELETE FROM kept", "DELETE FROM untaken",
          "DELETE FROM unread", "DELETE FROM unread_text", "DELETE FROM pushed",
          "DELETE FROM facts WHERE name <> 'device'"})
        _database->file.run(statement);
}

}  // namespace kt
