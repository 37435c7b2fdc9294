#include "Sync/Host/Engine/LocalStateFormat.h"

namespace kt {

namespace {

constexpr std::string_view kSchema = R"(
CREATE TABLE facts (
    name TEXT PRIMARY KEY,
    value TEXT NOT NULL
) WITHOUT ROWID;
CREATE TABLE agreed (
    conduit TEXT NOT NULL,
    key TEXT NOT NULL,
    parent_key TEXT,
    revision INTEGER NOT NULL,
    hash TEXT NOT NULL,
    record BLOB NOT NULL,
    PRIMARY KEY (conduit, key)
);
CREATE TABLE seen (
    id INTEGER PRIMARY KEY,
    conduit TEXT NOT NULL,
    local_key TEXT NOT NULL,
    agreed_key TEXT,
    local_parent_key TEXT,
    hash TEXT NOT NULL,
    timezone TEXT NOT NULL,
    record BLOB NOT NULL
);
CREATE TABLE kept (
    conduit TEXT NOT NULL,
    key TEXT NOT NULL,
    parent_key TEXT,
    hash TEXT NOT NULL,
    record BLOB NOT NULL,
    PRIMARY KEY (conduit, key)
);
CREATE TABLE untaken (
    conduit TEXT NOT NULL,
    key TEXT NOT NULL,
    parent_key TEXT,
    revision INTEGER NOT NULL,
    offers INTEGER NOT NULL,
    refused INTEGER NOT NULL,
    PRIMARY KEY (conduit, key)
);
)";

// Where a record stands in the store, and what cannot be read there.
constexpr std::string_view kUnreadTexts = R"(
ALTER TABLE seen ADD COLUMN uid TEXT NOT NULL DEFAULT '';
ALTER TABLE seen ADD COLUMN file TEXT NOT NULL DEFAULT '';
ALTER TABLE kept ADD COLUMN uid TEXT NOT NULL DEFAULT '';
ALTER TABLE kept ADD COLUMN file TEXT NOT NULL DEFAULT '';
CREATE TABLE unread (
    whose INTEGER NOT NULL,
    conduit TEXT NOT NULL,
    key TEXT NOT NULL,
    since INTEGER NOT NULL,
    PRIMARY KEY (whose, conduit, key)
) WITHOUT ROWID;
CREATE TABLE unread_text (
    name TEXT PRIMARY KEY,
    since INTEGER NOT NULL
) WITHOUT ROWID;
)";

// What tells the occurrences of a series apart, which share its UID; and what is about to be
// pushed.
constexpr std::string_view kIdentity = R"(
ALTER TABLE seen ADD COLUMN recurrence TEXT NOT NULL DEFAULT '';
ALTER TABLE kept ADD COLUMN recurrence TEXT NOT NULL DEFAULT '';
CREATE TABLE pushed (
    conduit TEXT NOT NULL,
    key TEXT NOT NULL,
    hash TEXT NOT NULL,
    local_key TEXT NOT NULL,
    local_parent_key TEXT,
    local_hash TEXT NOT NULL,
    timezone TEXT NOT NULL,
    uid TEXT NOT NULL,
    file TEXT NOT NULL,
    recurrence TEXT NOT NULL,
    record BLOB,
    PRIMARY KEY (conduit, key)
) WITHOUT ROWID;
)";

// What the others know a switched-off calendar as. Until then its key alone said that.
constexpr std::string_view kSwitchedOff = R"(
ALTER TABLE kept ADD COLUMN agreed_key TEXT;
UPDATE kept SET agreed_key = coalesce(
    (SELECT seen.agreed_key FROM seen
     WHERE seen.conduit = kept.conduit AND seen.local_key = kept.key AND
           seen.agreed_key IS NOT NULL
     ORDER BY seen.agreed_key <> seen.local_key LIMIT 1),
    (SELECT agreed.key FROM agreed
     WHERE agreed.conduit = kept.conduit AND agreed.key = kept.key AND NOT EXISTS
           (SELECT 1 FROM seen
            WHERE seen.conduit = agreed.conduit AND seen.agreed_key = agreed.key)))
WHERE conduit = 'ical-calendar';
)";

constexpr std::string_view kSteps[] = {kSchema, kUnreadTexts, kIdentity, kSwitchedOff};
constexpr SqliteFormat kFormat{"Der lokale Sync-Stand", 0x4B544C53 /* KTLS */, kSteps,
                               SqliteOverflow::inFile};

}  // namespace

const SqliteFormat& localStateFormat() { return kFormat; }

}  // namespace kt
