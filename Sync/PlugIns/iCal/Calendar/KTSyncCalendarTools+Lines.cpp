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

/// Tells of text that was not taken.
using Tell = void (*)(std::string_view reason);

/// Of an item: the item is read without it.
void tellOfItem(std::string_view reason) { reportLoss(KTLoss::Kind::thinned, reason); }

/// Of a file: an item of it is not read.
void tellOfFile(std::string_view reason) { reportUnread({KTLoss::Extent::file}, reason); }

/// A component that is still open here is lost with its lines.
void reportUnclosed(Tell tell, std::string_view name, std::size_t lineCount)
{
    tell(stringWithFormat("Komponente '%@' ohne END, %d Zeilen verworfen", name, lineCount));
}

[[noreturn]] void throwStrayEnd(std::string_view name)
{
    throw Exception(NSInvalidArgumentException, "END ohne BEGIN: END:" + std::string(name));
}

/// The components of one name in a list of lines.
class ListedComponents {
public:
    ListedComponents(std::string_view name, const LineList& lines)
        : _name(name),
          _mayHoldHalves(lines.mayHoldHalves())
    {}

    /// Whether the line belongs to a component of that name, its markers included. Throws Exception
    /// for an END without a component to end.
    bool claims(std::string_view line)
    {
        if (isMarker(line, "BEGIN:")) {
            finish();
            _isOpen = true;
            _open = LineList();
            _open.reserve(kUsualLines);
            _open.setMayHoldHalves(_mayHoldHalves);
        } else if (isMarker(line, "END:")) {
            if (!_isOpen)
                throwStrayEnd(_name);
            _isOpen = false;
            components.push_back(std::exchange(_open, {}));
        } else {
            if (_isOpen)
                _open.append(line);
            return _isOpen;
        }
        return true;
    }

    void finish() const
    {
        if (_isOpen)
            reportUnclosed(tellOfItem, _name, _open.size());
    }

    std::vector<LineList> components;

private:
    static constexpr std::size_t kUsualLines = 8;  // of an alarm

    bool isMarker(std::string_view line, std::string_view word) const
    {
        return line.size() == word.size() + _name.size() && line.starts_with(word) &&
               line.ends_with(_name);
    }

    std::string_view _name;
    bool _mayHoldHalves;
    bool _isOpen = false;
    LineList _open;
};

/// The components of one name in a file, as stretches of its text, and the stretches that they take
/// up with their markers.
class ComponentStretches {
public:
    ComponentStretches(std::string_view name, const FileLines& lines) : _name(name), _lines(lines)
    {}

    /// Throws Exception for an END without a component to end.
    void add(const FileLines::Marker& marker)
    {
        if (marker.isBegin) {
            closeAt(marker.line.data());
            _begin = marker.line.data();
            _content = marker.behind();
        } else {
            if (_begin == nullptr)
                throwStrayEnd(_name);
            components.push_back(stretch(_content, marker.line.data()));
            claimUntil(marker.behind());
        }
    }

    /// Drops what is open there.
    void closeAt(const char* position)
    {
        if (_begin == nullptr)
            return;
        reportUnclosed(tellOfFile, _name, _lines.linesIn(stretch(_content, position)).size());
        claimUntil(position);
    }

    std::vector<std::string_view> components;
    std::vector<std::string_view> claimed;

private:
    /// Components that follow one another are one stretch.
    void claimUntil(const char* position)
    {
        const char* start = std::exchange(_begin, nullptr);
        if (!claimed.empty() && claimed.back().data() + claimed.back().size() == start) {
            start = claimed.back().data();
            claimed.pop_back();
        }
        claimed.push_back(stretch(start, position));
    }
    static std::string_view stretch(const char* start, const char* end)
    {
        return {start, static_cast<std::size_t>(end - start)};
    }

    std::string_view _name;
    const FileLines& _lines;
    const char* _begin = nullptr;  // of what is open
    const char* _content = nullptr;
};

template <class Lines>
void reportStrayEnd(Tell tell, std::string_view name, const Lines& lines,
                    const Exception& exception, KTFileLogger* fileLogger)
{
    logTo(fileLogger,
          "[KTSyncCalendarTools findAndRemoveComponents] '%@':\n%@\n>>>>>>>>>>\n%@>>>>>>>>>>\n",
          name, lines.description(), exception);
    tell(stringWithFormat("END ohne BEGIN: alles ab 'END:%@' bleibt ungelesen", name));
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
    ListedComponents found(name, fromLines);
    std::optional<Exception> failure;
    fromLines.removeIf([&](std::string_view line) {
        return !failure && guardedOr([&] { return found.claims(line); },
                                     [&](const Exception& exception) {
                                         failure = exception;
                                         return false;
                                     });
    });
    if (failure)
        reportStrayEnd(tellOfItem, name, fromLines, *failure, fileLogger);
    else
        found.finish();
    return std::move(found.components);
}

FileComponents KTSyncCalendarTools::findAndRemoveComponents(std::string_view name,
                                                            FileLines& fromLines,
                                                            KTFileLogger* fileLogger)
{
    FileLines before = fromLines;
    ComponentStretches found(name, before);
    std::optional<Exception> failure;
    guardedOr(
        [&] {
            before.forEachMarker(name, [&](const FileLines::Marker& marker) { found.add(marker); });
            found.closeAt(before.end());
        },
        [&](const Exception& exception) { failure = exception; });
    fromLines.remove(found.claimed);
    if (failure)
        reportStrayEnd(tellOfFile, name, fromLines.lines(), *failure, fileLogger);
    return {std::move(before), std::move(found.components)};
}

}  // namespace kt
