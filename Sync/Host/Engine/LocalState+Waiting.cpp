// What waits for a later run: what was not taken, what cannot be read, what was about to be pushed.

#include <utility>

#include "Sync/Host/Engine/LocalStateDatabase.h"
#include "Sync/Host/Engine/RecordCoding.h"

namespace kt {

std::vector<UntakenRow> LocalState::untakenRows()
{
    std::vector<UntakenRow> rows;
    _database->file.each(
        "SELECT conduit, key, parent_key, revision, offers, refused FROM untaken ORDER BY conduit, "
        "key",
        [&](auto& row) {
            rows.push_back({{row.getColumn(0).getString(), row.getColumn(1).getString()},
                            textOrNull(row, 2),
                            row.getColumn(3).getInt64(),
                            row.getColumn(4).getInt(),
                            row.getColumn(5).getInt() != 0});
        });
    return rows;
}

void LocalState::setUntaken(const UntakenRow& row)
{
    _database->file.run(
        "INSERT OR REPLACE INTO untaken (conduit, key, parent_key, revision, offers, refused)"
        " VALUES (?, ?, ?, ?, ?, ?)",
        row.id.conduit, row.id.key, row.parentKey, row.revision,
        static_cast<std::int64_t>(row.offers), static_cast<std::int64_t>(row.refused ? 1 : 0));
}

void LocalState::removeUntaken(const RecordId& id)
{
    _database->file.run("DELETE FROM untaken WHERE conduit = ? AND key = ?", id.conduit, id.key);
}

std::vector<UnreadRow> LocalState::unreadRows()
{
    std::vector<UnreadRow> rows;
    _database->file.each(
        "SELECT whose, conduit, key, since FROM unread ORDER BY whose, conduit, key",
        [&](auto& row) {
            rows.push_back({static_cast<UnreadRow::Whose>(row.getColumn(0).getInt()),
                            {row.getColumn(1).getString(), row.getColumn(2).getString()},
                            row.getColumn(3).getInt64()});
        });
    return rows;
}

void LocalState::setUnread(const UnreadRow& row)
{
    _database->file.run(
        "INSERT OR REPLACE INTO unread (whose, conduit, key, since) VALUES (?, ?, ?, ?)",
        static_cast<std::int64_t>(row.whose), row.id.conduit, row.id.key, row.since);
}

void LocalState::removeUnread(const UnreadRow& row)
{
    _database->file.run("DELETE FROM unread WHERE whose = ? AND conduit = ? AND key = ?",
                        static_cast<std::int64_t>(row.whose), row.id.conduit, row.id.key);
}

std::vector<UnreadTextRow> LocalState::unreadTexts()
{
    std::vector<UnreadTextRow> rows;
    _database->file.each("SELECT name, since FROM unread_text ORDER BY name", [&](auto& row) {
        rows.push_back({row.getColumn(0).getString(), row.getColumn(1).getInt64()});
    });
    return rows;
}

void LocalState::setUnreadText(const UnreadTextRow& row)
{
    _database->file.run("INSERT OR REPLACE INTO unread_text (name, since) VALUES (?, ?)", row.name,
                        row.since);
}

void LocalState::removeUnreadText(const std::string& name)
{
    _database->file.run("DELETE FROM unread_text WHERE name = ?", name);
}

std::vector<PushedRow> LocalState::pushedRows()
{
    std::vector<PushedRow> rows;
    _database->file.each(
        "SELECT conduit, key, hash, local_key, local_parent_key, local_hash, timezone, uid, file, "
        "recurrence FROM pushed ORDER BY conduit, key",
        [&](auto& row) {
            PushedRow pushed;
            pushed.hash = row.getColumn(2).getString();
            pushed.seen.local = {row.getColumn(0).getString(), row.getColumn(3).getString()};
            pushed.seen.agreedKey = row.getColumn(1).getString();
            pushed.seen.localParentKey = textOrNull(row, 4);
            pushed.seen.hash = row.getColumn(5).getString();
            pushed.seen.timezone = row.getColumn(6).getString();
            pushed.seen.place = {row.getColumn(7).getString(), row.getColumn(8).getString(),
                                 row.getColumn(9).getString()};
            rows.push_back(std::move(pushed));
        });
    return rows;
}

std::optional<Dictionary> LocalState::pushedRecord(const PushedRow& row)
{
    std::optional<std::string> bytes;
    _database->file.each(
        "SELECT record FROM pushed WHERE conduit = ? AND key = ?",
        [&](auto& found) { bytes = textOrNull(found, 0); }, row.seen.local.conduit,
        *row.seen.agreedKey);
    return bytes ? std::optional(decodedRecord(*bytes)) : std::nullopt;
}

void LocalState::setPushed(const PushedRow& row, const std::optional<Dictionary>& record)
{
    constexpr const char* kInsert =
        "INSERT OR REPLACE INTO pushed (conduit, key, hash, local_key, local_parent_key, "
        "local_hash, timezone, uid, file, recurrence, record) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, "
        "?, ?)";
    const SeenRow& seen = row.seen;
    const auto insert = [&](const auto& content) {
        _database->file.run(kInsert, seen.local.conduit, *seen.agreedKey, row.hash, seen.local.key,
                            seen.localParentKey, seen.hash, seen.timezone, seen.place.uid,
                            seen.place.file, seen.place.recurrence, content);
    };
    if (!record)
        return insert(std::optional<std::string>());
    const std::string bytes = encodedRecord(*record);
    insert(SqliteBytes{bytes});
}

void LocalState::clearPushed()
{
    // To delete nothing changes the file, too.
    bool isEmpty = true;
    _database->file.each("SELECT 1 FROM pushed LIMIT 1", [&](auto&) { isEmpty = false; });
    if (!isEmpty)
        _database->file.run("DELETE FROM pushed");
}

}  // namespace kt
