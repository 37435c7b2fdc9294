#include "Sync/PlugIns/iCal/Calendar/ItemFile.h"

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Text.h"
#include "Sync/HostInterface/KTLossReport.h"

namespace kt {

namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kCutLineEnd = "\r\r\n \n";
constexpr std::string_view kBeginCalendar = "BEGIN:VCALENDAR";
constexpr std::string_view kEndCalendar = "END:VCALENDAR";

/// In place and in one pass; most files hold none.
void joinCutLineEnds(std::string& text)
{
    std::size_t found = text.find(kCutLineEnd);
    if (found == std::string::npos)
        return;

    std::size_t written = found;
    std::size_t read = found;
    const auto keep = [&](std::string_view piece) {
        std::copy(piece.begin(), piece.end(), text.begin() + static_cast<std::ptrdiff_t>(written));
        written += piece.size();
    };
    for (; found != std::string::npos; found = text.find(kCutLineEnd, read)) {
        keep(std::string_view(text).substr(read, found - read));
        keep(kLineEnd);
        read = found + kCutLineEnd.size();
    }
    keep(std::string_view(text).substr(read));
    text.resize(written);
}

bool holdsText(std::string_view line)
{
    return line.find_first_not_of(" \t\r\n") != std::string_view::npos;
}

}  // namespace

std::optional<std::string> itemFileText(const std::string& path)
{
    std::optional<std::string> text = FileManager::defaultManager().contentsAtPath(path);
    if (!text || text->empty() || !isReadableUTF8(*text))
        return std::nullopt;
    joinCutLineEnds(*text);
    return text;
}

LineList itemFileLines(std::string_view text)
{
    constexpr std::size_t kUsualLineLength = 24;
    std::vector<std::string_view> lines;
    lines.reserve(text.size() / kUsualLineLength + 1);
    for (std::size_t end = 0; (end = text.find(kLineEnd)) != std::string_view::npos;) {
        lines.push_back(text.substr(0, end));
        text.remove_prefix(end + kLineEnd.size());
    }
    lines.push_back(text);
    return LineList(std::move(lines));
}

bool beginsCalendar(const LineList& lines)
{
    return !lines.empty() && lines.front() == kBeginCalendar;
}

Envelope removeEnvelope(LineList& lines)
{
    lines.removeFirst(1);
    const auto behind = std::find(std::make_reverse_iterator(lines.end()),
                                  std::make_reverse_iterator(lines.begin()), kEndCalendar);
    const bool isClosed = behind.base() != lines.begin();
    const auto behindEnd = static_cast<std::size_t>(std::distance(lines.begin(), behind.base()));
    if (isClosed && std::any_of(behind.base(), lines.end(), holdsText))
        reportLoss("Was hinter dem letzten END:VCALENDAR steht, wird nicht gelesen");
    lines.removeLast(lines.size() - behindEnd + (isClosed ? 1 : 0));
    if (lines.empty())
        return isClosed ? Envelope::empty : Envelope::notClosed;

    const auto component = std::find_if(lines.begin(), lines.end(), [](std::string_view line) {
        return line.starts_with("BEGIN:");
    });
    lines.removeFirst(static_cast<std::size_t>(std::distance(lines.begin(), component)));
    return Envelope::filled;
}

}  // namespace kt
