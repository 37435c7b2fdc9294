#include "Sync/PlugIns/iCal/Calendar/ItemFile.h"

#include <algorithm>
#include <utility>

#include "Sync/Foundation/Text.h"
#include "Sync/HostInterface/KTLossReport.h"

namespace kt {

namespace {

constexpr std::string_view kLineEnd = kItemLineEnd;
constexpr std::string_view kBeginCalendar = "BEGIN:VCALENDAR";
constexpr std::string_view kEndCalendar = "END:VCALENDAR";
constexpr std::string_view kBegin = "BEGIN:";
constexpr std::string_view kLineEndAndBegin = "\r\nBEGIN:";

/// Whether one carriage return follows another. Without a branch for each, so that the compiler
/// looks at many characters at once.
bool holdsDoubleReturn(std::string_view text)
{
    constexpr std::size_t kBlock = 64;
    std::size_t position = 0;
    for (; position + kBlock < text.size(); position += kBlock) {
        unsigned char least = 0xFF;  // 0 where both are returns
        for (std::size_t at = position; at < position + kBlock; ++at)
            least = std::min(least,
                             static_cast<unsigned char>((text[at] ^ '\r') | (text[at + 1] ^ '\r')));
        if (least == 0)
            return true;
    }
    return text.find("\r\r", position) != std::string_view::npos;
}

bool holdsText(std::string_view line)
{
    return line.find_first_not_of(" \t\r\n") != std::string_view::npos;
}

/// Where the last such line begins, of those that have a line end in front of them.
std::size_t lastLineEqual(std::string_view text, std::string_view line)
{
    for (std::size_t found = text.rfind(line); found != std::string_view::npos && found > 0;
         found = text.rfind(line, found - 1)) {
        const std::string_view behind = text.substr(found + line.size());
        if (text.substr(0, found).ends_with(kLineEnd) &&
            (behind.empty() || behind.starts_with(kLineEnd)))
            return found;
    }
    return std::string_view::npos;
}

}  // namespace

// In one pass; most files hold none.
void joinCutLineEnds(std::string& text)
{
    std::size_t found = holdsDoubleReturn(text) ? text.find(kCutLineEnd) : std::string::npos;
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

std::size_t endOfItems(std::string_view text) { return lastLineEqual(text, kEndCalendar); }

std::optional<std::string> itemFileText(const std::string& path)
{
    FileStatus status;
    return itemFileText(path, status);
}

std::optional<std::string> itemFileText(const std::string& path, FileStatus& status)
{
    auto contents = FileManager::defaultManager().contentsAndStatusAtPath(path);
    if (!contents || contents->bytes.empty() || !isReadableUTF8(contents->bytes))
        return std::nullopt;
    joinCutLineEnds(contents->bytes);
    status = contents->status;
    return std::move(contents->bytes);
}

bool beginsCalendar(std::string_view text)
{
    return text.substr(0, text.find(kLineEnd)) == kBeginCalendar;
}

Envelope removeEnvelope(std::string_view& text)
{
    // Its line end stays, so that every line has one in front.
    text.remove_prefix(kBeginCalendar.size());
    const std::size_t end = lastLineEqual(text, kEndCalendar);
    if (end == std::string_view::npos) {
        text = {};
        return Envelope::notClosed;
    }
    if (holdsText(text.substr(end + kEndCalendar.size())))
        reportUnread({KTLoss::Extent::component},
                     "Was hinter dem letzten END:VCALENDAR steht, wird nicht gelesen");
    text = text.substr(kLineEnd.size(), end - kLineEnd.size());
    if (text.empty())
        return Envelope::empty;
    if (!text.starts_with(kBegin)) {
        const std::size_t component = text.find(kLineEndAndBegin);
        text.remove_prefix(component == std::string_view::npos ? text.size()
                                                               : component + kLineEnd.size());
    }
    return Envelope::filled;
}

}  // namespace kt
