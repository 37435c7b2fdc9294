#include "Sync/PlugIns/iCal/Calendar/ItemFileEdit.h"

#include <algorithm>
#include <array>
#include <utility>

#include "Sync/Foundation/Text.h"
#include "Sync/PlugIns/iCal/Calendar/AnyCase.h"
#include "Sync/PlugIns/iCal/Calendar/ItemFile.h"
#include "Sync/PlugIns/iCal/Calendar/UnreadStretches.h"

namespace kt {

namespace {

/// A line that begins a component which is no part of the frame, in letters of any kind.
bool beginsComponent(std::string_view line)
{
    constexpr std::string_view kBegin = "BEGIN:";
    constexpr std::array<std::string_view, 4> kFrame{"VCALENDAR", "VTIMEZONE", "STANDARD",
                                                     "DAYLIGHT"};
    return beginsInAnyCase(line, kBegin) &&
           std::find(kFrame.begin(), kFrame.end(), line.substr(kBegin.size())) == kFrame.end();
}

bool holdsText(std::string_view text)
{
    return text.find_first_not_of(" \t\r\n") != std::string_view::npos;
}

}  // namespace

ItemFileEdit::ItemFileEdit(std::string bytes) : _bytes(std::move(bytes)), _text(_bytes)
{
    for (std::size_t found = _bytes.find(kCutLineEnd); found != std::string::npos;
         found = _bytes.find(kCutLineEnd, found + kCutLineEnd.size()))
        _joins.push_back(found - _joins.size() * (kCutLineEnd.size() - kItemLineEnd.size()));
    joinCutLineEnds(_text);
}

std::string_view ItemFileEdit::textAt(const TextPlace& place) const
{
    return std::string_view(_text).substr(place.offset, place.length);
}

void ItemFileEdit::replace(const TextPlace& place, std::string component)
{
    _edits.insert_or_assign(place.offset, Edit{place.length, std::move(component)});
}

void ItemFileEdit::append(std::string_view component) { _appended += component; }

bool ItemFileEdit::isWhole() const
{
    return isReadableUTF8(_text) && beginsCalendar(_text) && endOfItems(_text) != std::string::npos;
}

std::size_t ItemFileEdit::hash() const { return hashOfItemText(_text); }

std::size_t ItemFileEdit::positionInFile(std::size_t offset) const
{
    const auto behind = std::lower_bound(_joins.begin(), _joins.end(), offset);
    return offset + static_cast<std::size_t>(behind - _joins.begin()) *
                        (kCutLineEnd.size() - kItemLineEnd.size());
}

std::string ItemFileEdit::result() const { return resultOf(_edits); }

std::string ItemFileEdit::resultBeforeTakingOut() const
{
    Edits puts = _edits;
    std::erase_if(puts, [](const auto& entry) { return entry.second.text.empty(); });
    return resultOf(puts);
}

bool ItemFileEdit::takesOut() const
{
    return std::any_of(_edits.begin(), _edits.end(),
                       [](const auto& entry) { return entry.second.text.empty(); });
}

bool ItemFileEdit::puts() const
{
    return !_appended.empty() || std::any_of(_edits.begin(), _edits.end(), [](const auto& entry) {
        return !entry.second.text.empty();
    });
}

std::string ItemFileEdit::resultOf(const Edits& edits) const
{
    std::string result;
    std::string appended = _appended;
    std::size_t position = 0;
    const auto keepUntil = [&](std::size_t offset) {
        const std::size_t end = positionInFile(offset);
        result += std::string_view(_bytes).substr(position, end - position);
        position = end;
    };
    std::size_t behindEdit = 0;
    std::string inner;
    for (const auto& [offset, edit] : edits) {
        if (offset < behindEdit) {
            inner += edit.text;
            continue;
        }
        keepUntil(offset);
        result += edit.text;
        behindEdit = offset + edit.length;
        position = positionInFile(behindEdit);
    }
    appended = inner + appended;
    if (!appended.empty()) {
        const std::size_t end = endOfItems(_text);
        if (end != std::string::npos && end >= behindEdit) {
            keepUntil(end);
            result += appended;
        }
    }
    result += std::string_view(_bytes).substr(position);
    return result;
}

void ItemFileEdit::giveUpUnread(const std::vector<TextPlace>& known)
{
    if (!isReadableUTF8(_text) || !beginsCalendar(_text))
        *this = ItemFileEdit(std::string(kItemFileHeader) + std::string(kItemFileFooter));
    else if (!isWhole())
        *this =
            ItemFileEdit(_bytes + std::string(_text.ends_with(kItemLineEnd) ? "" : kItemLineEnd) +
                         std::string(kItemFileFooter));
    for (const TextPlace& stretch : unreadStretches(_text, known))
        replace(stretch, "");
}

bool holdsMoreThanFrame(std::string_view fileText)
{
    const std::size_t end = endOfItems(fileText);
    if (end == std::string_view::npos ||
        holdsText(fileText.substr(std::min(fileText.find('\n', end), fileText.size()))))
        return true;
    while (!fileText.empty()) {
        const std::size_t lineEnd = std::min(fileText.find_first_of("\r\n"), fileText.size());
        if (beginsComponent(fileText.substr(0, lineEnd)))
            return true;
        fileText.remove_prefix(std::min(lineEnd + 1, fileText.size()));
    }
    return false;
}

}  // namespace kt
