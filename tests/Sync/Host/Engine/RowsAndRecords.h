#pragma once

#include <memory>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "Sync/Host/Engine/HostIdentityReport.h"
#include "Sync/Host/Engine/HostSyncRecord.h"
#include "Sync/Host/Engine/Knowledge.h"
#include "Sync/Host/Engine/RecordCoding.h"
#include "tests/support/TemporaryFolder.h"

namespace kt::test {

/// Rows of a state and records of a load, for what is told from both. What a record belongs to
/// stands in its content.
class RowsAndRecords : public testing::Test {
protected:
    RowsAndRecords() { identities.begin(); }

    static RecordId calendarId(const std::string& key)
    {
        return {std::string(kConduitCalendar), key};
    }
    static RecordId taskId(const std::string& key) { return {std::string(kConduitTask), key}; }

    static Dictionary titled(const std::string& title)
    {
        return {{"Title", title}, {"Type", "CalendarNode"}};
    }
    static Dictionary in(const std::string& calendar)
    {
        return {{"Title", "Titel"}, {"ParentRecordKey", calendar}};
    }
    static StorePlace folderAt(const std::string& path) { return {"", path, ""}; }
    static StorePlace withUid(const std::string& uid) { return {uid, "", ""}; }

    void agree(const RecordId& id, const Dictionary& record, std::int64_t revision = 1)
    {
        state.setAgreed({id, parentOf(record), revision, contentHash(record)}, record);
    }
    void see(const RecordId& local, const std::optional<std::string>& agreedKey,
             const StorePlace& place, const Dictionary& record)
    {
        SeenRow row;
        row.local = local;
        row.agreedKey = agreedKey;
        row.localParentKey = parentOf(record);
        row.hash = contentHash(record);
        row.place = place;
        state.addSeen(row, record);
    }
    void agreeAndSee(const RecordId& id, const StorePlace& place, const Dictionary& record)
    {
        agree(id, record);
        see(id, id.key, place, record);
    }
    void keep(const RecordId& id, const std::optional<std::string>& agreedKey,
              const StorePlace& place, const Dictionary& record)
    {
        state.setKept({id, parentOf(record), contentHash(record), place, agreedKey}, record);
    }
    SyncRecord given(const RecordId& id, const StorePlace& place, const Dictionary& record)
    {
        auto made =
            std::make_shared<HostSyncRecord>(0, record, id.key, parentOf(record), id.conduit);
        identities.reportIdentity(made, {place.uid, place.recurrence, "", place.file});
        return made;
    }

    TemporaryFolder folder;
    LocalState state{folder.path("state")};
    HostIdentityReport identities;
    StorePlaces places{identities, ""};

private:
    static std::optional<std::string> parentOf(const Dictionary& record)
    {
        return record["ParentRecordKey"].stringOrNil();
    }
};

}  // namespace kt::test
