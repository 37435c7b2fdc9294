#include "Sync/PlugIns/iCal/Calendar/UnreadText.h"

#include <algorithm>
#include <cstddef>
#include <optional>

#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/Text.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"

namespace kt {

namespace {

constexpr std::string_view kBegin = "BEGIN:";
constexpr std::string_view kEnd = "END:";

char upper(char letter)
{
    return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

bool isNamePart(char character)
{
    const char letter = upper(character);
    return (letter >= 'A' && letter <= 'Z') || (character >= '0' && character <= '9') ||
           character == '-';
}

/// "BEGIN:" in letters of any kind with a component's name behind it, and nothing else in the line;
/// nullopt for anything else.
std::optional<std::string_view> beginningIn(std::string_view line)
{
    line = line.substr(0, line.find_first_of("\r\n"));
    if (line.size() <= kBegin.size() ||
        !std::equal(kBegin.begin(), kBegin.end(), line.begin(),
                    [](char wanted, char letter) { return wanted == upper(letter); }) ||
        !std::all_of(line.begin() + kBegin.size(), line.end(), isNamePart))
        return std::nullopt;
    return line;
}

/// The beginning of a component within a line of a file that is no line of its own for the reader.
std::optional<std::string_view> hiddenBeginning(std::string_view line)
{
    if (!line.starts_with(kBegin)) {
        if (const auto found = beginningIn(line))
            return found;
    }
    for (const char lineEnd : {'\n', '\r'}) {
        for (std::size_t at = line.find(lineEnd); at != std::string_view::npos;
             at = line.find(lineEnd, at + 1)) {
            if (const auto found = beginningIn(line.substr(at + 1)))
                return found;
        }
    }
    return std::nullopt;
}

bool isContinued(const LineList& lines, std::size_t index)
{
    return index + 1 < lines.size() && lines[index + 1].starts_with(' ') &&
           !lines[index].starts_with(' ');
}

/// The first physical line of a property of the component itself; empty without one.
std::string_view lineOfProperty(const LineList& item, std::string_view name)
{
    int depth = 0;
    for (const std::string_view line : item) {
        if (line.starts_with(kBegin))
            ++depth;
        else if (line.starts_with(kEnd))
            --depth;
        else if (depth == 0 && line.starts_with(name) && line.size() > name.size() &&
                 (line[name.size()] == ':' || line[name.size()] == ';'))
            return line;
    }
    return {};
}

std::string_view valueOfProperty(const LineList& item, std::string_view name)
{
    const std::string_view line = lineOfProperty(item, name);
    return line.substr(
        std::min(KTSyncCalendarTools::propertyKeyInLine(line).size() + 1, line.size()));
}

/// Whether a UID is one that this system gave an item: its record key.
bool isOwnUID(std::string_view uid)
{
    constexpr std::size_t kDigestLength = 40;  // hexadecimal digits
    const auto isDigit = [](char character) {
        return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'f');
    };
    // Behind the digest there may stand a number that tells equal items apart.
    return uid.size() >= kDigestLength &&
           std::all_of(uid.begin(), uid.begin() + kDigestLength, isDigit) &&
           (uid.size() == kDigestLength || uid[kDigestLength] == '-');
}

}  // namespace

void reportHiddenComponents(const FileLines& lines)
{
    bool hasTold = false;
    lines.forEach([&](std::string_view line) {
        const auto beginning = hasTold ? std::nullopt : hiddenBeginning(line);
        if (!beginning)
            return;
        reportLoss(
            stringWithFormat("'%@' wird nicht als Anfang einer Komponente gelesen", *beginning));
        hasTold = true;
    });
}

void reportCutKeys(const LineList& item)
{
    constexpr std::size_t kOwnLineLength = 75;
    for (std::size_t index = 0; index < item.size(); ++index) {
        const std::string_view line = item[index];
        if (!isContinued(item, index) ||
            KTSyncCalendarTools::propertyKeyInLine(line).size() < line.size())
            continue;
        if (utf16Length(line) == kOwnLineLength && isOwnUID(valueOfProperty(item, "UID")))
            continue;
        reportLoss(stringWithFormat("%@ in '%@': die Parameter werden am Zeilenende abgeschnitten",
                                    KTSyncCalendarTools::propertyNameInKey(line),
                                    valueOfProperty(item, "SUMMARY")));
    }
}

}  // namespace kt
