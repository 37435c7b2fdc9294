#include "Sync/PlugIns/iCal/Calendar/UnreadStretches.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "Sync/PlugIns/iCal/Calendar/AnyCase.h"
#include "Sync/PlugIns/iCal/Calendar/ItemFile.h"

namespace kt {

namespace {

constexpr std::string_view kBegin = "BEGIN:";
constexpr std::string_view kEnd = "END:";

struct Line {
    std::string_view text;  // without its end, which may be of any kind
    std::size_t begin = 0;
    std::size_t behind = 0;
};

/// The name behind the word that a line begins with; nullopt for any other line.
std::optional<std::string_view> nameBehind(std::string_view word, const Line& line)
{
    if (!beginsInAnyCase(line.text, word))
        return std::nullopt;
    return line.text.substr(word.size());
}

bool isItem(std::string_view name)
{
    return equalsInAnyCase(name, "VEVENT") || equalsInAnyCase(name, "VTODO");
}

bool isPartOfItem(std::string_view name) { return equalsInAnyCase(name, "VALARM"); }

std::vector<Line> linesIn(std::string_view text, std::size_t begin, std::size_t end)
{
    std::vector<Line> lines;
    while (begin < end) {
        const std::size_t lineEnd = std::min(text.find_first_of("\r\n", begin), end);
        const bool isTwoLetters = text.substr(lineEnd).starts_with(kItemLineEnd);
        const std::size_t behind = std::min(lineEnd + (isTwoLetters ? 2 : 1), end);
        lines.push_back({text.substr(begin, lineEnd - begin), begin, behind});
        begin = behind;
    }
    return lines;
}

/// The lines between two known places.
class Gap {
public:
    Gap(std::vector<Line> lines, std::vector<TextPlace>& stretches)
        : _lines(std::move(lines)),
          _stretches(stretches)
    {}

    void findStretches()
    {
        for (std::size_t at = 0; at < _lines.size();) {
            const auto begun = nameBehind(kBegin, _lines[at]);
            const auto ended = nameBehind(kEnd, _lines[at]);
            if (begun && isItem(*begun))
                at = takeItem(at);
            else if (ended && isItem(*ended))
                take(at++);
            else
                ++at;
        }
    }

private:
    void take(std::size_t at)
    {
        const Line& line = _lines[at];
        if (!_stretches.empty() &&
            _stretches.back().offset + _stretches.back().length == line.begin)
            _stretches.back().length += line.behind - line.begin;
        else
            _stretches.push_back({0, line.begin, line.behind - line.begin});
    }

    /// Where it ended, or where the next item begins.
    std::size_t takeItem(std::size_t first)
    {
        const std::string_view name = *nameBehind(kBegin, _lines[first]);
        std::size_t end = first + 1;
        for (; end < _lines.size(); ++end) {
            const auto begun = nameBehind(kBegin, _lines[end]);
            if (begun && isItem(*begun))
                break;
            const auto ended = nameBehind(kEnd, _lines[end]);
            if (ended && *ended == name) {
                while (first <= end)
                    take(first++);
                return first;
            }
        }
        while (first < end) {
            const std::size_t behind = behindOtherComponent(first, end);
            if (behind == first)
                take(first++);
            else
                first = behind;
        }
        return end;
    }

    /// Behind a whole component of another kind that begins there; else the same line.
    std::size_t behindOtherComponent(std::size_t at, std::size_t end) const
    {
        const auto begun = nameBehind(kBegin, _lines[at]);
        if (!begun || isItem(*begun) || isPartOfItem(*begun))
            return at;
        for (std::size_t line = at + 1; line < end; ++line) {
            const auto ended = nameBehind(kEnd, _lines[line]);
            if (ended && *ended == *begun)
                return line + 1;
        }
        return at;
    }

    std::vector<Line> _lines;
    std::vector<TextPlace>& _stretches;
};

}  // namespace

std::vector<TextPlace> unreadStretches(std::string_view text, std::vector<TextPlace> known)
{
    std::sort(known.begin(), known.end(), [](const TextPlace& left, const TextPlace& right) {
        return left.offset < right.offset;
    });
    std::vector<TextPlace> stretches;
    const std::size_t end = std::min(endOfItems(text), text.size());
    std::size_t position = 0;
    for (const TextPlace& place : known) {
        if (place.offset > position)
            Gap(linesIn(text, position, place.offset), stretches).findStretches();
        position = std::max(position, place.offset + place.length);
    }
    if (position < end)
        Gap(linesIn(text, position, end), stretches).findStretches();
    const std::size_t behind = std::min(text.find(kItemLineEnd, end), text.size());
    if (text.find_first_not_of(" \t\r\n", behind) != std::string_view::npos)
        stretches.push_back(
            {0, behind + kItemLineEnd.size(), text.size() - behind - kItemLineEnd.size()});
    return stretches;
}

}  // namespace kt
