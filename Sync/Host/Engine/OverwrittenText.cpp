#include "Sync/Host/Engine/OverwrittenText.h"

#include <array>
#include <utility>

#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/UTF8.h"

namespace kt {

namespace {

// What people write, and what they call it.
constexpr std::array<std::pair<std::string_view, std::string_view>, 3> kTexts{
    {{"Title", "Titel"}, {"Notes", "Notizen"}, {"Location", "Ort"}}};

std::string textOf(const Value& value)
{
    if (value.isNil())
        return "";
    return value.isString() ? std::string(value.string()) : value.description();
}

// On one line, and not longer than a person wants to read in a log.
std::string shortened(std::string_view text)
{
    constexpr std::size_t kEnough = 200;  // characters
    std::string result;
    std::size_t count = 0;
    for (std::size_t position = 0; position < text.size(); ++count) {
        if (count == kEnough)
            return result + "…";
        const std::size_t length = utf8StepAt(text, position).length;
        const bool isControl = static_cast<unsigned char>(text[position]) < ' ';
        result += isControl ? " " : text.substr(position, length);
        position += length;
    }
    return result;
}

}  // namespace

std::vector<OverwrittenText> overwrittenTexts(const RecordId& id, const SettledConflict& conflict)
{
    std::vector<OverwrittenText> texts;
    for (const auto& [field, name] : kTexts) {
        const std::string local = textOf(conflict.local[field]);
        const std::string server = textOf(conflict.server[field]);
        const std::string merged = textOf(conflict.merged[field]);
        const std::string& loser = merged == local ? server : local;
        const bool isNobodys = conflict.base != nullptr && loser == textOf((*conflict.base)[field]);
        const bool isGone = merged.find(loser) == std::string::npos;
        if (local != server && !loser.empty() && isGone && !isNobodys)
            texts.push_back({id, textOf(conflict.merged["Title"]), std::string(field), loser});
    }
    return texts;
}

std::string lineForOverwritten(const OverwrittenText& overwritten)
{
    std::string_view name = overwritten.field;
    for (const auto& [field, german] : kTexts) {
        if (field == overwritten.field)
            name = german;
    }
    return stringWithFormat("'%@', %@: auf zwei Geräten verschieden, nicht übernommen wurde \"%@\"",
                            shortened(overwritten.title), name, shortened(overwritten.text));
}

}  // namespace kt
