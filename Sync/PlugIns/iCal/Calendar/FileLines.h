#pragma once

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Sync/PlugIns/iCal/Calendar/LineList.h"

namespace kt {

/// The lines of an item file: a view of its text, and the stretches that were taken out of it. A
/// list of the lines would take half as much memory as the file itself, this takes a few bytes for
/// each stretch. The text outlives it.
class FileLines {
public:
    /// A line that begins or ends a component.
    struct Marker {
        bool isBegin = false;
        std::string_view line;

        /// Where the line behind it begins.
        const char* behind() const { return line.data() + line.size() + kLineEnd.size(); }
    };

    /// Every line of the text ends in CR LF.
    explicit FileLines(std::string_view text) : _text(text) {}

    /// Calls `visit` for every line in order.
    template <class Visit>
    void forEach(Visit&& visit) const
    {
        walk(_text, visit);
    }
    /// The lines in a stretch of the text, which begins and ends where lines do.
    LineList linesIn(std::string_view stretch) const;
    /// The same in place of what the list holds, so that one list does for many stretches.
    void putLines(std::string_view stretch, LineList& into) const;
    LineList lines() const { return linesIn(_text); }
    const char* end() const { return _text.data() + _text.size(); }

    /// Calls `visit` for the lines that begin and end components of that name, in order. Finds them
    /// without going through the lines between them.
    template <class Visit>
    void forEachMarker(std::string_view name, Visit&& visit) const
    {
        const char* start = _text.data();
        for (std::string_view gap : _gaps) {
            findMarkers(name, {start, static_cast<std::size_t>(gap.data() - start)}, visit);
            start = gap.data() + gap.size();
        }
        findMarkers(name, {start, static_cast<std::size_t>(end() - start)}, visit);
    }

    /// Takes stretches out, which begin and end where lines do and stand in order.
    void remove(const std::vector<std::string_view>& stretches);

private:
    static constexpr std::string_view kLineEnd = "\r\n";

    template <class Visit>
    void walk(std::string_view stretch, Visit&& visit) const
    {
        auto gap = std::lower_bound(_gaps.begin(), _gaps.end(), stretch.data(),
                                    [](std::string_view left, const char* position) {
                                        return left.data() < position;
                                    });
        while (!stretch.empty()) {
            if (gap != _gaps.end() && gap->data() == stretch.data()) {
                stretch.remove_prefix(gap->size());
                ++gap;
                continue;
            }
            const std::string_view line = stretch.substr(0, lengthOfLine(stretch));
            stretch.remove_prefix(std::min(line.size() + kLineEnd.size(), stretch.size()));
            visit(line);
        }
    }
    template <class Visit>
    static void findMarkers(std::string_view name, std::string_view piece, Visit& visit)
    {
        // Begins with the name: its first letter is rarer than what stands in front of it.
        const std::string tail = std::string(name) + std::string(kLineEnd);
        for (std::size_t at = piece.find(tail); at != std::string_view::npos;
             at = piece.find(tail, at + tail.size())) {
            if (const auto marker = markerWithNameAt(piece, at, name))
                visit(*marker);
        }
    }
    /// The line that ends with the name at that position, when it is one that begins or ends a
    /// component. The text begins where a line does.
    static std::optional<Marker> markerWithNameAt(std::string_view text, std::size_t position,
                                                  std::string_view name);
    static std::size_t lengthOfLine(std::string_view text)
    {
        std::size_t lineFeed = text.find('\n');
        while (lineFeed != std::string_view::npos && (lineFeed == 0 || text[lineFeed - 1] != '\r'))
            lineFeed = text.find('\n', lineFeed + 1);
        return lineFeed == std::string_view::npos ? text.size() : lineFeed - 1;
    }

    std::string_view _text;
    std::vector<std::string_view> _gaps;  // whole lines with their CR LF, in order, none touching
};

/// The components that were taken out of a file's lines, each a stretch of the text until somebody
/// asks for its lines.
class FileComponents {
public:
    FileComponents(FileLines lines, std::vector<std::string_view> stretches)
        : _lines(std::move(lines)),
          _stretches(std::move(stretches))
    {}

    std::size_t size() const { return _stretches.size(); }
    /// The index must be below size().
    LineList operator[](std::size_t index) const { return _lines.linesIn(_stretches[index]); }
    /// What stands between its BEGIN and its END line, what was taken out included.
    std::string_view stretch(std::size_t index) const { return _stretches[index]; }
    void putLines(std::size_t index, LineList& into) const
    {
        _lines.putLines(_stretches[index], into);
    }

private:
    FileLines _lines;  // as they were
    std::vector<std::string_view> _stretches;
};

}  // namespace kt
