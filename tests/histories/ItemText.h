#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kt::test {

/// One component of an item file as a calendar program edits it: line by line, everything that it
/// does not touch staying as it is.
class ItemText {
public:
    /// From its BEGIN to its END line, both included.
    explicit ItemText(std::string text) : _text(std::move(text)) {}

    const std::string& text() const { return _text; }
    bool isEvent() const { return _text.starts_with("BEGIN:VEVENT\r\n"); }
    /// The value of the first property of that name, parameters left out; nullopt without one.
    std::optional<std::string> value(std::string_view name) const;
    bool has(std::string_view name) const { return value(name).has_value(); }

    /// Puts a line, `NAME...:value`, in the place of all of that name, or before the end.
    void set(std::string_view name, const std::string& line);
    void remove(std::string_view name);
    /// Puts lines before the end.
    void append(const std::vector<std::string>& lines);

private:
    std::vector<std::string> lines() const;
    void setLines(const std::vector<std::string>& lines);

    std::string _text;
};

/// A file of items: what stands around them, and they.
struct ItemsFile {
    std::string head;
    std::vector<ItemText> items;
    std::string tail;

    /// What is no calendar has no items, and all of it is head.
    static ItemsFile inText(const std::string& text);
    static ItemsFile empty();
    std::string text() const;
};

}  // namespace kt::test
