#pragma once

#include <memory>
#include <string_view>
#include <utility>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

/// The dictionary of a record, shared by all that hold it: what a store gives goes through a whole
/// session as it is, and at a first upload that is everything.
class RecordContent {
public:
    RecordContent() : _dictionary(std::make_shared<const Dictionary>()) {}
    /// Not explicit: where a content is wanted, a dictionary will do.
    RecordContent(Dictionary dictionary)
        : _dictionary(std::make_shared<const Dictionary>(std::move(dictionary)))
    {}
    /// That of a record, which must not be null and lives as long as this.
    explicit RecordContent(const SyncRecord& record) : _dictionary(record, &record->record()) {}

    const Dictionary& dictionary() const { return *_dictionary; }
    operator const Dictionary&() const { return *_dictionary; }
    const Value& operator[](std::string_view key) const { return (*_dictionary)[key]; }

    /// Sets it here; who shares the content keeps it as it was.
    void set(std::string_view key, Value value)
    {
        Dictionary changed = *_dictionary;
        changed.set(key, std::move(value));
        *this = RecordContent(std::move(changed));
    }

private:
    std::shared_ptr<const Dictionary> _dictionary;  // never null
};

}  // namespace kt
