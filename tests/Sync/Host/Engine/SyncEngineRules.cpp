#include "tests/Sync/Host/Engine/SyncEngineRules.h"

#include "Sync/Host/Engine/RecordCoding.h"

namespace kt::test {

void SyncEngineRules::givenTwoHomes(Layout layoutOfB)
{
    home("a").store.calendars = {calendar("Privat", {event("Zahnarzt", "20071224T100000"),
                                                     task("Einkaufen")}),
                                 calendar("Arbeit", {event("Sitzung", "20071227T090000")})};
    home("b", layoutOfB);
    syncAll();
    syncUntilRest();
}

void SyncEngineRules::writeToServer(const RecordId& id, const Dictionary& record)
{
    auto opened =
        syncServerWithURL(serverUrl())->openSession("default", "other", ServerAccess::readWrite);
    ASSERT_NE(opened.session, nullptr) << opened.reason;
    ServerWrite write;
    write.id = id;
    write.parentKey = record["ParentRecordKey"].stringOrNil();
    write.hash = contentHash(record);
    write.content = encodedRecord(record);
    opened.session->write({&write, 1});
    opened.session->commit();
}

Dictionary SyncEngineRules::recordOnServer(const RecordId& id)
{
    auto opened =
        syncServerWithURL(serverUrl())->openSession("default", "other", ServerAccess::readOnly);
    const auto records = opened.session->records({&id, 1});
    return records.empty() ? Dictionary{} : decodedRecord(records.front().content);
}

}  // namespace kt::test
