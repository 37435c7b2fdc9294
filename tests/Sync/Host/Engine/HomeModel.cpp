#include "tests/Sync/Host/Engine/HomeModel.h"

#include <utility>

#include "Sync/Foundation/Digest.h"
#include "Sync/Host/Engine/HostEnhancedDate.h"

namespace kt::test {

namespace {

// No two texts have one UID unless somebody copied one.
std::string newUid(const std::string& title)
{
    static int made = 0;
    return "uid-" + title + "-" + std::to_string(++made);
}

}  // namespace

std::string HomeCalendar::recordKey() const { return sha1DigestHex(title + type); }

EnhancedDate date(const std::string& text, const std::string& timezone)
{
    const bool isAllDay = text.find('T') == std::string::npos;
    return HostEnhancedDateClass().enhancedDateWithDate(
        CalendarDate::dateWithString(isAllDay ? text + "T000000" : text, "%Y%m%dT%H%M%S"), timezone,
        isAllDay);
}

HomeItem event(const std::string& title, const std::string& start, Dictionary more)
{
    Dictionary fields{{"Title", title}, {"Sequence", "1"}, {"StartDate", date(start)}};
    fields.merge(more);
    return {std::string(kConduitEvent), fields, newUid(title)};
}

HomeItem task(const std::string& title, Dictionary more)
{
    Dictionary fields{{"Title", title}, {"Sequence", "1"}, {"Completed", false}};
    fields.merge(more);
    return {std::string(kConduitTask), fields, newUid(title)};
}

HomeCalendar calendar(const std::string& title, std::vector<HomeItem> items)
{
    HomeCalendar made;
    made.title = title;
    made.sourceKey = "SK-" + title;
    made.items = std::move(items);
    return made;
}

}  // namespace kt::test
