#include "Sync/PlugIns/iCal/Calendar/EventCopies.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "Sync/HostInterface/Guard.h"

namespace kt {

namespace {

/// What two copies of one event may differ in without anything being lost with the second.
Dictionary withoutRevision(Dictionary record)
{
    for (std::string_view key :
         {"Sequence", "DateStamp", "RecurrenceParentRecordKey", "RecurrenceExceptionDates"})
        record.remove(key);
    return record;
}

bool isOfRevision(std::string_view line)
{
    constexpr std::array<std::string_view, 5> kNames{"UID", "SEQUENCE", "DTSTAMP", "CREATED",
                                                     "LAST-MODIFIED"};
    const std::string_view name = line.substr(0, line.find_first_of(":;"));
    return std::find(kNames.begin(), kNames.end(), name) != kNames.end();
}

/// Whole lines, however they were folded, sorted.
std::vector<std::string> linesOf(std::string_view text)
{
    constexpr std::string_view kBreak = "\r\n";
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(kBreak), text.size());
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + kBreak.size(), text.size()));
        const bool isContinued = line.starts_with(' ') || line.starts_with('\t');
        if (isContinued && !lines.empty())
            lines.back().append(line.substr(1));
        else
            lines.emplace_back(line);
    }
    std::erase_if(lines,
                  [](const std::string& line) { return line.empty() || isOfRevision(line); });
    std::sort(lines.begin(), lines.end());
    return lines;
}

}  // namespace

bool EventCopies::isCopyOf(std::size_t first, const RecordOfFirst& recordOfFirst,
                           const KTSyncEvent& second)
{
    return guardedOr(
        [&] {
            auto known = _firsts.find(first);
            if (known == _firsts.end())
                known = _firsts.emplace(first, withoutRevision(recordOfFirst())).first;
            return known->second == withoutRevision(second.syncRecord());
        },
        [](const Exception&) { return false; });
}

bool haveSameLines(std::string_view left, std::string_view right)
{
    return left == right || linesOf(left) == linesOf(right);
}

}  // namespace kt
