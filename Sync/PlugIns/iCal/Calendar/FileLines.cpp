#include "Sync/PlugIns/iCal/Calendar/FileLines.h"

#include "Sync/Foundation/Text.h"

namespace kt {

LineList FileLines::linesIn(std::string_view stretch) const
{
    LineList lines;
    putLines(stretch, lines);
    return lines;
}

void FileLines::putLines(std::string_view stretch, LineList& into) const
{
    constexpr std::size_t kUsualLineLength = 24;
    into.clear();
    into.reserve(stretch.size() / kUsualLineLength + 1);
    walk(stretch, [&](std::string_view line) { into.append(line); });
    into.setMayHoldHalves(mayHoldSurrogateHalves(stretch));
}

std::optional<FileLines::Marker> FileLines::markerWithNameAt(std::string_view text,
                                                             std::size_t position,
                                                             std::string_view name)
{
    for (const std::string_view word : {"BEGIN:", "END:"}) {
        if (!text.substr(0, position).ends_with(word))
            continue;
        const std::size_t start = position - word.size();
        if (start == 0 || text.substr(0, start).ends_with(kLineEnd))
            return Marker{word == "BEGIN:", text.substr(start, word.size() + name.size())};
    }
    return std::nullopt;
}

void FileLines::remove(const std::vector<std::string_view>& stretches)
{
    std::vector<std::string_view> all(_gaps.size() + stretches.size());
    std::merge(_gaps.begin(), _gaps.end(), stretches.begin(), stretches.end(), all.begin(),
               [](std::string_view left, std::string_view right) {
                   return left.data() < right.data();
               });
    _gaps.clear();
    for (std::string_view stretch : all) {
        if (_gaps.empty() || _gaps.back().end() < stretch.begin()) {
            _gaps.push_back(stretch);
            continue;
        }
        const char* const start = _gaps.back().data();
        _gaps.back() = {start, static_cast<std::size_t>(
                                   std::max(_gaps.back().end(), stretch.end()) - start)};
    }
}

}  // namespace kt
