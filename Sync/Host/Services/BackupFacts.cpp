#include "Sync/Host/Services/BackupFacts.h"

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/PropertyList.h"

namespace kt {

namespace {

constexpr int kVersion = 1;

/// Names of files are bytes: not all of them are text.
Value valueOfNames(const std::vector<std::string>& names)
{
    Array values;
    for (const std::string& name : names)
        values.push_back(Data{name});
    return values;
}

std::vector<std::string> namesInValue(const Value& value)
{
    std::vector<std::string> names;
    for (const Value& name : value.array())
        names.push_back(name.data().bytes);
    return names;
}

Value valueOfCalendar(const BackupCalendar& calendar)
{
    return Dictionary{{"Folder", Data{calendar.folder}},
                      {"Title", calendar.title},
                      {"SourceKey", Data{calendar.sourceKey}},
                      {"RecordKey", calendar.recordKey},
                      {"Items", static_cast<std::int64_t>(calendar.items)}};
}

BackupCalendar calendarInValue(const Value& value)
{
    const Dictionary& entries = value.dictionary();
    return {entries["Folder"].data().bytes, std::string(entries["Title"].string()),
            entries["SourceKey"].data().bytes, std::string(entries["RecordKey"].string()),
            static_cast<std::size_t>(entries["Items"].longLongValue())};
}

BackupFacts factsInEntries(const Dictionary& entries)
{
    BackupFacts facts;
    facts.fingerprint = entries["Fingerprint"].string();
    facts.unreadable = namesInValue(entries["Unreadable"]);
    facts.broken = namesInValue(entries["Broken"]);
    for (const Value& calendar : entries["Calendars"].array())
        facts.calendars.push_back(calendarInValue(calendar));
    facts.digest = entries["Digest"].string();
    facts.archiveSize = static_cast<std::uint64_t>(entries["ArchiveSize"].longLongValue());
    return facts;
}

}  // namespace

std::size_t BackupFacts::items() const
{
    std::size_t count = 0;
    for (const BackupCalendar& calendar : calendars)
        count += calendar.items;
    return count;
}

std::string bytesOfFacts(const BackupFacts& facts)
{
    Array calendars;
    for (const BackupCalendar& calendar : facts.calendars)
        calendars.push_back(valueOfCalendar(calendar));
    return binaryPropertyList(
        Dictionary{{"Version", kVersion},
                   {"Fingerprint", facts.fingerprint},
                   {"Unreadable", valueOfNames(facts.unreadable)},
                   {"Broken", valueOfNames(facts.broken)},
                   {"Calendars", std::move(calendars)},
                   {"Digest", facts.digest},
                   {"ArchiveSize", static_cast<std::int64_t>(facts.archiveSize)}});
}

std::optional<BackupFacts> factsInBytes(std::string_view bytes)
{
    const auto list = propertyListWithData(bytes);
    if (!list || !list->isDictionary() || list->dictionary()["Version"] != Value(kVersion))
        return std::nullopt;
    try {
        return factsInEntries(list->dictionary());
    } catch (const Exception&) {
        return std::nullopt;  // an entry of another kind, or none
    }
}

}  // namespace kt
