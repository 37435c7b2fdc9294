#include "Sync/PlugIns/iCal/Calendar/UnreadText.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <utility>

#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/KeySearch.h"
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
std::optional<std::string_view> beginningIn(std::string_view text)
{
    if (text.size() <= kBegin.size() ||
        !std::equal(kBegin.begin(), kBegin.end(), text.begin(),
                    [](char wanted, char letter) { return wanted == upper(letter); }))
        return std::nullopt;
    const std::string_view line = text.substr(0, text.find_first_of("\r\n"));
    if (line.size() <= kBegin.size() ||
        !std::all_of(line.begin() + kBegin.size(), line.end(), isNamePart))
        return std::nullopt;
    return line;
}

/// Whether the reader sees a component begin here: behind CR LF, in capital letters.
bool isSeenByReader(std::string_view text, std::size_t position)
{
    return text.substr(position).starts_with(kBegin) && text.substr(0, position).ends_with("\r\n");
}

/// The first beginning with that letter that the reader does not see. Looks for the letter, because
/// there are far fewer of it than line ends.
std::optional<std::string_view> hiddenBeginning(std::string_view text, char letter)
{
    for (std::size_t at = text.find(letter, 1); at != std::string_view::npos;
         at = text.find(letter, at + 1)) {
        if (text[at - 1] != '\n' && text[at - 1] != '\r')
            continue;
        if (isSeenByReader(text, at))
            continue;
        if (const auto found = beginningIn(text.substr(at)))
            return found;
    }
    return std::nullopt;
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

}  // namespace

Value titleIn(const RawProperties& properties)
{
    const Value title = properties.valueNamed("SUMMARY");
    return title.isNil() ? Value("") : title;
}

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

void reportHiddenComponents(std::string_view text)
{
    auto hidden = hiddenBeginning(text, 'B');
    if (!hidden)
        hidden = hiddenBeginning(text, 'b');
    if (hidden)
        reportUnread({KTLoss::Extent::component},
                     stringWithFormat("'%@' wird nicht als Anfang einer Komponente gelesen",
                                      *hidden));
}

void reportCutKeys(const LineList& item)
{
    constexpr std::size_t kOwnLineLength = 75;
    // Looked for once: an event may have thousands of such keys.
    std::optional<bool> isOwn;
    std::optional<std::string_view> title;
    for (std::size_t index = 1; index < item.size(); ++index) {
        const std::string_view line = item[index - 1];
        const bool isContinued = item[index].starts_with(' ') && !line.starts_with(' ');
        if (!isContinued || KTSyncCalendarTools::propertyKeyInLine(line).size() < line.size())
            continue;
        if (!isOwn)
            isOwn = isOwnUID(valueOfProperty(item, "UID"));
        if (*isOwn && utf16Length(line) == kOwnLineLength)
            continue;
        if (!title)
            title = valueOfProperty(item, "SUMMARY");
        reportLoss(KTLoss::Kind::thinned,
                   stringWithFormat("%@ in '%@': die Parameter werden am Zeilenende abgeschnitten",
                                    KTSyncCalendarTools::propertyNameInKey(line), *title));
    }
}

void reportReplacedProperties(const RawProperties& properties)
{
    constexpr std::array<std::string_view, 5> kNames{"EXDATE", "DESCRIPTION", "SUMMARY", "LOCATION",
                                                     "URL"};
    if (!properties.haveNamesOfSeveralKeys())
        return;
    const Value uid = properties.valueNamed("UID");
    if (uid.isString() && isOwnUID(uid.string()))
        return;
    std::array<Value, kNames.size()> known;
    std::array<bool, kNames.size()> differ{};
    for (const RawProperty& property : properties) {
        const std::size_t place = positionOfKey(kNames, property.name().text(),
                                                [](std::string_view name) { return name; });
        if (place == kNames.size())
            continue;
        Value value = property.value();
        differ[place] = differ[place] || (!known[place].isNil() && known[place] != value);
        known[place] = std::move(value);
    }
    for (std::size_t place = 0; place < kNames.size(); ++place) {
        if (differ[place])
            reportLoss(KTLoss::Kind::thinned,
                       stringWithFormat("%@ in '%@' steht mit verschiedenen Parametern: nur die "
                                        "letzte Angabe wird gelesen",
                                        kNames[place], titleIn(properties)));
    }
}

}  // namespace kt
