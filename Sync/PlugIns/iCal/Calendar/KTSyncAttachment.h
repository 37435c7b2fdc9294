#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/HostInterface/KTFileLogger.h"

namespace kt {

/// One value of an ATTACH property (RFC 5545, 3.8.1.1). Where its address is of the scheme "ical:",
/// the attachment is a file of iCal's own, whose content travels with it.
class KTSyncAttachment : public Object {
public:
    /// From the property's value and its whole key. Reads the file behind an "ical:" address; an
    /// address that names none leaves an attachment that writes nothing. Throws Exception, logged,
    /// for a value of the wrong kind.
    static std::shared_ptr<const KTSyncAttachment> attachmentWithURI(
        const Value& URI, std::optional<std::string_view> parseProperties,
        KTFileLogger* fileLogger);
    /// From the sub-dictionary that syncRecord() gives; null for nil.
    static std::shared_ptr<const KTSyncAttachment> attachmentWithSyncRecord(
        const Value& syncRecord, KTFileLogger* fileLogger);

    /// initWithURI:parseProperties:fileLogger:
    KTSyncAttachment(const Value& URI, std::optional<std::string_view> parseProperties,
                     KTFileLogger* fileLogger);
    /// initWithSyncRecord:fileLogger:
    KTSyncAttachment(const Dictionary& syncRecord, KTFileLogger* fileLogger);

    /// "Type", "Value", "Encoding", "Data" and "BinaryData", each where it is not nil.
    Dictionary syncRecord() const;
    /// One folded ATTACH line ending in CR LF. Writes the attachment's file first, unless it
    /// already holds the same bytes; empty without data, and, told as a loss, when the file cannot
    /// be written.
    std::string iCalLines() const;
    /// The same text as iCalLines(), written file included.
    std::string description() const override;

    /// The file below Library/Calendars/Attachments for an address "ical://.../folder/name",
    /// percent escapes replaced; nullopt for any other, and for one whose parts are no plain names.
    std::optional<std::string> pathForICalAttachment(const Value& URI) const;

private:
    void readProperties(std::optional<std::string_view> key);
    void readFile(const Value& URI, std::optional<std::string_view> key);
    std::string line() const;
    bool hasFile() const;
    bool writeFile() const;

    KTFileLogger* _fileLogger;  // not owned, may be null, outlives every component
    Value _type;                // the whole parameter, as `FMTTYPE=application/pdf`
    Value _value;               // the whole parameter, as `VALUE=URI`
    Value _encoding;            // the whole parameter, as `ENCODING=BASE64`
    Value _data;                // the property's value as written
    Value _binaryData;          // content of the file behind an "ical:" address
};

}  // namespace kt
