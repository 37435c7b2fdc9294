#include "bench/support/GeneratedStore.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace kt::bench {

namespace {

constexpr const char* kCalendarKey = "6B0D7C9A-0000-4000-8000-000000000001";

void write(const std::filesystem::path& path, const std::string& text)
{
    std::ofstream(path, std::ios::binary) << text;
}

std::string number(const char* format, int first, int second = 0)
{
    char text[64];
    const int length = std::snprintf(text, sizeof text, format, first, second);
    return std::string(text, static_cast<std::size_t>(length));
}

}  // namespace

std::string GeneratedStore::event(int count)
{
    const std::string day = number("2008%02d%02d", count / 28 % 12 + 1, count % 28 + 1);
    const std::string hour = number("%02d%02d", count % 10 + 8, count % 4 * 15);
    const std::string uid = number("5A1E%04d-7C1B-4C0E-9B57-%012d", count % 10000, count);
    std::string text =
        "BEGIN:VEVENT\r\nSEQUENCE:" + std::to_string(count % 9 + 1) +
        "\r\nTRANSP:OPAQUE\r\nUID:" + uid + "\r\nDTSTART;TZID=Europe/Berlin:" + day + "T" + hour +
        "00\r\nDTSTAMP:20080201T101500Z\r\nSUMMARY:Besprechung " + std::to_string(count) +
        " im großen Saal\r\nLOCATION:Hauptstraße " + std::to_string(count % 99 + 1) +
        "\r\nDESCRIPTION:Unterlagen mitbringen\\, Raum vorher aufschließen\\nDanach Ru\r\n nde "
        "durch das Haus "
        "und Kaffee in der Küche\r\nCREATED:20080131T120000Z\r\nDTEND;TZID=Europe/Berlin:" +
        day + "T" + hour + "59\r\n";
    if (count % 7 == 0)
        text += "RRULE:FREQ=WEEKLY;INTERVAL=1;UNTIL=20091231T225959Z;BYDAY=MO,WE\r\n";
    text += "BEGIN:VALARM\r\nX-WR-ALARMUID:" + uid +
            "-A\r\nACTION:DISPLAY\r\nDESCRIPTION:Erinnerung\r\n"
            "TRIGGER:-PT15M\r\nEND:VALARM\r\nEND:VEVENT\r\n";
    return text;
}

std::string GeneratedStore::calendarFile(const std::string& events)
{
    return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Benchmark//Store//"
           "DE\r\nCALSCALE:GREGORIAN\r\n" +
           events + "END:VCALENDAR\r\n";
}

GeneratedStore::GeneratedStore(int eventCount)
{
    std::string pattern =
        (std::filesystem::temp_directory_path() / "icalsync-bench-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr)
        std::abort();
    _home = pattern;
    const auto calendar = std::filesystem::path(_home) / "Library/Calendars" /
                          (std::string(kCalendarKey) + ".calendar");
    std::filesystem::create_directories(calendar / "Events");
    write(calendar / "Info.plist",
          std::string("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
                      "<key>Key</key><string>") +
              kCalendarKey +
              "</string><key>Title</key><string>Messung</string><key>Color</key><string>#0E61B9FF</"
              "string>"
              "<key>Notes</key><string></string><key>Order</key><integer>1</integer>"
              "<key>Checked</key><true/><key>Type</key><string>Local</string></dict></plist>\n");
    for (int count = 0; count < eventCount; ++count)
        write(calendar / "Events" / number("%08d.ics", count), calendarFile(event(count)));
}

GeneratedStore::~GeneratedStore()
{
    if (_keep)
        return;
    std::error_code ignored;
    std::filesystem::remove_all(_home, ignored);
}

std::string GeneratedStore::eventsFolder() const
{
    return _home + "/Library/Calendars/" + kCalendarKey + ".calendar/Events";
}

}  // namespace kt::bench
