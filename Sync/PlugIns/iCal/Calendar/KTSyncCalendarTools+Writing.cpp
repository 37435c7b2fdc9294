// What stands in a property line when it goes into a file.

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"

namespace kt {

namespace {

constexpr std::string_view kLineEnd = "\r\n";

std::string_view withoutLineEnd(std::string_view line)
{
    return line.substr(0, line.size() - (line.ends_with(kLineEnd) ? kLineEnd.size() : 0));
}

bool holdsLineBreak(std::string_view text)
{
    return text.find('\r') != std::string_view::npos || text.find('\n') != std::string_view::npos;
}

std::string_view nameInLine(std::string_view line)
{
    return line.substr(0, line.find_first_of(":;"));
}

/// Whether a property is text, with the escapes that belong to it; all others have a syntax.
bool isText(std::string_view name)
{
    constexpr std::array<std::string_view, 3> kTexts{"SUMMARY", "DESCRIPTION", "LOCATION"};
    return name.starts_with("X-") || std::find(kTexts.begin(), kTexts.end(), name) != kTexts.end();
}

std::string withReplacedLineBreaks(std::string_view text, std::string_view replacement)
{
    std::string replaced;
    replaced.reserve(text.size() + replacement.size());
    while (!text.empty()) {
        const std::size_t end = std::min(text.find_first_of(kLineEnd), text.size());
        replaced += text.substr(0, end);
        text.remove_prefix(end);
        if (text.empty())
            break;
        replaced += replacement;
        text.remove_prefix(text.starts_with(kLineEnd) ? kLineEnd.size() : 1);
    }
    return replaced;
}

}  // namespace

std::string KTSyncCalendarTools::onOneLine(std::string line)
{
    const std::string_view content = withoutLineEnd(line);
    if (!holdsLineBreak(content))
        return line;
    std::string replaced =
        withReplacedLineBreaks(content, isText(nameInLine(content)) ? "\\n" : " ");
    if (content.size() < line.size())
        replaced += kLineEnd;
    return replaced;
}

std::string KTSyncCalendarTools::writableLine(std::string line)
{
    const std::string_view content = withoutLineEnd(line);
    const std::string_view name = nameInLine(content);
    if (holdsLineBreak(content) && !isText(name))
        reportLoss(KTLoss::Kind::curtailed,
                   stringWithFormat("%@: ein Zeilenumbruch wird als Leerzeichen geschrieben",
                                    name));
    const std::string_view first = firstPhysicalLine(content);
    if (propertyKeyInLine(first).size() == first.size())
        reportLoss(KTLoss::Kind::curtailed,
                   stringWithFormat("%@: die Parameter werden beim nächsten Lesen abgeschnitten",
                                    name));
    return onOneLine(std::move(line));
}

}  // namespace kt
