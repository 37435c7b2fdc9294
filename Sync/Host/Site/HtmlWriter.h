#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kt {

/// Writes HTML. Everything that is handed in as text or as an attribute's value is escaped here,
/// and there is no way around it; names of elements and attributes are the program's own.
class HtmlWriter {
public:
    using Attributes = std::initializer_list<std::pair<std::string_view, std::string_view>>;

    /// Closes its element at the end of its scope.
    class Element {
    public:
        Element(Element&& other) noexcept : _writer(std::exchange(other._writer, nullptr)) {}
        Element(const Element&) = delete;
        Element& operator=(const Element&) = delete;
        ~Element()
        {
            if (_writer != nullptr)
                _writer->close();
        }

    private:
        friend class HtmlWriter;
        explicit Element(HtmlWriter* writer) : _writer(writer) {}
        HtmlWriter* _writer;
    };

    /// "<!DOCTYPE html>".
    void doctype();
    /// An element that what is written until the end of the result's scope stands in. An attribute
    /// with a null value is left out, one with an empty value is written with it.
    [[nodiscard]] Element element(std::string_view name, Attributes attributes = {});
    /// An element with nothing but text in it.
    void element(std::string_view name, Attributes attributes, std::string_view text);
    /// An element that has no end: meta, link.
    void empty(std::string_view name, Attributes attributes);
    void text(std::string_view text);
    /// Text whose lines are kept apart by line breaks.
    void lines(std::string_view text);

    const std::string& html() const { return _html; }

private:
    void open(std::string_view name, Attributes attributes);
    void close();

    std::string _html;
    std::vector<std::string> _open;
};

/// For an attribute that is only there under a condition.
inline std::string_view when(bool condition, std::string_view value)
{
    return condition ? value : std::string_view();
}

}  // namespace kt
