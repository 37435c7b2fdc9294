#include "Sync/Host/Site/HtmlWriter.h"

#include "Sync/Foundation/UTF8.h"

namespace kt {

namespace {

bool isAllowed(char32_t character)
{
    return character == '\n' || character == '\t' ||
           (character >= 0x20 && (character < 0x7F || character >= 0xA0));
}

void appendEscaped(std::string& html, std::string_view text)
{
    for (std::size_t at = 0; at < text.size();) {
        const UTF8Step step = utf8StepAt(text, at);
        const std::string_view character = text.substr(at, step.length);
        at += step.length;
        if (!step.isValid || isSurrogate(step.codePoint))
            html += "\xEF\xBF\xBD";
        else if (step.codePoint == '&')
            html += "&amp;";
        else if (step.codePoint == '<')
            html += "&lt;";
        else if (step.codePoint == '>')
            html += "&gt;";
        else if (step.codePoint == '"')
            html += "&quot;";
        else if (step.codePoint == '\'')
            html += "&#39;";
        else if (isAllowed(step.codePoint))
            html += character;
    }
}

}  // namespace

void HtmlWriter::doctype() { _html += "<!DOCTYPE html>\n"; }

void HtmlWriter::open(std::string_view name, Attributes attributes)
{
    _html += '<';
    _html += name;
    for (const auto& [key, value] : attributes) {
        if (value.data() == nullptr)
            continue;
        _html += ' ';
        _html += key;
        _html += "=\"";
        appendEscaped(_html, value);
        _html += '"';
    }
    _html += '>';
}

HtmlWriter::Element HtmlWriter::element(std::string_view name, Attributes attributes)
{
    open(name, attributes);
    _open.emplace_back(name);
    return Element(this);
}

void HtmlWriter::close()
{
    _html += "</";
    _html += _open.back();
    _html += ">";
    _open.pop_back();
    if (_open.size() < 4)
        _html += '\n';  // so that people can read the source
}

void HtmlWriter::element(std::string_view name, Attributes attributes, std::string_view text)
{
    const Element element = this->element(name, attributes);
    appendEscaped(_html, text);
}

void HtmlWriter::empty(std::string_view name, Attributes attributes) { open(name, attributes); }

void HtmlWriter::text(std::string_view text) { appendEscaped(_html, text); }

void HtmlWriter::lines(std::string_view text)
{
    for (std::size_t begin = 0;;) {
        const std::size_t end = text.find('\n', begin);
        appendEscaped(_html, text.substr(begin, end - begin));
        if (end == std::string_view::npos)
            return;
        empty("br", {});
        begin = end + 1;
    }
}

}  // namespace kt
