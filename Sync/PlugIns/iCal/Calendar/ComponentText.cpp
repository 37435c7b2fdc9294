#include "Sync/PlugIns/iCal/Calendar/ComponentText.h"

#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"

namespace kt {

namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kBegin = "BEGIN:";
constexpr std::string_view kEnd = "END:";

/// The first line with its CR LF.
std::string_view firstLine(std::string_view text)
{
    const std::size_t end = text.find(kLineEnd);
    return text.substr(0, end == std::string_view::npos ? end : end + kLineEnd.size());
}

std::string_view withoutLineEnd(std::string_view line)
{
    return line.substr(0, line.size() - (line.ends_with(kLineEnd) ? kLineEnd.size() : 0));
}

/// The reader carries a property on at a blank; a tab, which others fold by, belongs to it as well.
bool carriesOn(std::string_view line) { return line.starts_with(' ') || line.starts_with('\t'); }

void extend(ComponentText::Part& part, std::string_view line)
{
    part.text = {part.text.data(), part.text.size() + line.size()};
}

ComponentText::Part propertyIn(std::string_view line)
{
    const std::string_view content = withoutLineEnd(line);
    const std::string_view key = KTSyncCalendarTools::propertyKeyInLine(content);
    ComponentText::Part part{KTSyncCalendarTools::propertyNameInKey(key), line, key};
    if (key.size() < content.size())
        part.value = content.substr(key.size() + 1);
    return part;
}

}  // namespace

ComponentText::ComponentText(std::string_view text)
{
    _begin = firstLine(text);
    text.remove_prefix(_begin.size());
    while (!text.empty()) {
        const std::string_view line = firstLine(text);
        text.remove_prefix(line.size());
        if (text.empty())
            _end = line;
        else
            add(line);
    }
    for (const Part& part : _parts)
        _byName[part.name].push_back(&part);
}

void ComponentText::add(std::string_view line)
{
    if (_depth > 0) {
        extend(_parts.back(), line);
        _depth += line.starts_with(kBegin) ? 1 : 0;
        _depth -= line.starts_with(kEnd) ? 1 : 0;
    } else if (carriesOn(line) && !_parts.empty()) {
        extend(_parts.back(), line);
        if (line.front() == ' ' && !_parts.back().isComponent())
            _parts.back().value += withoutLineEnd(line).substr(1);
    } else if (line.starts_with(kBegin)) {
        _parts.push_back({withoutLineEnd(line), line});
        _depth = 1;
    } else {
        _parts.push_back(propertyIn(line));
    }
}

const ComponentText::PartList& ComponentText::partsNamed(std::string_view name) const
{
    static const PartList none;
    const auto found = _byName.find(name);
    return found == _byName.end() ? none : found->second;
}

}  // namespace kt
