#include "Sync/PlugIns/iCal/Calendar/LeftLines.h"

#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>

#include "Sync/Foundation/Format.h"
#include "Sync/HostInterface/KTLossReport.h"

namespace kt {

namespace {

constexpr std::string_view kBegin = "BEGIN:";
constexpr std::string_view kEnd = "END:";

void reportComponentLoss(std::string_view name)
{
    reportLoss(KTLoss::Kind::thinned,
               stringWithFormat("Komponente '%@' wird nicht übernommen", name));
}

/// Time zones are known by their names, so the definitions that files carry are not needed.
bool isTimeZonePart(std::string_view name)
{
    return name == "VTIMEZONE" || name == "STANDARD" || name == "DAYLIGHT";
}

/// What nobody took: the lines of a file around its items, or those of one item.
enum class LeftIn { file, item };

/// Goes through the lines that nobody took and tells of components, the outermost of each nest, and
/// of the first END without a BEGIN, behind which nothing is read.
class LeftLinesReport {
public:
    explicit LeftLinesReport(LeftIn place) : _place(place) {}

    void add(std::string_view line)
    {
        tellOfStrayEnd();
        if (line.starts_with(kBegin))
            begin(line.substr(kBegin.size()));
        else if (line.starts_with(kEnd))
            end(line.substr(kEnd.size()));
    }

    /// Behind a part of a time zone that is not closed properties are taken for its own.
    void finish() const
    {
        if (_timeZoneParts > 0 && stopsReading(_timeZonePart))
            reportLoss(KTLoss::Kind::thinned,
                       stringWithFormat("Komponente '%@' ohne END: was folgt, bleibt ungelesen",
                                        _timeZonePart));
    }

private:
    /// Whether an END too many hides what follows. Of a file, and of the alarms of an item, taking
    /// the components out has told already.
    bool stopsReading(std::string_view name) const
    {
        return _place == LeftIn::item && name != "VALARM";
    }

    /// Only once there is a line behind it.
    void tellOfStrayEnd()
    {
        if (_strayEnd && !std::exchange(_hasTold, true))
            reportLoss(KTLoss::Kind::thinned,
                       stringWithFormat("Ende ohne Anfang: END:%@, was folgt, bleibt ungelesen",
                                        *_strayEnd));
    }

    void begin(std::string_view name)
    {
        if (_depth > 0) {
            _depth += name == _open ? 1 : 0;
        } else if (name == "VCALENDAR") {
            reportLoss(KTLoss::Kind::thinned,
                       "Zweiter VCALENDAR: seine Eigenschaften werden nicht übernommen");
        } else if (isTimeZonePart(name)) {
            ++_timeZoneParts;
            _timeZonePart = name;
        } else {
            reportComponentLoss(name);
            _open = name;
            _depth = 1;
        }
    }

    void end(std::string_view name)
    {
        if (_depth > 0)
            _depth -= name == _open ? 1 : 0;
        else if (isTimeZonePart(name) && _timeZoneParts > 0)
            --_timeZoneParts;
        else if (!_strayEnd && stopsReading(name))
            _strayEnd = name;
    }

    LeftIn _place;
    std::string_view _open;
    std::size_t _depth = 0;  // of components named as the open one
    std::size_t _timeZoneParts = 0;
    std::string_view _timeZonePart;  // the last that began
    std::optional<std::string_view> _strayEnd;
    bool _hasTold = false;
};

}  // namespace

void reportLeftLines(const LineList& lines)
{
    LeftLinesReport report(LeftIn::item);
    for (std::string_view line : lines)
        report.add(line);
    report.finish();
}

void reportLeftLines(const FileLines& lines)
{
    LeftLinesReport report(LeftIn::file);
    lines.forEach([&](std::string_view line) { report.add(line); });
    report.finish();
}

}  // namespace kt
