#pragma once

#include <memory>
#include <string>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/HostInterface/KTFileLogger.h"

namespace kt {

/// One value of an ATTENDEE or ORGANIZER property (RFC 5545, 3.8.4.1 and 3.8.4.3), or the recipient
/// of an alarm. Fields are raw values: texts, or what a sync record held in their place.
class KTSyncAttendee : public Object {
public:
    /// Each may be nil. The status is every parameter but CN, with ";" between them and none in
    /// front.
    static std::shared_ptr<const KTSyncAttendee> attendeeWithCommonName(Value commonName,
                                                                        Value status, Value address,
                                                                        KTFileLogger* fileLogger);
    /// From the sub-dictionary that syncRecord() gives; null for nil.
    static std::shared_ptr<const KTSyncAttendee> attendeeWithSyncRecord(const Value& syncRecord,
                                                                        KTFileLogger* fileLogger);

    /// initWithCommonName:status:address:fileLogger:
    KTSyncAttendee(Value commonName, Value status, Value address, KTFileLogger* fileLogger);
    /// initWithSyncRecord:fileLogger:
    KTSyncAttendee(const Dictionary& syncRecord, KTFileLogger* fileLogger);

    const Value& commonName() const { return _commonName; }
    const Value& status() const { return _status; }
    const Value& address() const { return _address; }

    /// "Name", "Address" and "Status", each where it is not nil.
    Dictionary syncRecord() const;
    /// One folded ATTENDEE line ending in CR LF, also for an organizer; empty without address.
    std::string iCalLines() const;
    std::string description() const override;

private:
    KTFileLogger* _fileLogger;  // not owned, may be null, outlives every component
    Value _commonName;
    Value _status;
    Value _address;
};

}  // namespace kt
