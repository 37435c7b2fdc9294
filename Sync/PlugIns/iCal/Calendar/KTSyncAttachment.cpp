#include "Sync/PlugIns/iCal/Calendar/KTSyncAttachment.h"

#include <vector>

#include "Sync/Additions/KTFileManagerAdditions.h"
#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/HostInterface/StorePaths.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"

namespace kt {

namespace {

bool hasPrefix(const Value& text, std::string_view prefix)
{
    return !text.isNil() && text.string().starts_with(prefix);
}

std::string parameterText(const Value& parameter)
{
    return parameter.isNil() ? std::string() : stringWithFormat(";%@", parameter);
}

}  // namespace

std::shared_ptr<const KTSyncAttachment> KTSyncAttachment::attachmentWithURI(
    const Value& URI, std::optional<std::string_view> parseProperties, KTFileLogger* fileLogger)
{
    return std::make_shared<const KTSyncAttachment>(URI, parseProperties, fileLogger);
}

std::shared_ptr<const KTSyncAttachment> KTSyncAttachment::attachmentWithSyncRecord(
    const Value& syncRecord, KTFileLogger* fileLogger)
{
    if (syncRecord.isNil())
        return nullptr;
    return std::make_shared<const KTSyncAttachment>(syncRecord.dictionary(), fileLogger);
}

KTSyncAttachment::KTSyncAttachment(const Value& URI,
                                   std::optional<std::string_view> parseProperties,
                                   KTFileLogger* fileLogger)
    : _fileLogger(fileLogger),
      _data(URI)
{
    try {
        readProperties(parseProperties);
        if (hasPrefix(URI, "ical:"))
            readFile(URI, parseProperties);
    } catch (const Exception& exception) {
        logTo(fileLogger, "[KTSyncAttachment initWithURI:%@ properties:%@:\n%@", URI,
              parseProperties, exception);
        throw;
    }
}

KTSyncAttachment::KTSyncAttachment(const Dictionary& syncRecord, KTFileLogger* fileLogger)
    : _fileLogger(fileLogger),
      _type(syncRecord["Type"]),
      _value(syncRecord["Value"]),
      _encoding(syncRecord["Encoding"]),
      _data(syncRecord["Data"]),
      _binaryData(syncRecord["BinaryData"])
{}

void KTSyncAttachment::readProperties(std::optional<std::string_view> key)
{
    const std::vector<std::string_view> parameters =
        KTSyncCalendarTools::splitProperties(key, _fileLogger);
    for (std::size_t index = 1; index < parameters.size(); ++index) {
        const std::string_view parameter = parameters[index];
        if (parameter.starts_with("VALUE="))
            _value = parameter;
        else if (parameter.starts_with("FMTTYPE="))
            _type = parameter;
        else if (parameter.starts_with("ENCODING="))
            _encoding = parameter;
    }
}

void KTSyncAttachment::readFile(const Value& URI, std::optional<std::string_view> key)
{
    // An address out of a record comes without a property; nothing of this user's is lost with it.
    const bool isFromLine = key && !key->empty();
    const std::optional<std::string> path = pathForICalAttachment(URI);
    if (!path) {
        _data = Value();
        if (isFromLine)
            reportLoss(KTLoss::Kind::thinned,
                       stringWithFormat(
                           "Anhang '%@' wird nicht übernommen: kein gültiger Dateiname", URI));
        return;
    }
    std::optional<std::string> content = FileManager::defaultManager().contentsAtPath(*path);
    if (!content) {
        if (isFromLine)
            reportLoss(KTLoss::Kind::thinned,
                       stringWithFormat("Anhang '%@' ist nicht lesbar: '%@'", URI, path));
        return;
    }
    _binaryData = Data{std::move(*content)};
}

Dictionary KTSyncAttachment::syncRecord() const
{
    Dictionary record;
    record.setIfPresent("Type", _type);
    record.setIfPresent("Value", _value);
    record.setIfPresent("Encoding", _encoding);
    record.setIfPresent("Data", _data);
    record.setIfPresent("BinaryData", _binaryData);
    return record;
}

std::string KTSyncAttachment::iCalLines() const
{
    if (!hasFile()) {
        if (!_data.isNil())
            reportLoss(KTLoss::Kind::curtailed,
                       stringWithFormat("Anhang '%@' konnte nicht geschrieben werden",
                                        KTSyncCalendarTools::onOneLine(_data.description())));
        return {};
    }
    return KTSyncCalendarTools::splitLine(KTSyncCalendarTools::writableLine(line()), _fileLogger);
}

// Not on its way into a file: nothing is lost with it.
std::string KTSyncAttachment::description() const
{
    if (!hasFile())
        return {};
    return KTSyncCalendarTools::splitLine(KTSyncCalendarTools::onOneLine(line()), _fileLogger);
}

std::string KTSyncAttachment::line() const
{
    return stringWithFormat("ATTACH%@%@%@:%@\r\n", parameterText(_type), parameterText(_encoding),
                            parameterText(_value), _data);
}

/// Whether there is something to refer to, which is written where it has to be.
bool KTSyncAttachment::hasFile() const
{
    return !_data.isNil() && (_binaryData.isNil() || writeFile());
}

std::optional<std::string> KTSyncAttachment::pathForICalAttachment(const Value& URI) const
{
    logTo(_fileLogger, "Attachment: '%@'", URI);
    if (!hasPrefix(URI, "ical://"))
        return std::nullopt;
    const std::optional<std::string> address = stringByReplacingPercentEscapes(URI.string());
    if (!address)
        return std::nullopt;
    const std::vector<std::string> components = pathComponents(*address);
    if (components.size() < 2)
        return std::nullopt;
    const std::string& folder = components[components.size() - 2];
    const std::string& name = components.back();
    // The address comes from outside: it must not lead to a file anywhere else.
    if (!isPlainPathComponent(folder) || !isPlainPathComponent(name)) {
        logTo(_fileLogger, "Anhang '%@' wird ausgelassen: kein gültiger Dateiname", URI);
        return std::nullopt;
    }
    return StorePaths().attachmentFile(folder, name);
}

bool KTSyncAttachment::writeFile() const
{
    const std::optional<std::string> path = pathForICalAttachment(_data);
    if (!path)
        return false;
    const std::string& bytes = _binaryData.data().bytes;
    FileManager& fileManager = FileManager::defaultManager();
    createPath(stringByDeletingLastPathComponent(*path));
    const std::optional<FileStatus> status = fileManager.statusAtPath(*path);
    if (status && status->size == bytes.size() && fileManager.contentsAtPath(*path) == bytes)
        return true;
    return fileManager.writeAtomically(bytes, *path);
}

}  // namespace kt
