#pragma once

#include <algorithm>
#include <cstddef>
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
    /// Every line of the text ends in CR LF.
    explicit FileLines(std::string_view text) : _text(text) {}

    /// Calls `visit` for every line in order.
    template <class Visit>
    void forEach(Visit&& visit) const
    {
        walk(_text, visit, [](std::string_view) {});
    }
    /// The lines in a stretch of the text, which begins and ends where lines do.
    LineList linesIn(std::string_view stretch) const;
    LineList lines() const { return linesIn(_text); }

    /// Asks `claims` about every line in order and takes out those for which it answers true.
    template <class Claims>
    void removeIf(Claims&& claims)
    {
        std::vector<std::string_view> gaps;
        const auto leaveOut = [&](std::string_view stretch) {
            if (!gaps.empty() && gaps.back().end() == stretch.begin())
                gaps.back() = {gaps.back().data(), gaps.back().size() + stretch.size()};
            else
                gaps.push_back(stretch);
        };
        const auto ask = [&](std::string_view line) {
            if (claims(line))
                leaveOut({line.data(), line.size() + kLineEnd.size()});
        };
        walk(_text, ask, leaveOut);
        _gaps = std::move(gaps);
    }

private:
    static constexpr std::string_view kLineEnd = "\r\n";

    template <class VisitLine, class VisitGap>
    void walk(std::string_view stretch, VisitLine&& visitLine, VisitGap&& visitGap) const
    {
        auto gap = std::lower_bound(_gaps.begin(), _gaps.end(), stretch.data(),
                                    [](std::string_view left, const char* position) {
                                        return left.data() < position;
                                    });
        while (!stretch.empty()) {
            if (gap != _gaps.end() && gap->data() == stretch.data()) {
                visitGap(*gap);
                stretch.remove_prefix(gap->size());
                ++gap;
                continue;
            }
            const std::string_view line = stretch.substr(0, stretch.find(kLineEnd));
            stretch.remove_prefix(std::min(line.size() + kLineEnd.size(), stretch.size()));
            visitLine(line);
        }
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

private:
    FileLines _lines;  // as they were
    std::vector<std::string_view> _stretches;
};

}  // namespace kt
