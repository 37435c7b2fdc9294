#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Text.h"
#include "Sync/Foundation/UTF8.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"

namespace kt {

namespace {

constexpr std::size_t kLineLength = 75;  // characters in one physical line
constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kFold = "\r\n ";

std::string foldedASCII(std::string_view line, std::size_t position)
{
    std::string folded;
    folded.reserve(line.size() + line.size() / position * kFold.size());
    while (position < line.size()) {
        folded += line.substr(0, position);
        folded += kFold;
        line.remove_prefix(position);
    }
    folded += line;
    return folded;
}

/// One walk over the line. A pair that the limit falls into is cut, each half becoming a sequence
/// of its own; the reader joins them again.
std::string foldedText(std::string_view line, std::size_t position, std::size_t length)
{
    std::string folded;
    folded.reserve(line.size() + (length / position + 1) * (kFold.size() + 2));
    std::size_t rest = length;    // units not yet written
    std::size_t room = position;  // units that still fit into the physical line
    const auto unitWritten = [&] {
        --rest;
        if (--room == 0 && rest > 0) {
            folded += kFold;
            room = position;
        }
    };
    for (std::size_t at = 0; at < line.size();) {
        const UTF8Step step = utf8StepAt(line, at);
        if (step.isValid && step.codePoint > 0xFFFF && room == 1) {
            appendUTF8(folded, highSurrogate(step.codePoint));
            unitWritten();
            appendUTF8(folded, lowSurrogate(step.codePoint));
            unitWritten();
        } else {
            folded += line.substr(at, step.length);
            if (step.isValid && step.codePoint > 0xFFFF)
                unitWritten();
            unitWritten();
        }
        at += step.length;
    }
    return folded;
}

/// Gathers components as lists of lines.
struct GatheredLists {
    void begin(std::string_view /*marker*/)
    {
        constexpr std::size_t kUsualLines = 8;  // of an alarm
        current = LineList();
        current.reserve(kUsualLines);
    }
    void add(std::string_view line) { current.append(line); }
    void end(std::string_view /*marker*/) { components.push_back(std::exchange(current, {})); }

    LineList current;
    std::vector<LineList> components;
};

/// Gathers components as stretches of the text that all lines are views into.
struct GatheredStretches {
    void begin(std::string_view marker) { start = marker.data() + marker.size() + kLineEnd.size(); }
    void add(std::string_view /*line*/) {}
    void end(std::string_view marker)
    {
        components.emplace_back(start, static_cast<std::size_t>(marker.data() - start));
    }

    const char* start = nullptr;
    std::vector<std::string_view> components;
};

/// The state of taking the components of one name out of some lines.
template <class Gathered>
class ComponentCollector {
public:
    explicit ComponentCollector(std::string_view name)
        : _name(name),
          _begin("BEGIN:" + std::string(name)),
          _end("END:" + std::string(name))
    {}

    /// Whether the line belongs to a component of that name, its markers included. Throws Exception
    /// for an END without a component to end.
    bool claims(std::string_view line)
    {
        if (line == _begin) {
            reportUnclosed();
            _isOpen = true;
            _lineCount = 0;
            _gathered.begin(line);
        } else if (line == _end) {
            if (!_isOpen)
                throw Exception(NSInvalidArgumentException, "END ohne BEGIN: " + _end);
            _isOpen = false;
            _gathered.end(line);
        } else {
            if (_isOpen) {
                ++_lineCount;
                _gathered.add(line);
            }
            return _isOpen;
        }
        return true;
    }

    /// A component still open here is lost with its lines.
    void reportUnclosed() const
    {
        if (_isOpen)
            reportLoss(stringWithFormat("Komponente '%@' ohne END, %d Zeilen verworfen", _name,
                                        _lineCount));
    }

    auto components() { return std::move(_gathered.components); }

private:
    std::string_view _name;
    std::string _begin;
    std::string _end;
    bool _isOpen = false;
    std::size_t _lineCount = 0;  // of the open one
    Gathered _gathered;
};

std::string descriptionOf(const LineList& lines) { return lines.description(); }
std::string descriptionOf(const FileLines& lines) { return lines.lines().description(); }

template <class Gathered, class Lines>
auto componentsTakenOut(std::string_view name, Lines& lines, KTFileLogger* fileLogger)
{
    ComponentCollector<Gathered> collector(name);
    std::optional<Exception> failure;
    lines.removeIf([&](std::string_view line) {
        return !failure && guardedOr([&] { return collector.claims(line); },
                                     [&](const Exception& exception) {
                                         failure = exception;
                                         return false;
                                     });
    });
    if (failure) {
        logTo(fileLogger,
              "[KTSyncCalendarTools findAndRemoveComponents] '%@':\n%@\n>>>>>>>>>>\n%@>>>>>>>>>>\n",
              name, descriptionOf(lines), *failure);
        reportLoss(stringWithFormat("END ohne BEGIN: alles ab 'END:%@' bleibt ungelesen", name));
    } else {
        collector.reportUnclosed();
    }
    return collector.components();
}

}  // namespace

std::string KTSyncCalendarTools::splitLine(std::string line, KTFileLogger* fileLogger)
{
    return splitLine(std::move(line), kLineLength, fileLogger);
}

std::string KTSyncCalendarTools::splitLine(std::string line, std::size_t position,
                                           KTFileLogger* fileLogger)
{
    // Bytes are never fewer than characters.
    if (position < 2 || line.size() <= position)
        return line;
    return guardedOr(
        [&] {
            if (asciiPrefixLength(line) == line.size())
                return foldedASCII(line, position);
            return foldedText(line, position, utf16Length(line));
        },
        [&](const Exception& exception) {
            logTo(fileLogger, "[KTSyncCalendarTools splitLine]:'%@' atPositon:%d\n%@", line,
                  position, exception);
            return std::move(line);
        });
}

std::string_view KTSyncCalendarTools::firstPhysicalLine(std::string_view line)
{
    if (line.size() <= kLineLength)
        return line;
    std::size_t position = 0;
    for (std::size_t units = 0; position < line.size();) {
        const UTF8Step step = utf8StepAt(line, position);
        units += step.isValid && step.codePoint > 0xFFFF ? 2 : 1;
        if (units > kLineLength)
            break;
        position += step.length;
    }
    return line.substr(0, position);
}

std::vector<LineList> KTSyncCalendarTools::findAndRemoveComponents(std::string_view name,
                                                                   LineList& fromLines,
                                                                   KTFileLogger* fileLogger)
{
    return componentsTakenOut<GatheredLists>(name, fromLines, fileLogger);
}

FileComponents KTSyncCalendarTools::findAndRemoveComponents(std::string_view name,
                                                            FileLines& fromLines,
                                                            KTFileLogger* fileLogger)
{
    FileLines before = fromLines;
    return {std::move(before), componentsTakenOut<GatheredStretches>(name, fromLines, fileLogger)};
}

}  // namespace kt
