#pragma once

#include <string>
#include <string_view>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/Host/Engine/RecordPast.h"

namespace kt {

/// A record as a binary property list, for state files and servers, with its past beside it. Dates
/// with a zone, and texts that a property list cannot hold (half a surrogate pair, NUL), come back
/// as they were. Throws Exception NSInvalidArgumentException for objects that are no dates.
std::string encodedRecord(const Dictionary& record, const RecordPast& past = {});

struct StoredRecord {
    Dictionary record;
    RecordPast past{};
};

/// The record of such bytes. Throws Exception with a German reason when they are none.
StoredRecord storedRecord(std::string_view bytes);
/// The same without its past.
Dictionary decodedRecord(std::string_view bytes);

/// How much of a record a hash takes in.
enum class HashScope {
    whole,    // everything
    neutral,  // without what changes by itself, zones, and the keys of other records
    simple,   // only the texts and dates that every layout keeps, without zones
};

/// Equal for equal records, whatever the order of their keys; 40 hexadecimal digits.
std::string contentHash(const Dictionary& record, HashScope scope = HashScope::whole);

}  // namespace kt
