#include "Sync/PlugIns/iCal/Calendar/KTSyncAttendee.h"

#include <utility>

#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"

namespace kt {

namespace {

std::string descriptionOrEmpty(const Value& value)
{
    return value.isNil() ? std::string() : value.description();
}

/// Whether the reader finds the address where it stands. A line in which it finds none is told as
/// one whose parameters are cut.
bool isAddressFoundAgain(std::string_view line, const Value& address)
{
    line.remove_suffix(2);  // CR LF
    const std::size_t key = KTSyncCalendarTools::propertyKeyInLine(line).size();
    return key == line.size() || line.substr(key + 1) == address.description();
}

}  // namespace

std::shared_ptr<const KTSyncAttendee> KTSyncAttendee::attendeeWithCommonName(
    Value commonName, Value status, Value address, KTFileLogger* fileLogger)
{
    return std::make_shared<const KTSyncAttendee>(std::move(commonName), std::move(status),
                                                  std::move(address), fileLogger);
}

std::shared_ptr<const KTSyncAttendee> KTSyncAttendee::attendeeWithSyncRecord(
    const Value& syncRecord, KTFileLogger* fileLogger)
{
    if (syncRecord.isNil())
        return nullptr;
    return std::make_shared<const KTSyncAttendee>(syncRecord.dictionary(), fileLogger);
}

KTSyncAttendee::KTSyncAttendee(Value commonName, Value status, Value address,
                               KTFileLogger* fileLogger)
    : _fileLogger(fileLogger),
      _commonName(std::move(commonName)),
      _status(std::move(status)),
      _address(std::move(address))
{}

KTSyncAttendee::KTSyncAttendee(const Dictionary& syncRecord, KTFileLogger* fileLogger)
    : KTSyncAttendee(syncRecord["Name"], syncRecord["Status"], syncRecord["Address"], fileLogger)
{}

Dictionary KTSyncAttendee::syncRecord() const
{
    Dictionary record;
    record.setIfPresent("Name", _commonName);
    record.setIfPresent("Address", _address);
    record.setIfPresent("Status", _status);
    return record;
}

std::string KTSyncAttendee::iCalLines() const
{
    if (_address.isNil())
        return {};
    const std::string status = descriptionOrEmpty(_status);
    const std::string parameters = status.empty() ? status : ";" + status;
    std::string line =
        _commonName.isNil()
            ? stringWithFormat("ATTENDEE%@:%@\r\n", parameters, _address)
            : stringWithFormat("ATTENDEE;CN=\"%@\"%@:%@\r\n", _commonName, parameters, _address);
    if (!isAddressFoundAgain(line, _address))
        reportLoss(KTLoss::Kind::curtailed,
                   stringWithFormat("ATTENDEE '%@': Name und Adresse werden beim nächsten Lesen "
                                    "anders getrennt",
                                    descriptionOrEmpty(_commonName)));
    return KTSyncCalendarTools::splitLine(KTSyncCalendarTools::writableLine(std::move(line)),
                                          _fileLogger);
}

std::string KTSyncAttendee::description() const
{
    return stringWithFormat("Name:'%@', Address:'%@', Status:'%@'", descriptionOrEmpty(_commonName),
                            descriptionOrEmpty(_address), descriptionOrEmpty(_status));
}

}  // namespace kt
