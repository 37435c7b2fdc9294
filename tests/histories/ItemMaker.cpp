#include "tests/histories/ItemMaker.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace kt::test {

namespace {

std::string twoDigits(int number) { return (number < 10 ? "0" : "") + std::to_string(number); }

/// Dates are YYYYMMDD.
std::string dayAfter(const std::string& date, int days)
{
    using namespace std::chrono;
    const int digits = std::atoi(date.c_str());
    const year_month_day before{year(digits / 10000), month(unsigned(digits / 100 % 100)),
                                day(unsigned(digits % 100))};
    const year_month_day after{sys_days(before) + std::chrono::days(days)};
    char text[16];
    std::snprintf(text, sizeof text, "%04d%02u%02u", int(after.year()), unsigned(after.month()),
                  unsigned(after.day()));
    return text;
}

std::string dayOfJanuary(int number) { return "200801" + twoDigits(1 + number % 28); }

void setTimes(ItemText& item, int what)
{
    const std::string hour = twoDigits(8 + what % 10);
    if (what % 5 == 4) {
        item.set("DTSTART", "DTSTART;VALUE=DATE:" + dayOfJanuary(what));
        item.set("DTEND", "DTEND;VALUE=DATE:" + dayOfJanuary(what + 1));
    } else {
        item.set("DTSTART",
                 "DTSTART;TZID=Europe/Berlin:" + dayOfJanuary(what) + "T" + hour + "0000");
        item.set("DTEND", "DTEND;TZID=Europe/Berlin:" + dayOfJanuary(what) + "T" + hour + "4500");
    }
}

void addAlarm(ItemText& item, int minutes)
{
    item.append({"BEGIN:VALARM", "ACTION:DISPLAY", "DESCRIPTION:Event reminder",
                 "TRIGGER:-PT" + std::to_string(minutes + 1) + "M", "END:VALARM"});
}

std::string editEvent(ItemText& item, int what, const std::string& value)
{
    switch (isOccurrence(item) ? 3 : what % 4) {
    case 0:
        setTimes(item, what);
        return "time";
    case 1:
        item.set("RRULE", "RRULE:FREQ=WEEKLY;COUNT=" + std::to_string(2 + what % 7));
        return "rule";
    case 2:
        if (item.has("RRULE"))
            item.remove("RRULE");
        else
            addAlarm(item, what);
        return "rule or alarm";
    default:
        item.set("LOCATION", "LOCATION:" + value);
        return "location";
    }
}

std::string editTask(ItemText& item, int what, const std::string& value)
{
    switch (what % 3) {
    case 0:
        item.set("DUE", "DUE;TZID=Europe/Berlin:" + dayOfJanuary(what) + "T180000");
        return "due";
    case 1:
        item.set("PRIORITY", "PRIORITY:" + std::to_string(1 + what % 9));
        return "priority";
    default:
        item.set("URL", "URL;VALUE=URI:http://example.invalid/" + value);
        return "address";
    }
}

/// Long enough to be folded, with letters of several bytes.
std::string someText(const std::string& stamp, int what)
{
    std::string text = "Wert " + stamp + " " + std::to_string(what);
    if (what % 3 == 0)
        text += " Größenverhältnisse \\, und vieles mehr\\; bis zum Zeilenende und darüber hinaus";
    return text;
}

}  // namespace

ItemText makeItem(int token, int what, const std::string& stamp)
{
    const bool isTask = what % 3 == 0;
    const std::string name = isTask ? "VTODO" : "VEVENT";
    const std::string number = std::to_string(token);
    ItemText item("BEGIN:" + name + "\r\nEND:" + name + "\r\n");
    item.append({"SEQUENCE:1", "UID:UID-" + number});
    if (!isTask)
        setTimes(item, what % 4 == 1 ? 1 : what + token);
    const bool hasCommonTitle = what % 4 == 1 || (isTask && what % 2 == 0);
    const std::string common = isTask ? "Einkaufen" : "Zahnarzt";
    item.append({"DTSTAMP:" + stamp, "SUMMARY:" + (hasCommonTitle ? common : "Titel " + number),
                 "DESCRIPTION:#" + number + "#"});
    if (what % 7 == 3 && !isTask)
        item.append({"RRULE:FREQ=DAILY;COUNT=5"});
    if (what % 11 == 5)
        addAlarm(item, what);
    return item;
}

bool isOccurrence(const ItemText& item) { return item.has("RECURRENCE-ID"); }

ItemText makeOccurrence(const ItemText& series, int token, int what, const std::string& stamp)
{
    const std::string start = series.value("DTSTART").value_or("");
    const int period = series.value("RRULE").value_or("").starts_with("FREQ=WEEKLY") ? 7 : 1;
    const std::string date = dayAfter(start.substr(0, 8), period * (1 + what % 2));
    const std::string number = std::to_string(token);
    ItemText item("BEGIN:VEVENT\r\nEND:VEVENT\r\n");
    item.append({"SEQUENCE:1", "UID:" + series.value("UID").value_or("")});
    if (start.size() == 8)
        item.append({"RECURRENCE-ID;VALUE=DATE:" + date, "DTSTART;VALUE=DATE:" + date,
                     "DTEND;VALUE=DATE:" + dayAfter(date, 1)});
    else
        item.append({"RECURRENCE-ID;TZID=Europe/Berlin:" + date + start.substr(8),
                     "DTSTART;TZID=Europe/Berlin:" + date + "T200000",
                     "DTEND;TZID=Europe/Berlin:" + date + "T210000"});
    item.append({"DTSTAMP:" + stamp, "SUMMARY:" + series.value("SUMMARY").value_or(""),
                 "DESCRIPTION:#" + number + "#"});
    return item;
}

std::string editItem(ItemText& item, int what, const std::string& stamp)
{
    std::string tokens;
    for (const int token : tokensOf(item))
        tokens += "#" + std::to_string(token) + "#";
    const std::string value = someText(stamp, what);
    std::string told;
    if (what % 6 == 0) {
        item.set("SUMMARY", "SUMMARY:" + value);
        told = "title";
    } else if (what % 6 == 1) {
        item.set("DESCRIPTION", "DESCRIPTION:" + tokens + " " + value);
        told = "notes";
    } else {
        told = item.isEvent() ? editEvent(item, what / 6, value) : editTask(item, what / 6, stamp);
    }
    item.set("DTSTAMP", "DTSTAMP:" + stamp);
    if (what % 2 == 0) {
        const int sequence = std::atoi(item.value("SEQUENCE").value_or("0").c_str());
        item.set("SEQUENCE", "SEQUENCE:" + std::to_string(sequence + 1));
        told += " and sequence";
    }
    return told;
}

std::set<int> tokensOf(const ItemText& item)
{
    const std::string notes = item.value("DESCRIPTION").value_or("");
    std::set<int> tokens;
    for (std::size_t at = notes.find('#'); at != std::string::npos; at = notes.find('#', at + 1)) {
        const std::size_t end = notes.find_first_not_of("0123456789", at + 1);
        if (end != std::string::npos && end > at + 1 && notes[end] == '#')
            tokens.insert(std::atoi(notes.c_str() + at + 1));
    }
    return tokens;
}

std::string toldTokens(const ItemText& item)
{
    std::string told;
    for (const int token : tokensOf(item))
        told += (told.empty() ? "#" : " #") + std::to_string(token);
    return told;
}

}  // namespace kt::test
