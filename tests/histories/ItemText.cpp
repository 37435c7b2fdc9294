#include "tests/histories/ItemText.h"

#include <algorithm>

namespace kt::test {

namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::size_t kLongestLine = 75;  // bytes, RFC 5545, 3.1

bool isNamed(std::string_view line, std::string_view name)
{
    return line.size() > name.size() && line.starts_with(name) &&
           (line[name.size()] == ':' || line[name.size()] == ';');
}

bool continuesCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

std::string folded(std::string_view line)
{
    std::string text;
    std::size_t width = 0;
    for (std::size_t begin = 0; begin < line.size();) {
        std::size_t end = begin + 1;
        while (end < line.size() && continuesCharacter(line[end]))
            ++end;
        if (width + (end - begin) > kLongestLine) {
            text += "\r\n ";
            width = 1;
        }
        text += line.substr(begin, end - begin);
        width += end - begin;
        begin = end;
    }
    return text.append(kLineEnd);
}

/// Calls `visit(line, isInside)` for each line; inside are those of components within this one.
template <class Visit>
void forEachLine(const std::vector<std::string>& lines, Visit&& visit)
{
    int depth = 0;
    for (const std::string& line : lines) {
        if (line.starts_with("BEGIN:"))
            ++depth;
        visit(line, depth > 1);
        if (line.starts_with("END:"))
            --depth;
    }
}

/// Where the next component that is an item begins, or npos.
std::size_t nextItem(const std::string& text, std::size_t from)
{
    return std::min(text.find("BEGIN:VEVENT\r\n", from), text.find("BEGIN:VTODO\r\n", from));
}

}  // namespace

std::vector<std::string> ItemText::lines() const
{
    std::vector<std::string> lines;
    for (std::size_t begin = 0; begin < _text.size();) {
        const std::size_t end = std::min(_text.find(kLineEnd, begin), _text.size());
        const std::string line = _text.substr(begin, end - begin);
        if (line.starts_with(' ') && !lines.empty())
            lines.back() += line.substr(1);
        else
            lines.push_back(line);
        begin = end + kLineEnd.size();
    }
    return lines;
}

void ItemText::setLines(const std::vector<std::string>& lines)
{
    _text.clear();
    for (const std::string& line : lines)
        _text += folded(line);
}

std::optional<std::string> ItemText::value(std::string_view name) const
{
    std::optional<std::string> value;
    forEachLine(lines(), [&](const std::string& line, bool isInside) {
        if (!value && !isInside && isNamed(line, name))
            value = line.substr(line.find(':') + 1);
    });
    return value;
}

void ItemText::set(std::string_view name, const std::string& line)
{
    std::vector<std::string> changed;
    bool isSet = false;
    const std::vector<std::string> all = lines();
    forEachLine(all, [&](const std::string& old, bool isInside) {
        const bool isIt = !isInside && isNamed(old, name);
        if (!isSet && (isIt || &old == &all.back())) {
            changed.push_back(line);
            isSet = true;
        }
        if (!isIt)
            changed.push_back(old);
    });
    setLines(changed);
}

void ItemText::remove(std::string_view name)
{
    std::vector<std::string> left;
    forEachLine(lines(), [&](const std::string& line, bool isInside) {
        if (isInside || !isNamed(line, name))
            left.push_back(line);
    });
    setLines(left);
}

void ItemText::append(const std::vector<std::string>& added)
{
    std::vector<std::string> all = lines();
    all.insert(all.end() - 1, added.begin(), added.end());
    setLines(all);
}

ItemsFile ItemsFile::inText(const std::string& text)
{
    ItemsFile file;
    std::size_t begin = nextItem(text, 0);
    file.head = text.substr(0, begin);
    while (begin != std::string::npos) {
        const std::string name =
            text.substr(begin + 6, text.find(kLineEnd, begin) - begin - 6);  // behind BEGIN:
        const std::size_t last = text.find("END:" + name + "\r\n", begin);
        if (last == std::string::npos)
            return {text, {}, ""};
        const std::size_t end = last + 4 + name.size() + kLineEnd.size();
        file.items.emplace_back(text.substr(begin, end - begin));
        begin = nextItem(text, end);
        // What stands between two items stays behind all of them.
        file.tail += text.substr(end, begin == std::string::npos ? begin : begin - end);
    }
    if (file.items.empty() && file.head.ends_with("END:VCALENDAR\r\n")) {
        file.tail = "END:VCALENDAR\r\n";
        file.head.resize(file.head.size() - file.tail.size());
    }
    return file;
}

ItemsFile ItemsFile::empty()
{
    return {
        "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Test//Hand//EN\r\n"
        "CALSCALE:GREGORIAN\r\n",
        {},
        "END:VCALENDAR\r\n"};
}

std::string ItemsFile::text() const
{
    std::string text = head;
    for (const ItemText& item : items)
        text += item.text();
    return text + tail;
}

}  // namespace kt::test
